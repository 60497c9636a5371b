# Instrumentation for the fuzz build (LIBUTILITY_BUILD_FUZZERS=ON, clang only): the
# library and everything else get libFuzzer's coverage hooks and ASan + UBSan; the fuzzer
# binaries add libFuzzer's main at link time (see fuzz/CMakeLists.txt).
if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  message(FATAL_ERROR "LIBUTILITY_BUILD_FUZZERS needs clang: configure with CC=clang CXX=clang++")
endif()
set(LIBUTILITY_FUZZ_SANITIZERS address,undefined)
add_compile_options(-fsanitize=fuzzer-no-link,${LIBUTILITY_FUZZ_SANITIZERS}
                    -fno-sanitize-recover=undefined -fno-omit-frame-pointer -gline-tables-only)
add_link_options(-fsanitize=${LIBUTILITY_FUZZ_SANITIZERS})
