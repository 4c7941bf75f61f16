# Installs the library into a fresh prefix, builds the consumer project against that prefix with
# find_package(utf), and runs it. Called by CTest with:
#   -DBUILD_DIR=<library build tree> -DSOURCE_DIR=<this folder> -DWORK_DIR=<scratch folder>
#   -DCXX_COMPILER=... -DCXX_FLAGS=... -DLINKER_FLAGS=... -DGENERATOR=...

set(prefix "${WORK_DIR}/prefix")
set(consumer_build "${WORK_DIR}/build")
file(REMOVE_RECURSE "${WORK_DIR}")

function(run_step description)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${description} failed (${result}):\n${output}")
  endif()
  message(STATUS "${description}: ok")
  set(step_output "${output}" PARENT_SCOPE)
endfunction()

run_step("install into a fresh prefix" "${CMAKE_COMMAND}" --install "${BUILD_DIR}" --prefix "${prefix}")
if(NOT EXISTS "${prefix}/include/utf/utf.h")
  message(FATAL_ERROR "utf.h was not installed")
endif()

run_step("configure the consumer" "${CMAKE_COMMAND}" -S "${SOURCE_DIR}" -B "${consumer_build}"
  -G "${GENERATOR}"
  "-DCMAKE_PREFIX_PATH=${prefix}"
  "-DCMAKE_CXX_COMPILER=${CXX_COMPILER}"
  "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}"
  "-DCMAKE_EXE_LINKER_FLAGS=${LINKER_FLAGS}")
run_step("build the consumer" "${CMAKE_COMMAND}" --build "${consumer_build}")
run_step("run the consumer" "${consumer_build}/utf_consumer")
message(STATUS "${step_output}")
