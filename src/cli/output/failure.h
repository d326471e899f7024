// The messages of a program that cannot go on: no memory, no thread, no descriptor.
#pragma once

#include <exception>
#include <string>

#include "wrenlib/failure.h"

namespace vnxtest {

// The failed call, its code and its text, and what may help. Any thread.
std::wstring DescribeFailure(const Failure& failure);
std::wstring DescribeFailure(const std::exception& failure);

// For std::set_terminate: writes the same about an uncaught exception, on any thread, and ends the program
// with status 2. The system closes what was open.
[[noreturn]] void EndAfterFailure();

} // namespace vnxtest
