# WebAssembly, by Debian's emscripten; programs run in node. EARSHOT_WASM_SIMD: with its vectors.
set(EMSCRIPTEN_SYSTEM_PROCESSOR wasm32)
include(/usr/share/emscripten/cmake/Modules/Platform/Emscripten.cmake)
# What the processor traps and unwinds itself needs no help from a host.
set(CMAKE_CXX_FLAGS_INIT -fwasm-exceptions)
# What emscripten has written looks for a network where node has the means to ask one.
set(CMAKE_CROSSCOMPILING_EMULATOR node;--no-experimental-fetch)
