// A shared object for LD_PRELOAD: starts a thread that blocks every signal, as a library's thread may.
#include <csignal>
#include <thread>

#include <unistd.h>

[[gnu::constructor]] static void StartDeafThread() {
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, &before); // its creator's mask is the thread's
    std::thread([] {
        for (;;) {
            pause();
        }
    }).detach();
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}
