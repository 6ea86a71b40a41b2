# 64-bit RISC-V.
set(CMAKE_SYSTEM_PROCESSOR riscv64)
set(EARSHOT_TRIPLET riscv64-linux-gnu)
set(EARSHOT_EMULATOR qemu-riscv64)
include(${CMAKE_CURRENT_LIST_DIR}/debian_cross.cmake)
