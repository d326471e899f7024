#include "guest/engine.h"

#include "core/debug_output.h"
#include "hostnet/sim_host.h"

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
        m_host.emplace(HostSources{*m_simulatedTables, *m_simulatedAdapters}, *m_library);
    } else {
        m_host.emplace(HostSources{*m_tables, *m_adapters}, *m_library);
    }
    return {};
}

void Engine::GatherHost() {
    RegisterDebugOutput(*m_library);
    m_host->InitGlobals();
}

void Engine::MakeGuest(Profile& profile, FrontEnd& frontEnd) {
    m_settings.emplace(profile);
    m_guest.emplace(*m_library, *m_host, *m_settings, frontEnd);
}

void Engine::EndGuest() {
    m_guest.reset();
}

} // namespace vnxtest
