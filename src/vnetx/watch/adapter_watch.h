// Detects changes of the adapter that an open interface is bound to.
//
// The guest goes on as it was started, with its own addresses. Each property that differs from the last
// check is told in one line of the debug output. What it was without meanwhile is kept for whoever asks.
#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>

#include "vnetx/driver/debug_lines.h"
#include "vnetx/host/host_links.h"
#include "vnetx/watch/link_history.h"

namespace vnxtest {

class AdapterWatch {
public:
    // `link` is the adapter as it is now.
    explicit AdapterWatch(const HostLink& link) : m_index(link.index), m_link(link) {}

    // Compares, and tells what has changed for interface `name`. Any thread; returns at once while another
    // thread is in it.
    void Look(const std::string& name, const DebugLines& debug);

    // What it lacked since History().Begin(), as far as it was looked at.
    LinkHistory& History() { return m_history; }

private:
    const std::uint32_t m_index;
    std::mutex m_mutex;
    std::optional<HostLink> m_link; // at the last check; nullopt if it was gone
    LinkHistory m_history;
};

} // namespace vnxtest
