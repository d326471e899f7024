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
    m_capturing.emplace(*m_library, [this](const std::wstring& name) { return FindCaptured(name); });
    m_tables = MakeHostTables();
    m_adapters = MakeWrenPackLibrary();
    if (IsSimulatedLan(libraryName)) {
        m_simulatedTables = std::make_unique<SimHostTables>(*m_tables);
        m_simulatedAdapters = std::make_unique<SimWrenPack>(*m_adapters);
    }
    m_host.emplace(HostSources{.tables = m_simulatedTables ? *m_simulatedTables : *m_tables,
                               .adapters = m_simulatedAdapters ? *m_simulatedAdapters : *m_adapters,
                               .defaultAdapterMac = [&library = *m_capturing] {
                                   const char* const mac = library.GetDefaultIface();
                                   return mac != nullptr ? ToWide(mac) : std::wstring();
                               }});
    return {};
}

void Engine::GatherHost() {
    RegisterDebugOutput(*m_capturing);
    m_host->InitGlobals();
}

void Engine::WriteReport() {
    WriteStartupReport(*m_host, *m_capturing, ReportContext());
}

void Engine::MakeGuest(Profile& profile, FrontEnd& frontEnd) {
    m_settings.emplace(profile);
    m_guest.emplace(*m_capturing, *m_host, *m_settings, frontEnd);
}

Result<void> Engine::CaptureNextStart(const std::filesystem::path& path, std::function<void()> onEnd) {
    BlockFile file;
    if (auto opened = file.Open(path); !opened) {
        return PassOn(opened);
    }
    CaptureNextStart(std::move(file), std::move(onEnd));
    return {};
}

void Engine::CaptureNextStart(BlockFile file, std::function<void()> onEnd) {
    m_capture = std::make_shared<FrameCapture>(std::move(file), std::move(onEnd));
    m_capturing->CaptureNextStart(m_capture);
}

void Engine::CancelCapture() {
    m_capturing->CaptureNextStart(nullptr);
    if (m_capture && !m_capture->Counts().hasBegun) {
        m_capture.reset();
    }
}

std::optional<CaptureCounts> Engine::Captured() const {
    return m_capture ? std::optional(m_capture->Counts()) : std::nullopt;
}

// The adapter that a guest's interface was opened by: its address or MAC address as text. On a monitor
// thread; nothing is gathered while the guest runs.
CapturedAdapter Engine::FindCaptured(const std::wstring& name) const {
    for (const HostAdapter& adapter : m_host->Adapters()) {
        if (FormatIPAddr(adapter.address) == name || ParseMACAddress(name) == adapter.mac) {
            return {TrimBlanks(adapter.description), adapter.linkSpeed};
        }
    }
    return {};
}

void Engine::EndGuest() {
    m_guest.reset();
}

Findings Engine::Advice() const {
    return Advise(Observe(*m_guest, *m_library));
}

} // namespace vnxtest
