# Cross compilation for 64-bit Linux on Arm processors. What is built runs under qemu's user mode: the emulator is told where the loader and
# the libraries of the other system are.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
find_program(CMAKE_C_COMPILER NAMES aarch64-linux-gnu-gcc REQUIRED)
find_program(CMAKE_CXX_COMPILER NAMES aarch64-linux-gnu-g++ REQUIRED)

set(CMAKE_FIND_ROOT_PATH /usr/aarch64-linux-gnu)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

find_program(MOX_QEMU NAMES qemu-aarch64 qemu-aarch64-static)
if(MOX_QEMU)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${MOX_QEMU} -L /usr/aarch64-linux-gnu)
endif()
