# What the toolchain files share: Debian's cross compilers, whose programs run through qemu-user.
# A toolchain file sets CMAKE_SYSTEM_PROCESSOR, the triplet of the packages' names and the emulator.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_C_COMPILER ${EARSHOT_TRIPLET}-gcc)
set(CMAKE_CXX_COMPILER ${EARSHOT_TRIPLET}-g++)
set(CMAKE_CROSSCOMPILING_EMULATOR ${EARSHOT_EMULATOR};-L;/usr/${EARSHOT_TRIPLET})
set(CMAKE_FIND_ROOT_PATH /usr/${EARSHOT_TRIPLET})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
