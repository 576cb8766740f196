# The warnings that the project holds. Link to mox_warnings to have them.
add_library(mox_warnings INTERFACE)
target_compile_options(mox_warnings INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
if(MOX_WERROR)
  target_compile_options(mox_warnings INTERFACE -Werror)
endif()
