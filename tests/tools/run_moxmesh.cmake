# Runs the built moxmesh once and checks what it did (run by CTest through cmake -P; see moxmesh_cli.cmake).
#
# Inputs (-D):
#   MOXMESH       the program
#   WORKDIR       an empty directory is made here first; the program runs in it
#   ARGS          the arguments, separated by "|"
#   STATUS        the exit status expected
#   STDOUT        a regular expression stdout must match (optional)
#   STDERR        a regular expression stderr must match (optional)
#   STDERR_LINES  the number of lines stderr must have (optional)
#   PRESENT       files that must exist afterwards, separated by "|" (optional)
#   ABSENT        files that must not exist afterwards, separated by "|" (optional)
#   NEEDS         a file without which the case is skipped (prints "SKIPPED:") (optional)
# Whatever the case, no staged temporary file (".*.moxmesh-*") may be left in WORKDIR.
cmake_minimum_required(VERSION 3.20)

if(NEEDS AND NOT EXISTS "${NEEDS}")
  message("SKIPPED: ${NEEDS} is not installed")
  return()
endif()

file(REMOVE_RECURSE "${WORKDIR}")
file(MAKE_DIRECTORY "${WORKDIR}")
string(REPLACE "|" ";" lArguments "${ARGS}")
execute_process(COMMAND "${MOXMESH}" ${lArguments}
  WORKING_DIRECTORY "${WORKDIR}"
  RESULT_VARIABLE lStatus OUTPUT_VARIABLE lOut ERROR_VARIABLE lErr)
message("exit status: ${lStatus}\n--- stdout\n${lOut}--- stderr\n${lErr}---")

set(lFailures)
if(NOT "${lStatus}" STREQUAL "${STATUS}")
  list(APPEND lFailures "exit status ${lStatus}, expected ${STATUS}")
endif()
if(DEFINED STDOUT AND NOT lOut MATCHES "${STDOUT}")
  list(APPEND lFailures "stdout does not match: ${STDOUT}")
endif()
if(DEFINED STDERR AND NOT lErr MATCHES "${STDERR}")
  list(APPEND lFailures "stderr does not match: ${STDERR}")
endif()
if(DEFINED STDERR_LINES)
  string(REGEX MATCHALL "\n" lBreaks "${lErr}")
  list(LENGTH lBreaks lLines)
  if(NOT lLines EQUAL STDERR_LINES)
    list(APPEND lFailures "stderr has ${lLines} lines, expected ${STDERR_LINES}")
  endif()
endif()
string(REPLACE "|" ";" lPresent "${PRESENT}")
foreach(lFile IN LISTS lPresent)
  if(NOT EXISTS "${lFile}")
    list(APPEND lFailures "missing output file ${lFile}")
  endif()
endforeach()
string(REPLACE "|" ";" lAbsent "${ABSENT}")
foreach(lFile IN LISTS lAbsent)
  if(EXISTS "${lFile}")
    list(APPEND lFailures "file left behind: ${lFile}")
  endif()
endforeach()
file(GLOB_RECURSE lStaged "${WORKDIR}/.*.moxmesh-*")
if(lStaged)
  list(APPEND lFailures "staged files left behind: ${lStaged}")
endif()

if(lFailures)
  string(REPLACE ";" "\n  " lFailures "${lFailures}")
  message(FATAL_ERROR "moxmesh ${ARGS}:\n  ${lFailures}")
endif()
