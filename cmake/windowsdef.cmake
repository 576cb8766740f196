# Writes the module definition file: every name of NAMES undecorated, whatever the calling convention made of it in
# OBJECTS. Run as a script with NM, NAMES, OBJECTS (a file with one path a line) and OUTPUT.
file(STRINGS ${NAMES} names REGEX "^mox")
file(STRINGS ${OBJECTS} objects)
execute_process(COMMAND ${NM} --defined-only --extern-only ${objects} OUTPUT_VARIABLE symbols ERROR_VARIABLE ignored
                RESULT_VARIABLE failed)
if(failed)
  message(FATAL_ERROR "${NM}: ${ignored}")
endif()
set(lines "EXPORTS\n")
foreach(name IN LISTS names)
  if(NOT symbols MATCHES " _(${name}(@[0-9]+)?)\r?\n")
    message(FATAL_ERROR "${name} is to be exported and is nowhere defined")
  endif()
  string(APPEND lines "    ${name} = ${CMAKE_MATCH_1}\n")
endforeach()
file(WRITE ${OUTPUT} "${lines}")
