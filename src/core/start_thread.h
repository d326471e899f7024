// Starting a thread whose failure to start is an assertion line like any other.
#pragma once

#include <source_location>
#include <system_error>
#include <thread>
#include <utility>

#include "core/output_channel.h"

namespace vnxtest {

// Makes `thread` run `procedure`. False, with the assertion line of the caller, when the system has
// no thread to give.
template <typename Procedure>
bool StartThread(std::thread& thread, Procedure procedure,
                 std::source_location where = std::source_location::current()) {
    try {
        thread = std::thread(std::move(procedure));
        return true;
    } catch (const std::system_error&) {
        return Verify(false, where);
    }
}

} // namespace vnxtest
