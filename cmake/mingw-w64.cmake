# The cross compiler for 64-bit Windows: mingw-w64 with POSIX threads (std::thread needs them). The
# compiler's libraries are linked statically, so that a program needs nothing but Windows.
#
# The preset compiles with -O1: this compiler's scheduler (-O2) moves the copy of a structure before a store
# into it through a pointer to member, and the store is lost (test_ping, PingList, showed it).
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(mingw x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${mingw}-gcc-posix)
set(CMAKE_CXX_COMPILER ${mingw}-g++-posix)
set(CMAKE_RC_COMPILER ${mingw}-windres)

set(CMAKE_FIND_ROOT_PATH /usr/${mingw})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Find modules for the header-only libraries and GoogleTest's sources.
list(PREPEND CMAKE_MODULE_PATH ${CMAKE_CURRENT_LIST_DIR}/windows)

# Full address randomisation, no executable data, and no library of the compiler beside the program.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static -Wl,--dynamicbase,--nxcompat,--high-entropy-va")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static -Wl,--dynamicbase,--nxcompat,--high-entropy-va")
