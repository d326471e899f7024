#include "guest/engine.h"

#include "advice/advice.h"
#include "core/debug_output.h"
#include "guest/observe.h"
#include "hostnet/report.h"
#include "hostnet/sim_host.h"
#include "wrenlib/text.h"

namespace vnxtest {

std::unique_ptr<Profile> OpenGuestProfile(std::wstring_view libraryName) {
    return OpenProfile(IsSimulatedLan(libraryName) ? ProfileSection::SimulatedLan : ProfileSection::Settings);
}

Engine::~Engine() {
    EndGuest();
    UnregisterDebugOutput();
}

Result<void> Engine::Open(const std::wstring& libraryName) {
    auto library = OpenVnetxLibrary(libraryName);
    if (!library) {
        return PassOn(library);
    }
    m_library = std::move(*library);
    m_tables = MakeHostTables();
    m_adapters = MakeWrenPackLibrary();
    if (IsSimulatedLan(libraryName)) {
        m_simulatedTables = std::make_unique<SimHostTables>(*m_tables);
        m_simulatedAdapters = std::make_unique<SimWrenPack>(*m_adapters);
    }
    m_host.emplace(HostSources{.tables = m_simulatedTables ? *m_simulatedTables : *m_tables,
                               .adapters = m_simulatedAdapters ? *m_simulatedAdapters : *m_adapters,
                               .defaultAdapterMac = [&library = *m_library] {
                                   const char* const mac = library.GetDefaultIface();
                                   return mac != nullptr ? ToWide(mac) : std::wstring();
                               }});
    return {};
}

void Engine::GatherHost() {
    RegisterDebugOutput(*m_library);
    m_host->InitGlobals();
}

void Engine::WriteReport() {
    WriteStartupReport(*m_host, *m_library, ReportContext());
}

void Engine::MakeGuest(Profile& profile, FrontEnd& frontEnd) {
    m_settings.emplace(profile);
    m_guest.emplace(*m_library, *m_host, *m_settings, frontEnd);
}

void Engine::EndGuest() {
    m_guest.reset();
}

Findings Engine::Advice() const {
    return Advise(Observe(*m_guest, *m_library));
}

} // namespace vnxtest
