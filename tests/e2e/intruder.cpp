// A shared object for LD_PRELOAD: on SIGUSR2 the program starts another one in its place, as foreign code
// would that a frame has brought in.
#include <csignal>

#include <unistd.h>

extern "C" void StartAnotherProgram(int) {
    execl("/bin/sh", "sh", "-c", "exit 42", nullptr);
}

[[gnu::constructor]] static void AwaitSignal() {
    std::signal(SIGUSR2, StartAnotherProgram);
}
