# Installs the library into a new prefix, moves that prefix, and builds and runs the application against it:
# -DWAY=cmake|pkgconfig -DBUILD -DCONFIG -DWORK -DAPPLICATION -DLIBDIR -DBINDIR -DDOCDIR -DTOOL -DCC -DGENERATOR -DPKG_CONFIG.
cmake_minimum_required(VERSION 3.25)
function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${ARGN}\ngave ${result}:\n${output}")
  endif()
  set(output "${output}" PARENT_SCOPE)
endfunction()

if(WAY STREQUAL "pkgconfig" AND NOT PKG_CONFIG)
  message("no pkg-config here")
  return()
endif()

file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK})
run(${CMAKE_COMMAND} --install ${BUILD} --config ${CONFIG} --prefix ${WORK}/first)
# Nothing in an installed tree may know where it was installed.
file(RENAME ${WORK}/first ${WORK}/prefix)
foreach(file include/mox.h ${LIBDIR}/libmoxw7.so ${LIBDIR}/libmoxw7.so.2 ${LIBDIR}/pkgconfig/moxw7.pc
             ${LIBDIR}/cmake/mox/mox-config.cmake ${DOCDIR}/LICENSE)
  if(NOT EXISTS ${WORK}/prefix/${file})
    message(FATAL_ERROR "${file} was not installed")
  endif()
endforeach()

if(TOOL)
  run(${WORK}/prefix/${BINDIR}/mox list)
  if(NOT output MATCHES "blur")
    message(FATAL_ERROR "the installed tool lists\n${output}")
  endif()
endif()

if(WAY STREQUAL "cmake")
  run(${CMAKE_COMMAND} -S ${APPLICATION} -B ${WORK}/build -G ${GENERATOR} -DCMAKE_C_COMPILER=${CC}
      -DCMAKE_PREFIX_PATH=${WORK}/prefix)
  run(${CMAKE_COMMAND} --build ${WORK}/build)
  run(${WORK}/build/application)
else()
  set(ENV{PKG_CONFIG_PATH} ${WORK}/prefix/${LIBDIR}/pkgconfig)
  # Without this, pkg-config strips include folders that it takes for the system's.
  set(ENV{PKG_CONFIG_ALLOW_SYSTEM_CFLAGS} 1)
  run(${PKG_CONFIG} --modversion moxw7)
  if(NOT output MATCHES "^2\\.5\\.9")
    message(FATAL_ERROR "the version is ${output}")
  endif()
  run(${PKG_CONFIG} --cflags --libs moxw7)
  separate_arguments(flags UNIX_COMMAND "${output}")
  run(${CC} -std=c99 -Wall -Wextra -pedantic-errors ${APPLICATION}/application.c -o ${WORK}/application ${flags}
      -Wl,-rpath,${WORK}/prefix/${LIBDIR})
  run(${WORK}/application)
endif()
