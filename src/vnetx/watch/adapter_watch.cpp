#include "vnetx/watch/adapter_watch.h"

#include <cerrno>

#include <fmt/format.h>

#include "wrenlib/text.h"

namespace vnxtest {
namespace {

std::string StateOf(const std::optional<HostLink>& link) {
    return !link ? "gone" : link->up ? "up" : "down";
}

std::string CarrierOf(const HostLink& link) {
    return link.carrier ? "present" : "lost";
}

std::string AddressOf(const HostLink& link) {
    return link.addresses.empty() ? "none" : ToNarrow(FormatIPAddr(link.addresses.front().address));
}

} // namespace

void AdapterWatch::Look(const std::string& name, const DebugLines& debug) {
    const std::unique_lock lock(m_mutex, std::try_to_lock);
    if (!lock) {
        return;
    }
    errno = 0;
    const std::optional<HostLink> link = FindHostLinkByIndex(m_index);
    if (!link && errno != ENODEV) {
        return; // the system did not tell
    }
    const auto compare = [&](const char* what, const std::string& before, const std::string& now) {
        if (before != now) {
            debug.Tell(fmt::format(
                "** Interface {}: the adapter's {} was {} and is {} now; the guest goes on as it was started.",
                name, what, before, now));
        }
    };
    compare("state", StateOf(m_link), StateOf(link));
    if (m_link && link) {
        compare("name", m_link->captureName, link->captureName);
        if (m_link->up && link->up) {
            compare("carrier", CarrierOf(*m_link), CarrierOf(*link));
        }
        compare("MAC address", ToNarrow(FormatMACAddr(m_link->mac)), ToNarrow(FormatMACAddr(link->mac)));
        compare("IP address", AddressOf(*m_link), AddressOf(*link));
        compare("MTU", std::to_string(m_link->mtu), std::to_string(link->mtu));
    }
    m_link = link;
    using State = LinkHistory::State;
    m_history.Note(!link           ? State::Gone
                   : !link->up     ? State::Down
                   : link->carrier ? State::Fine
                                   : State::NoCarrier,
                   LinkHistory::Clock::now());
}

} // namespace vnxtest
