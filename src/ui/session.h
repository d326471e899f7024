// What stands behind the window: the interface library, the host, the settings and the guest, put
// together for one run.
//
// The order of the members is the order of construction; they go in the opposite order, the guest
// before the host it looks at and that before the library. User-interface thread.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "guest/front_end.h"
#include "guest/guest.h"
#include "hostnet/host_network.h"
#include "platform/profile.h"
#include "settings/settings.h"
#include "vnetx/library.h"

namespace vnxtest {

class Session {
public:
    Session() = default;
    // Ends the guest and its ping test, then the library's debug output.
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    // Opens the library of this name. `profile` must outlive the session. False with whole sentences in
    // `error` when the library cannot be used; the session is of no use then.
    bool Open(Profile& profile, const std::wstring& libraryName, std::wstring& error);
    // Makes the guest, which reads the debug settings. After Open.
    void MakeGuest(FrontEnd& frontEnd);
    // Gathers the host's network and writes the start-up report to the attached output channel. Takes
    // a bounded time. Only while the guest is stopped.
    void GatherHost();
    // Ends the guest and its ping test: waits for all their threads.
    void EndGuest();

    HostNetwork& Host() { return *m_host; }
    Settings& UserSettings() { return *m_settings; }
    // Null before MakeGuest and after EndGuest.
    Guest* TheGuest() { return m_guest ? &*m_guest : nullptr; }

private:
    std::unique_ptr<VnetxLibrary> m_library;
    std::unique_ptr<HostTables> m_tables;
    std::unique_ptr<WrenPackLibrary> m_adapters;
    std::unique_ptr<HostTables> m_simulatedTables;
    std::unique_ptr<WrenPackLibrary> m_simulatedAdapters;
    std::optional<HostNetwork> m_host;
    std::optional<Settings> m_settings;
    std::optional<Guest> m_guest;
};

} // namespace vnxtest
