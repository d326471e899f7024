// What standard error says of a run that did not go as it should.
#pragma once

#include <string>

#include "core/interface_info.h"
#include "core/ping_plan.h"

namespace vnxtest {

// A ping could not be written; `failure` is what the document says of it.
std::wstring DescribeWriteFailure(const PingPlan& plan, const std::wstring& failure);

// Frames that the driver of interface 0 or 1 dropped unread: they were lost on this machine and not on the
// way. Empty when there were none. After the interface was closed.
std::wstring DescribeDroppedFrames(const INTERFACE_INFO& info, int index);

} // namespace vnxtest
