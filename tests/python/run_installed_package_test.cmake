# Installs the build into a fresh prefix and imports the Python package from there, with nothing
# of the build tree on the path: the installed extension must find the installed libraries by
# itself.
file(REMOVE_RECURSE "${PREFIX}")
execute_process(COMMAND "${CMAKE_COMMAND}" --install "${BUILD_DIR}" --prefix "${PREFIX}"
  RESULT_VARIABLE status OUTPUT_QUIET)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "cmake --install failed: ${status}")
endif()
set(script [=[
import sys, numpy as np, utf
assert utf.__file__.startswith(sys.argv[1]), utf.__file__
assert utf.mises(np.array([100.0, 0, 0, 0, 0, 0])) == 100.0
print("installed utf imported from", utf.__file__, "on", utf.simd_target())
]=])
execute_process(
  COMMAND "${CMAKE_COMMAND}" -E env --unset=PYTHONPATH "PYTHONPATH=${PREFIX}/${PACKAGE_DIR}"
          "${PYTHON}" -c "${script}" "${PREFIX}/${PACKAGE_DIR}/utf"
  WORKING_DIRECTORY "${PREFIX}"
  RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "importing the installed package failed: ${status}")
endif()
