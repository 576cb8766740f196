# Runs PROGRAM and compares what it prints with the file EXPECTED.
execute_process(COMMAND ${PROGRAM} RESULT_VARIABLE code OUTPUT_VARIABLE printed ERROR_VARIABLE errors)
file(READ ${EXPECTED} expected)
if(NOT code EQUAL 0 OR NOT errors STREQUAL "" OR NOT printed STREQUAL expected)
  message(FATAL_ERROR "exit code ${code}\nprinted:\n${printed}\nexpected:\n${expected}\nerrors:\n${errors}")
endif()
