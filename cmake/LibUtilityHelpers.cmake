# Shared CMake functions: every subsystem, test suite and benchmark registers itself
# through these, so that no folder repeats the wiring.

set(LIBUTILITY_WARNINGS -Wall -Wextra -Wpedantic -Wno-deprecated-declarations)

# utility_add_subsystem(<name> [TARGET <target>] SOURCES ... PUBLIC_HEADERS ...)
# Adds the sources to the target (default: utility), installs the public headers as
# <libutility/<name>/<header>> and lists them in the umbrella header.
function(utility_add_subsystem name)
  cmake_parse_arguments(ARG "" "TARGET" "SOURCES;PUBLIC_HEADERS" ${ARGN})
  if(NOT ARG_TARGET)
    set(ARG_TARGET utility)
  endif()
  target_sources(${ARG_TARGET} PRIVATE ${ARG_SOURCES} ${ARG_PUBLIC_HEADERS})
  foreach(header IN LISTS ARG_PUBLIC_HEADERS)
    get_filename_component(file_name ${header} NAME)
    set_property(GLOBAL APPEND PROPERTY LIBUTILITY_PUBLIC_HEADERS libutility/${name}/${file_name})
  endforeach()
  install(FILES ${ARG_PUBLIC_HEADERS}
          DESTINATION ${LIBUTILITY_INSTALL_INCLUDEDIR}/libutility/${name} COMPONENT dev)
endfunction()

# The umbrella header includes every public header of the subsystems built.
function(utility_write_umbrella_header)
  get_property(headers GLOBAL PROPERTY LIBUTILITY_PUBLIC_HEADERS)
  set(body "")
  foreach(header IN LISTS headers)
    string(APPEND body "#include <${header}>\n")
  endforeach()
  configure_file(${CMAKE_SOURCE_DIR}/cmake/libutility.h.in
                 ${LIBUTILITY_GENERATED_DIR}/libutility/libutility.h @ONLY)
  install(FILES ${LIBUTILITY_GENERATED_DIR}/libutility/libutility.h
                ${LIBUTILITY_GENERATED_DIR}/libutility/utility_export.h
                ${LIBUTILITY_GENERATED_DIR}/libutility/version.h
          DESTINATION ${LIBUTILITY_INSTALL_INCLUDEDIR}/libutility COMPONENT dev)
endfunction()

# utility_add_test_suite(<subsystem> SOURCES ... [DISPLAY] [LIBRARIES ...])
# One GoogleTest executable per subsystem (test_<subsystem>), each test case a CTest
# test. DISPLAY suites run on the xcb platform; the test command provides the X server.
function(utility_add_test_suite name)
  cmake_parse_arguments(ARG "DISPLAY" "" "SOURCES;LIBRARIES" ${ARGN})
  set(target test_${name})
  add_executable(${target} ${ARG_SOURCES})
  target_link_libraries(${target} PRIVATE utility_test_support ${ARG_LIBRARIES})
  target_compile_options(${target} PRIVATE ${LIBUTILITY_WARNINGS})
  target_compile_definitions(${target} PRIVATE
    LIBUTILITY_TEST_DATA_DIR="${CMAKE_SOURCE_DIR}/tests/data/${name}"
    LIBUTILITY_SHARED_DATA_DIR="${CMAKE_SOURCE_DIR}/../shared/data")
  # One label only: gtest_discover_tests splits list-valued properties.
  set(labels ${name})
  if(ARG_DISPLAY)
    # One X server and window manager serve every display test: run them one at a time.
    set(environment QT_QPA_PLATFORM=xcb)
    set(lock RESOURCE_LOCK x11display)
  else()
    set(environment QT_QPA_PLATFORM=offscreen)
    set(lock)
  endif()
  gtest_discover_tests(${target}
    DISCOVERY_MODE PRE_TEST
    DISCOVERY_TIMEOUT 60
    PROPERTIES LABELS "${labels}" ENVIRONMENT "${environment}" TIMEOUT 300 ${lock})
endfunction()

# utility_add_benchmark(<subsystem> <topic> [LIBRARIES ...]): bench/<subsystem>/<topic>_bench.cpp
function(utility_add_benchmark name topic)
  cmake_parse_arguments(ARG "" "" "LIBRARIES" ${ARGN})
  set(target bench_${name}_${topic})
  add_executable(${target} ${topic}_bench.cpp)
  target_link_libraries(${target} PRIVATE utility benchmark::benchmark ${ARG_LIBRARIES})
  target_compile_options(${target} PRIVATE ${LIBUTILITY_WARNINGS})
  target_compile_definitions(${target} PRIVATE
    LIBUTILITY_SHARED_DATA_DIR="${CMAKE_SOURCE_DIR}/../shared/data")
  set_property(GLOBAL APPEND PROPERTY LIBUTILITY_BENCHMARKS ${target})
endfunction()

# utility_use_inkcheck(<target>): compiles in the check of ink files made before
# CScribble::readFrom sees them (tools/common/inkcheck.*, standard library only). Every
# program that reads ink files from outside uses it: the tools, their tests, the fuzzers.
function(utility_use_inkcheck target)
  target_sources(${target} PRIVATE ${CMAKE_SOURCE_DIR}/tools/common/inkcheck.cpp)
  target_include_directories(${target} PRIVATE ${CMAKE_SOURCE_DIR}/tools/common)
endfunction()
