# Writes two module definition files. By OUTPUT the library is linked: every name of NAMES undecorated, whatever the calling
# convention made of it in OBJECTS. By IMPORTS the import library is made, where programs look for the decorated names.
# Run as a script with NM, NAMES, OBJECTS (a file with one path a line), OUTPUT and IMPORTS.
file(STRINGS ${NAMES} names REGEX "^mox")
file(STRINGS ${OBJECTS} objects)
execute_process(COMMAND ${NM} --defined-only --extern-only ${objects} OUTPUT_VARIABLE symbols ERROR_VARIABLE ignored
                RESULT_VARIABLE failed)
if(failed)
  message(FATAL_ERROR "${NM}: ${ignored}")
endif()
set(lines "EXPORTS\n")
set(imports "EXPORTS\n")
foreach(name IN LISTS names)
  if(NOT symbols MATCHES " _(${name}(@[0-9]+)?)\r?\n")
    message(FATAL_ERROR "${name} is to be exported and is nowhere defined")
  endif()
  string(APPEND lines "    ${name} = ${CMAKE_MATCH_1}\n")
  string(APPEND imports "    ${CMAKE_MATCH_1}\n")
endforeach()
file(WRITE ${OUTPUT} "${lines}")
file(WRITE ${IMPORTS} "${imports}")
