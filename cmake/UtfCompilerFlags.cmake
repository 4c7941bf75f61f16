# Compiler settings shared by every target of the project.
#
# Floating point is part of the library's contract: results are specified to the last bit, so a
# fused multiply-add (which rounds once where the source rounds twice) must never be formed, and
# no value-changing optimisation is allowed. These flags are PRIVATE to each target: the
# arithmetic that depends on them lives in the libraries' sources, never in a public header, so a
# caller's own flags cannot change it. The scalar code targets the baseline x86-64 set.

function(utf_apply_compile_options target)
  target_compile_features(${target} PUBLIC cxx_std_17)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic
    -ffp-contract=off
    -fno-fast-math)
  if(UTF_WARNINGS_AS_ERRORS)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
  if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64")
    target_compile_options(${target} PRIVATE -march=x86-64)
  endif()
endfunction()

# A shared library of the project: hidden visibility, explicit exports.
function(utf_add_shared_library target)
  cmake_parse_arguments(ARG "" "" "SOURCES" ${ARGN})
  add_library(${target} SHARED ${ARG_SOURCES})
  add_library(utf::${target} ALIAS ${target})
  utf_apply_compile_options(${target})
  set_target_properties(${target} PROPERTIES
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN OFF
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR})
endfunction()

# A shared library's public headers, and (when the project installs) the library, its headers
# and its place in the package.
function(utf_install_library target include_dir)
  target_include_directories(${target} PUBLIC
    $<BUILD_INTERFACE:${include_dir}>
    $<INSTALL_INTERFACE:${UTF_INSTALL_INCLUDEDIR}>)
  if(NOT UTF_INSTALL)
    return()
  endif()
  install(TARGETS ${target}
    EXPORT utfTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  install(DIRECTORY "${include_dir}/"
    DESTINATION ${UTF_INSTALL_INCLUDEDIR}
    FILES_MATCHING PATTERN "*.h")
endfunction()
