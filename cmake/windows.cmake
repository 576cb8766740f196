# The shared library on Windows: its name, exports without decoration from the same list as the version script of other
# systems, and the import library. The linker's own import library lacks the decorated names that programs ask for, so it
# is replaced.
function(mox_export_for_windows target objects list)
  set(definitions ${CMAKE_CURRENT_BINARY_DIR}/${target}.def)
  set(imports ${CMAKE_CURRENT_BINARY_DIR}/${target}.imports.def)
  set(paths ${CMAKE_CURRENT_BINARY_DIR}/${target}.objects)
  file(GENERATE OUTPUT ${paths} CONTENT "$<JOIN:$<TARGET_OBJECTS:${objects}>,\n>\n")
  add_custom_command(
    OUTPUT ${definitions} ${imports}
    COMMAND ${CMAKE_COMMAND} -DNM=${CMAKE_NM} -DNAMES=${list} -DOBJECTS=${paths} -DOUTPUT=${definitions}
            -DIMPORTS=${imports} -P ${CMAKE_SOURCE_DIR}/cmake/windowsdef.cmake
    DEPENDS ${list} ${paths} $<TARGET_OBJECTS:${objects}> ${CMAKE_SOURCE_DIR}/cmake/windowsdef.cmake
    VERBATIM)
  target_sources(${target} PRIVATE ${definitions})
  add_custom_command(
    TARGET ${target} POST_BUILD
    COMMAND ${CMAKE_DLLTOOL} --kill-at --input-def ${imports} --dllname $<TARGET_FILE_NAME:${target}> --output-lib
            $<TARGET_LINKER_FILE:${target}>
    VERBATIM)
  set_target_properties(${target} PROPERTIES PREFIX "")
endfunction()
