# Run by CTest (cmake -P): installs the built library into a fresh prefix, then configures, builds and
# runs the consumer project in tests/install twice, once against the installed config package and once
# with the library added from source through add_subdirectory(). Any failing step fails the test.
#
# Inputs (-D): MOXSDK_SOURCE_DIR, MOXSDK_BINARY_DIR, MOXSDK_WORK_DIR, MOXSDK_CONFIG, MOXSDK_GENERATOR,
# MOXSDK_MAKE_PROGRAM, MOXSDK_CXX_COMPILER, MOXSDK_CXX_FLAGS, MOXSDK_WARNINGS_AS_ERRORS, MOXSDK_SANITIZE.
cmake_minimum_required(VERSION 3.20)

function(mox_run pWhat)
  message(STATUS "install test: ${pWhat}")
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE lResult)
  if(NOT lResult EQUAL 0)
    message(FATAL_ERROR "install test: ${pWhat} failed (${lResult})")
  endif()
endfunction()

# mox_consumer(name extra-cache-args...): configures, builds and runs one consumer build.
function(mox_consumer pName)
  set(lBuildDir ${MOXSDK_WORK_DIR}/${pName})
  set(lMakeProgram)
  if(MOXSDK_MAKE_PROGRAM)
    set(lMakeProgram -DCMAKE_MAKE_PROGRAM=${MOXSDK_MAKE_PROGRAM})
  endif()
  mox_run("configure the ${pName} consumer"
    ${CMAKE_COMMAND} -S ${MOXSDK_SOURCE_DIR}/tests/install -B ${lBuildDir} -G ${MOXSDK_GENERATOR} ${lMakeProgram}
      -DCMAKE_BUILD_TYPE=${MOXSDK_CONFIG}
      -DCMAKE_CXX_COMPILER=${MOXSDK_CXX_COMPILER}
      "-DCMAKE_CXX_FLAGS=${MOXSDK_CXX_FLAGS}"
      -DMOXSDK_CONSUMER_WARNINGS_AS_ERRORS=${MOXSDK_WARNINGS_AS_ERRORS}
      ${ARGN})
  mox_run("build the ${pName} consumer" ${CMAKE_COMMAND} --build ${lBuildDir} --config ${MOXSDK_CONFIG} --parallel 2)
  mox_run("run the ${pName} consumer" ${lBuildDir}/moxsdk_consumer)
endfunction()

# A fresh prefix each time, so a header removed from the tree cannot linger in it.
set(lPrefix ${MOXSDK_WORK_DIR}/prefix)
file(REMOVE_RECURSE ${lPrefix})
mox_run("install into ${lPrefix}"
  ${CMAKE_COMMAND} --install ${MOXSDK_BINARY_DIR} --config ${MOXSDK_CONFIG} --prefix ${lPrefix})

mox_consumer(package -DCMAKE_PREFIX_PATH=${lPrefix} -DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF
  -DCMAKE_FIND_USE_SYSTEM_PACKAGE_REGISTRY=OFF -DMOXSDK_SOURCE_DIR=)
# The package must have come from the fresh prefix, not from an installation elsewhere on the machine.
file(STRINGS ${MOXSDK_WORK_DIR}/package/CMakeCache.txt lFound REGEX "^moxsdk_DIR:")
string(FIND "${lFound}" "${lPrefix}/" lAt)
if(NOT lAt GREATER -1)
  message(FATAL_ERROR "install test: the consumer found moxsdk outside ${lPrefix}: ${lFound}")
endif()
mox_consumer(subdirectory -DMOXSDK_SOURCE_DIR=${MOXSDK_SOURCE_DIR}
  -DMOXSDK_WARNINGS_AS_ERRORS=${MOXSDK_WARNINGS_AS_ERRORS} -DMOXSDK_SANITIZE=${MOXSDK_SANITIZE})
