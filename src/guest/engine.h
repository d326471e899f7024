// The engine of a front end for one run: the interface library, the host, the settings and the guest, made
// in this order.
//
// The members are destroyed in the opposite order: the guest before the host that it uses, and that before
// the library. User-interface thread.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "advice/finding.h"
#include "capture/capturing_library.h"
#include "guest/front_end.h"
#include "guest/guest.h"
#include "hostnet/host_network.h"
#include "platform/files/profile.h"
#include "settings/settings.h"
#include "vnetx/library.h"

namespace vnxtest {

// The profile of a guest with the library of this name: the user's settings, or the separate section of the
// simulated LAN.
std::unique_ptr<Profile> OpenGuestProfile(std::wstring_view libraryName);

class Engine {
public:
    Engine() = default;
    // Ends the guest and its ping test, then the library's debug output.
    ~Engine();
    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;

    // Opens the library of this name (as OpenVnetxLibrary takes it) and the host that belongs to it: with
    // "sim" the real host and the simulated adapter. A failure, whose text is whole sentences, if the library
    // cannot be used; no other function may be called then.
    Result<void> Open(const std::wstring& libraryName);
    // Registers the library's debug output with the log, then gathers the host's data
    // (HostNetwork::InitGlobals). Once, when the document exists. Waits for one bounded probe at most.
    void GatherHost();
    // Writes the start-up report of what was gathered (hostnet/report.h).
    void WriteReport();
    // Makes the guest, which reads the debug settings. `profile` and `frontEnd` must outlive the engine.
    void MakeGuest(Profile& profile, FrontEnd& frontEnd);
    // Ends the guest and its ping test and joins all their threads.
    void EndGuest();

    // The guest's next start is captured into the file at `path` (capture/frame_capture.h), or into `file`,
    // which is open, in the place of one that was asked for before and has not begun. `onEnd` is called on
    // any thread when the capture is over; it may ask nothing of it. A failure's text is a sentence. After
    // Open().
    Result<void> CaptureNextStart(const std::filesystem::path& path, std::function<void()> onEnd = nullptr);
    void CaptureNextStart(BlockFile file, std::function<void()> onEnd = nullptr);
    // Takes that back; one that has begun goes on until the guest is stopped.
    void CancelCapture();
    // The counts of the last capture that was asked for; nullopt if there was none. Any time.
    std::optional<CaptureCounts> Captured() const;

    // Null until it is open.
    VnetxLibrary* Library() { return m_capturing ? &*m_capturing : nullptr; }
    HostNetwork& Host() { return *m_host; }
    // After MakeGuest.
    Settings& UserSettings() { return *m_settings; }
    // Between MakeGuest and EndGuest.
    Guest& TheGuest() { return *m_guest; }
    // What is to be said of the guest's run so far, or of its last one (advice/advice.h); at any time between
    // the two. The front end shows each finding once.
    Findings Advice() const;

private:
    CapturedAdapter FindCaptured(const std::wstring& name) const;

    std::unique_ptr<VnetxLibrary> m_library;
    std::optional<CapturingLibrary> m_capturing; // around it; everybody uses this one
    std::shared_ptr<FrameCapture> m_capture;     // the last one that was asked for
    std::unique_ptr<HostTables> m_tables;
    std::unique_ptr<WrenPackLibrary> m_adapters;
    std::unique_ptr<HostTables> m_simulatedTables;
    std::unique_ptr<WrenPackLibrary> m_simulatedAdapters;
    std::optional<HostNetwork> m_host;
    std::optional<Settings> m_settings;
    std::optional<Guest> m_guest;
};

} // namespace vnxtest
