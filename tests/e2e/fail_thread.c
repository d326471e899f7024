// Preloaded into the program: some of its threads cannot be started, as when the system has none to give.
//
// FAIL_THREAD is the number of the first pthread_create that fails, FAIL_THREAD_LAST that of the last; the
// file FAIL_THREAD_MARK is written to when one has failed.
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <pthread.h>
#include <stdatomic.h>
#include <stdlib.h>
#include <unistd.h>

typedef int (*Create)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);

// Opened first of all, since a running guest may open no files.
static int g_mark = -1;

__attribute__((constructor)) static void OpenMark(void) {
    const char* const name = getenv("FAIL_THREAD_MARK");
    g_mark = name ? open(name, O_CREAT | O_WRONLY | O_CLOEXEC, 0666) : -1;
}

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*start)(void*),
                   void* argument) {
    static atomic_int calls;
    const int number = atomic_fetch_add(&calls, 1) + 1;
    const char* const first = getenv("FAIL_THREAD");
    const char* const last = getenv("FAIL_THREAD_LAST");
    if (first && last && number >= atoi(first) && number <= atoi(last)) {
        return write(g_mark, "x", 1) == 1 ? EAGAIN : ENOSYS;
    }
    const Create real = (Create)dlsym(RTLD_NEXT, "pthread_create");
    return real(thread, attributes, start, argument);
}
