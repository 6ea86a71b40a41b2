# 32-bit ARM, hard float.
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(EARSHOT_TRIPLET arm-linux-gnueabihf)
set(EARSHOT_EMULATOR qemu-arm)
include(${CMAKE_CURRENT_LIST_DIR}/debian_cross.cmake)
