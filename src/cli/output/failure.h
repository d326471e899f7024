// What the program says when it cannot go on: no memory, no thread, no descriptor.
#pragma once

#include <exception>
#include <string>

namespace vnxtest {

// The call that failed, its code and its text, and what may help. Any thread.
std::wstring DescribeFailure(const std::exception& failure);

// For std::set_terminate: says the same about a failure that nobody has caught, on whatever thread, and ends
// the program with status 2. The system takes back what was open.
[[noreturn]] void EndAfterFailure();

} // namespace vnxtest
