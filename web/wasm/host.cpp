// What the runtime library would ask of a host, so that the module needs none.
#include <cstddef>

extern "C" {

[[noreturn]] void __wasi_proc_exit(unsigned) { __builtin_trap(); }

// Views of the memory are made anew whenever its buffer is another one.
void emscripten_notify_memory_growth(std::size_t) {}
}
