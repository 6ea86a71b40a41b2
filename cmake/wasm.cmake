# WebAssembly, by Debian's emscripten; programs run in node. EARSHOT_WASM_SIMD: with its vectors.
set(EMSCRIPTEN_SYSTEM_PROCESSOR wasm32)
include(/usr/share/emscripten/cmake/Modules/Platform/Emscripten.cmake)
# What the processor traps and unwinds itself needs no help from a host.
set(CMAKE_CXX_FLAGS_INIT -fwasm-exceptions)
