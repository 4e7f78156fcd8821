# Installs the built library to a fresh prefix, then configures, builds and runs
# a small consumer project against it through find_package(tlvstd).
file(REMOVE_RECURSE ${WORK_DIR})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BINARY_DIR} --prefix ${WORK_DIR}/prefix
  RESULT_VARIABLE rc OUTPUT_QUIET)
if(rc)
  message(FATAL_ERROR "install failed: ${rc}")
endif()
file(STRINGS ${BINARY_DIR}/CMakeCache.txt flags_line REGEX "^CMAKE_CXX_FLAGS:")
string(REGEX REPLACE "^CMAKE_CXX_FLAGS:[A-Z]*=" "" flags "${flags_line}")
file(STRINGS ${BINARY_DIR}/CMakeCache.txt compiler_line REGEX "^CMAKE_CXX_COMPILER:")
string(REGEX REPLACE "^CMAKE_CXX_COMPILER:[A-Z]*=" "" compiler "${compiler_line}")
foreach(step
    "${CMAKE_COMMAND};-S;${CONSUMER_DIR};-B;${WORK_DIR}/build;-G;${GENERATOR};-DCMAKE_PREFIX_PATH=${WORK_DIR}/prefix;-DCMAKE_CXX_COMPILER=${compiler};-DCMAKE_CXX_FLAGS=${flags}"
    "${CMAKE_COMMAND};--build;${WORK_DIR}/build"
    "${WORK_DIR}/build/consumer")
  execute_process(COMMAND ${step} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(rc)
    message(FATAL_ERROR "step failed (${rc}): ${step}\n${out}\n${err}")
  endif()
endforeach()
message(STATUS "consumer said: ${out}")
