# Cross compilation for 32-bit Windows by mingw-w64. The posix flavour has std::thread, which the tests use.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR i686)
find_program(CMAKE_C_COMPILER NAMES i686-w64-mingw32-gcc-posix i686-w64-mingw32-gcc REQUIRED)
find_program(CMAKE_CXX_COMPILER NAMES i686-w64-mingw32-g++-posix i686-w64-mingw32-g++ REQUIRED)
find_program(CMAKE_RC_COMPILER NAMES i686-w64-mingw32-windres REQUIRED)

# MOX_WINDOWS_LIBRARIES is where further libraries are installed: see script/deep/windows-libraries.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES MOX_WINDOWS_LIBRARIES)
set(CMAKE_FIND_ROOT_PATH /usr/i686-w64-mingw32 ${MOX_WINDOWS_LIBRARIES})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Nothing beside the library and the programs but what the system has.
set(CMAKE_EXE_LINKER_FLAGS_INIT -static)
set(CMAKE_SHARED_LINKER_FLAGS_INIT -static)

# Foreign callers align the stack to 4 bytes, the kernels spill 16.
set(CMAKE_C_FLAGS_INIT -mincoming-stack-boundary=2)
set(CMAKE_CXX_FLAGS_INIT -mincoming-stack-boundary=2)
