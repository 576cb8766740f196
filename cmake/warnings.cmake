# The warnings that the project holds. Link to mox_warnings to have them.
add_library(mox_warnings INTERFACE)
target_compile_options(mox_warnings INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
# A loop that this compiler does not vectorise is no fault, and its -Wconversion means what GCC's means.
if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  target_compile_options(mox_warnings INTERFACE -Wno-pass-failed -Wno-sign-conversion)
endif()
if(MOX_WERROR)
  target_compile_options(mox_warnings INTERFACE -Werror)
endif()
