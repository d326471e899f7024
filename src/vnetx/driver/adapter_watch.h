// Notices when the adapter that an interface is bound to changes while the interface is open.
//
// The guest goes on as it was started, with its own addresses; whoever has changed the adapter is told, in
// one line for each thing that is different since the last look.
#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>

#include "vnetx/driver/debug_lines.h"
#include "vnetx/host/host_links.h"

namespace vnxtest {

class AdapterWatch {
public:
    // `link` is the adapter as it is now.
    explicit AdapterWatch(const HostLink& link) : m_index(link.index), m_link(link) {}

    // Compares, and tells what has changed for interface `name`. Any thread; while another thread looks, this
    // one need not.
    void Look(const std::string& name, const DebugLines& debug);

private:
    const std::uint32_t m_index;
    std::mutex m_mutex;
    std::optional<HostLink> m_link; // at the last look; nothing when it was gone
};

} // namespace vnxtest
