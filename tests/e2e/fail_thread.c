// Preloaded into the program: makes some of its pthread_create calls fail, as without resources.
//
// FAIL_THREAD is the number of the first pthread_create that fails, FAIL_THREAD_LAST that of the last; the
// file FAIL_THREAD_MARK is written to if one has failed. Only the program's own threads count, which the
// C++ library creates, not a toolkit's; from the start, or with FAIL_THREAD_ON_SIGNAL again from every
// SIGUSR2.
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <pthread.h>
#include <signal.h>
#include <stdatomic.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

typedef int (*Create)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);

// Opened first of all, since a running guest may open no files.
static int g_mark = -1;

static atomic_int g_calls;

static void CountAnew(int number) {
    (void)number;
    g_calls = 0;
}

__attribute__((constructor)) static void Prepare(void) {
    const char* const name = getenv("FAIL_THREAD_MARK");
    g_mark = name ? open(name, O_CREAT | O_WRONLY | O_CLOEXEC, 0666) : -1;
    if (getenv("FAIL_THREAD_ON_SIGNAL")) {
        g_calls = INT_MIN;
        signal(SIGUSR2, CountAnew);
    }
}

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*start)(void*),
                   void* argument) {
    Dl_info caller;
    const int own = dladdr(__builtin_return_address(0), &caller) && strstr(caller.dli_fname, "libstdc++");
    const int number = own ? atomic_fetch_add(&g_calls, 1) + 1 : 0;
    const char* const first = getenv("FAIL_THREAD");
    const char* const last = getenv("FAIL_THREAD_LAST");
    if (first && last && number >= atoi(first) && number <= atoi(last)) {
        return write(g_mark, "x", 1) == 1 ? EAGAIN : ENOSYS;
    }
    const Create real = (Create)dlsym(RTLD_NEXT, "pthread_create");
    return real(thread, attributes, start, argument);
}
