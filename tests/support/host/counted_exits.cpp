// The coverage build's own ends of a process: those that run no exit handlers would lose what was
// counted, so they write it first. The linker puts them in the place of the C library's.
#include <cstdlib>

#include <unistd.h>

extern "C" {

void __gcov_dump();
[[noreturn]] void __real_abort();
[[noreturn]] void __real__exit(int status);

[[noreturn]] void __wrap_abort() {
  __gcov_dump();
  __real_abort();
}

[[noreturn]] void __wrap__exit(int status) {
  __gcov_dump();
  __real__exit(status);
}
}
