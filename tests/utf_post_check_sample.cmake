# Runs make_hole_sample and compares what it writes with the shipped table:
# cmake -DGENERATOR=PROGRAM -DSHIPPED=CSV -DGENERATED=CSV -P utf_post_check_sample.cmake
execute_process(COMMAND "${GENERATOR}" "${GENERATED}" RESULT_VARIABLE result)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "make_hole_sample failed: ${result}")
endif()
execute_process(COMMAND "${CMAKE_COMMAND}" -E compare_files "${SHIPPED}" "${GENERATED}"
  RESULT_VARIABLE different)
if(NOT different EQUAL 0)
  message(FATAL_ERROR "${SHIPPED} is not the generator's output (${GENERATED})")
endif()
message(STATUS "the shipped sample is the generator's output")
