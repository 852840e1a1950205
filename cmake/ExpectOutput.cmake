# cmake -DPROGRAM=FILE -DOUTPUT=REGEX [-DARGUMENTS=LIST] [-DSTATUS=N] -P ExpectOutput.cmake
#
# Runs a program, and fails unless it ends with that status, or 0, and its standard output matches.
if(NOT DEFINED STATUS)
    set(STATUS 0)
endif()
execute_process(COMMAND ${PROGRAM} ${ARGUMENTS} RESULT_VARIABLE status OUTPUT_VARIABLE output)
if(NOT status STREQUAL STATUS)
    message(FATAL_ERROR "ended with ${status} instead of ${STATUS}:\n${output}")
elseif(NOT output MATCHES "${OUTPUT}")
    message(FATAL_ERROR "unexpected output:\n${output}")
endif()
