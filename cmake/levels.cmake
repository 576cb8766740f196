# CPU levels. Kernel files are compiled once for each level, with OWN_LEVEL naming the namespace of that copy; nothing else in the library is
# compiled with raised flags.

# Every file of the library: exact arithmetic, one rounding for each operation written. Nobody asks for fast arithmetic, and
# -fno-fast-math is not named: behind other options it would undo -fno-math-errno and the kernels' -fno-trapping-math.
add_library(mox_numbers INTERFACE)
target_compile_options(mox_numbers INTERFACE -ffp-contract=off -fno-math-errno)

# The highest level that is built. A library without the levels above shows on any machine what it does on one that lacks them.
set(MOX_MAX_LEVEL v4 CACHE STRING "Highest CPU level to build: base, v3 or v4")
set_property(CACHE MOX_MAX_LEVEL PROPERTY STRINGS base v3 v4)
if(NOT MOX_MAX_LEVEL MATCHES "^(base|v3|v4)$")
  message(FATAL_ERROR "MOX_MAX_LEVEL is \"${MOX_MAX_LEVEL}\"; it can be base, v3 or v4.")
endif()

# OWN_HAS_LEVELS is the number of levels above the baseline, and not defined where there are none.
set(MOX_LEVELS ownBase)
set(MOX_LEVEL_DEFINITIONS "")
set(MOX_LEVEL_FLAGS_ownBase "")
set(MOX_LEVEL_FLAGS_ownV3 -march=x86-64-v3)
set(MOX_LEVEL_FLAGS_ownV4 -march=x86-64-v4)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|amd64)$" AND CMAKE_SIZEOF_VOID_P EQUAL 8)
  if(MOX_MAX_LEVEL STREQUAL "v3")
    list(APPEND MOX_LEVELS ownV3)
    set(MOX_LEVEL_DEFINITIONS OWN_HAS_LEVELS=1)
  elseif(MOX_MAX_LEVEL STREQUAL "v4")
    list(APPEND MOX_LEVELS ownV3 ownV4)
    set(MOX_LEVEL_DEFINITIONS OWN_HAS_LEVELS=2)
  endif()
elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "86|AMD64|amd64")
  target_compile_options(mox_numbers INTERFACE -msse2 -mfpmath=sse)
endif()

# Adds kernel files to a target, once for each level; name tells its sets of kernel files apart.
function(mox_add_kernels target name)
  foreach(level IN LISTS MOX_LEVELS)
    set(kernels ${target}_${name}_${level})
    add_library(${kernels} OBJECT ${ARGN})
    target_include_directories(${kernels} PRIVATE ${CMAKE_SOURCE_DIR}/include ${CMAKE_SOURCE_DIR}/src)
    target_compile_definitions(${kernels} PRIVATE OWN_LEVEL=${level})
    # Nothing looks at the floating-point exceptions that a lane raises whose result is not stored: with the flag loops
    # under a mask become vectors at every level.
    target_compile_options(${kernels} PRIVATE ${MOX_LIBRARY_OPTIONS} $<$<NOT:$<CONFIG:Debug>>:-O3>
                           -fno-trapping-math ${MOX_LEVEL_FLAGS_${level}})
    target_link_libraries(${kernels} PRIVATE mox_warnings mox_numbers)
    target_sources(${target} PRIVATE $<TARGET_OBJECTS:${kernels}>)
    target_sources(${target} INTERFACE $<TARGET_OBJECTS:${kernels}>)
  endforeach()
endfunction()
