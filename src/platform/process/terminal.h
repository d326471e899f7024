// The terminal that standard output and standard error may lead to.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace vnxtest {

// True when `stream` leads to a terminal that somebody may be looking at.
bool IsTerminal(std::FILE* stream);

// True when writing to `stream` always comes to an end: it leads to an ordinary file.
bool IsOrdinaryFile(std::FILE* stream);

// Writes all of `bytes` to where `stream` leads, past its buffer, for as long as that takes. False with
// errno. Any thread.
bool WriteAll(std::FILE* stream, std::string_view bytes);

// To be called first of all. Makes the terminal show UTF-8 where it does not do so anyway, and sees to
// it that no file that is opened later takes the place of a standard stream that was closed by the
// program's starter: writing to such a stream fails. A file that grows beyond what is allowed fails, too,
// instead of ending the program.
void PrepareTerminal();

// The words of the command line behind the program's name, as UTF-8. On Linux byte for byte as they were
// given: the name of a file need not be UTF-8.
std::vector<std::string> CommandLineWords(int argc, char** argv);

// The line end of text files: "\n", or "\r\n" on Windows.
extern const char* const kTextLineEnd;

} // namespace vnxtest
