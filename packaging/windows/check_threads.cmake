# Checks that a program has no object of a thread (thread_local) with a destructor, which can hang the ends of
# threads (docs/building-for-windows.md): cmake -D MAP=<map of the linker> -P check_threads.cmake
file(STRINGS ${MAP} found REGEX "^[^ ]*libstdc\\+\\+\\.a\\(atexit_thread\\.o\\)")
if(found)
  message(FATAL_ERROR "A thread_local object with a destructor is linked in: see atexit_thread.o in ${MAP}")
endif()
