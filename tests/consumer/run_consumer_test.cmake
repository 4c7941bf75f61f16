# Builds a project outside the library's build and runs its program utf_consumer, in one of two
# ways. Called by CTest with -DSOURCE_DIR=<the outside project> -DWORK_DIR=<scratch folder>
# -DCXX_COMPILER=... -DCXX_FLAGS=... -DLINKER_FLAGS=... -DGENERATOR=... and either
#   -DBUILD_DIR=<library build tree>: install the library into a fresh prefix and let the project
#    find it there (find_package), or
#   -DUTF_SOURCE_DIR=<library source tree>: the project builds the library itself
#    (add_subdirectory).

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

if(DEFINED BUILD_DIR)
  run_step("install into a fresh prefix" "${CMAKE_COMMAND}" --install "${BUILD_DIR}" --prefix "${prefix}")
  if(NOT EXISTS "${prefix}/include/utf/utf.h")
    message(FATAL_ERROR "utf.h was not installed")
  endif()
  set(where "-DCMAKE_PREFIX_PATH=${prefix}")
else()
  set(where "-DUTF_SOURCE_DIR=${UTF_SOURCE_DIR}")
endif()

run_step("configure the consumer" "${CMAKE_COMMAND}" -S "${SOURCE_DIR}" -B "${consumer_build}"
  -G "${GENERATOR}"
  "${where}"
  "-DCMAKE_CXX_COMPILER=${CXX_COMPILER}"
  "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}"
  "-DCMAKE_EXE_LINKER_FLAGS=${LINKER_FLAGS}"
  "-DCMAKE_SHARED_LINKER_FLAGS=${LINKER_FLAGS}")
run_step("build the consumer" "${CMAKE_COMMAND}" --build "${consumer_build}")
run_step("run the consumer" "${consumer_build}/utf_consumer")
message(STATUS "${step_output}")
if(DEFINED EXPECT_BATCH AND NOT EXISTS "${consumer_build}/utf_batch_consumer")
  message(FATAL_ERROR "the package has no utf::batch")
endif()
if(EXISTS "${consumer_build}/utf_batch_consumer")
  run_step("run the batch consumer" "${consumer_build}/utf_batch_consumer")
  message(STATUS "${step_output}")
endif()
