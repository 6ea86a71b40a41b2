# Read at the end of project(): what CMake finds out about a compiler for a big-endian processor.
set(CMAKE_CXX_BYTE_ORDER BIG_ENDIAN)
