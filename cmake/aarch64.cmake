# 64-bit ARM.
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(EARSHOT_TRIPLET aarch64-linux-gnu)
set(EARSHOT_EMULATOR qemu-aarch64)
include(${CMAKE_CURRENT_LIST_DIR}/debian_cross.cmake)
