// Preloaded into the program: some of its threads cannot be started, as when the system has none to give.
//
// FAIL_THREAD is the number of the first pthread_create that fails, FAIL_THREAD_LAST that of the last; the
// file FAIL_THREAD_MARK is made when one has failed.
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <pthread.h>
#include <stdatomic.h>
#include <stdlib.h>
#include <unistd.h>

typedef int (*Create)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*start)(void*),
                   void* argument) {
    static atomic_int calls;
    const int number = atomic_fetch_add(&calls, 1) + 1;
    const char* const first = getenv("FAIL_THREAD");
    const char* const last = getenv("FAIL_THREAD_LAST");
    if (first && last && number >= atoi(first) && number <= atoi(last)) {
        const int mark = open(getenv("FAIL_THREAD_MARK"), O_CREAT | O_WRONLY | O_CLOEXEC, 0666);
        if (mark >= 0) {
            close(mark);
        }
        return EAGAIN;
    }
    const Create real = (Create)dlsym(RTLD_NEXT, "pthread_create");
    return real(thread, attributes, start, argument);
}
