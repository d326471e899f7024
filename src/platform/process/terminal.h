// Standard output and standard error, which may be a terminal.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace vnxtest {

// True if `stream` is a terminal. Any thread.
bool IsTerminal(std::FILE* stream);

// True if both are terminals, and the same one. Any thread.
bool IsSameTerminal(std::FILE* one, std::FILE* other);

// The columns of the terminal `stream`: what COLUMNS in the environment says, else what the terminal does, 80
// if neither does or `stream` is no terminal. At least 20. Any thread.
unsigned TerminalWidth(std::FILE* stream);

// True if `stream` is a terminal that shows colours and nobody minds them (NO_COLOR). Any thread.
bool MayColour(std::FILE* stream);

// True if `stream` is an ordinary file, so that a write always ends. Any thread.
bool IsOrdinaryFile(std::FILE* stream);

// Writes all of `bytes` to the file of `stream`, past its buffer; blocks as long as that takes. False with
// errno. Any thread.
bool WriteAll(std::FILE* stream, std::string_view bytes);

// Called first in main. Switches a Windows console to UTF-8. Fills a standard stream that the parent
// process has closed, so that no file opened later takes its place and a write to it fails. A write beyond
// the limit on file sizes fails, too, instead of ending the program.
void PrepareTerminal();

// The words of the command line after the program's name, as UTF-8. On Linux byte for byte: a file's name
// need not be UTF-8.
std::vector<std::string> CommandLineWords(int argc, char** argv);

// The line end of text files: "\n", or "\r\n" on Windows.
extern const char* const kTextLineEnd;

} // namespace vnxtest
