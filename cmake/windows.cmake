# The shared library on Windows: its name, and exports without decoration from the same list as the version script of other systems.
function(mox_export_for_windows target objects list)
  set(definitions ${CMAKE_CURRENT_BINARY_DIR}/${target}.def)
  set(paths ${CMAKE_CURRENT_BINARY_DIR}/${target}.objects)
  file(GENERATE OUTPUT ${paths} CONTENT "$<JOIN:$<TARGET_OBJECTS:${objects}>,\n>\n")
  add_custom_command(
    OUTPUT ${definitions}
    COMMAND ${CMAKE_COMMAND} -DNM=${CMAKE_NM} -DNAMES=${list} -DOBJECTS=${paths} -DOUTPUT=${definitions} -P
            ${CMAKE_SOURCE_DIR}/cmake/windowsdef.cmake
    DEPENDS ${list} ${paths} $<TARGET_OBJECTS:${objects}> ${CMAKE_SOURCE_DIR}/cmake/windowsdef.cmake
    VERBATIM)
  target_sources(${target} PRIVATE ${definitions})
  set_target_properties(${target} PROPERTIES PREFIX "")
endfunction()
