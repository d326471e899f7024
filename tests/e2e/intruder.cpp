// A shared object for LD_PRELOAD: on SIGUSR2 the process executes another program, as code injected by a
// frame would.
#include <csignal>

#include <unistd.h>

extern "C" void StartAnotherProgram(int) {
    execl("/bin/sh", "sh", "-c", "exit 42", nullptr);
}

[[gnu::constructor]] static void AwaitSignal() {
    std::signal(SIGUSR2, StartAnotherProgram);
}
