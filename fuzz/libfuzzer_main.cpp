// The libFuzzer side of a target: one Qt application for the whole run, then every input
// through the single target linked into this binary.
#include "fuzztarget.h"

#include <QApplication>

#include <cstdio>
#include <cstdlib>

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    // Lives as long as the process: libFuzzer never returns from its main loop.
    static QApplication *app = new QApplication(*argc, *argv);
    (void)app;
    utility_fuzz::silenceLogging();
    if (utility_fuzz::targets().size() != 1) {
        std::fprintf(stderr, "a fuzzer binary must link exactly one target\n");
        std::abort();
    }
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    return utility_fuzz::targets().front().entry(data, size);
}
