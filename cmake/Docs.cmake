# API reference: `cmake --build <dir> --target docs` (./dev.sh docs) renders the public
# headers of the subsystems built with Doxygen into <dir>/docs/html, the README as the
# main page and one module per subsystem. Doxygen's warnings (an undocumented public
# class, function, constant, parameter or return value, a broken reference) go to
# <dir>/docs/warnings.log; the test Packaging.DocsHaveNoWarnings fails on any.
find_program(DOXYGEN_EXECUTABLE doxygen)
if(NOT DOXYGEN_EXECUTABLE)
  message(STATUS "doxygen not found: no docs target")
  return()
endif()
set(LIBUTILITY_DOCS_DIR ${CMAKE_BINARY_DIR}/docs)
get_property(public_headers GLOBAL PROPERTY LIBUTILITY_PUBLIC_HEADERS)
set(LIBUTILITY_DOCS_HEADERS ${LIBUTILITY_GENERATED_DIR}/libutility/version.h)
foreach(header IN LISTS public_headers)
  string(REGEX REPLACE "^libutility/" "${CMAKE_SOURCE_DIR}/src/" header ${header})
  list(APPEND LIBUTILITY_DOCS_HEADERS ${header})
endforeach()
list(JOIN LIBUTILITY_DOCS_HEADERS " \\\n                         " LIBUTILITY_DOCS_HEADERS)
configure_file(${CMAKE_SOURCE_DIR}/docs/Doxyfile.in ${LIBUTILITY_DOCS_DIR}/Doxyfile @ONLY)
add_custom_target(docs
  COMMAND ${CMAKE_COMMAND} -E rm -rf ${LIBUTILITY_DOCS_DIR}/html
  COMMAND ${DOXYGEN_EXECUTABLE} ${LIBUTILITY_DOCS_DIR}/Doxyfile
  WORKING_DIRECTORY ${LIBUTILITY_DOCS_DIR}
  COMMENT "API reference into ${LIBUTILITY_DOCS_DIR}/html" VERBATIM)
