/*
 * The fuzz targets' common frame.
 *
 * Each target is one entry point taking arbitrary bytes, registered under its name with
 * UTILITY_FUZZ_TARGET. The same sources build two ways:
 *   - into a libFuzzer binary fuzz_<name> (libfuzzer_main.cpp calls the one target
 *     registered), and
 *   - into the test suite test_fuzz, which replays every committed corpus and regression
 *     input through every target in the normal and the sanitizer build.
 *
 * A target returns 0 for every input it could handle, accepted or refused by the library
 * alike. Broken invariants (something escaped the extraction directory, a value that
 * does not read back as written, ...) end the process through FUZZ_CHECK, so that both
 * libFuzzer and the tests report them as crashes with the input that caused them.
 *
 * Targets expect a Qt application object (QApplication, offscreen platform) to exist.
 */
#ifndef LIBUTILITY_FUZZ_FUZZTARGET_H
#define LIBUTILITY_FUZZ_FUZZTARGET_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace utility_fuzz {

using EntryPoint = int (*)(const uint8_t *data, size_t size);

struct Target
{
    const char *name;
    EntryPoint entry;
};

/// Every target linked into this program, in registration order.
std::vector<Target> &targets();

struct Registrar
{
    Registrar(const char *name, EntryPoint entry);
};

/// Prints what failed and aborts (a crash for libFuzzer, a failed test for CTest).
[[noreturn]] void failCheck(const char *condition, const char *file, int line);

/// Sends the library's warning and trace streams and Qt's messages nowhere: bad input
/// makes the library warn on every other call, which would drown the fuzzer's output.
void silenceLogging();

} // namespace utility_fuzz

#define FUZZ_CHECK(condition)                                                                      \
    do {                                                                                           \
        if (!(condition))                                                                          \
            ::utility_fuzz::failCheck(#condition, __FILE__, __LINE__);                             \
    } while (false)

#define UTILITY_FUZZ_TARGET(name, function)                                                        \
    static const ::utility_fuzz::Registrar fuzzRegistrar_##function(name, function)

#endif
