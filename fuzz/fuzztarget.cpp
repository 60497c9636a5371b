#include "fuzztarget.h"

#include <libutility/logging/logstream.h>

#include <QtGlobal>

#include <cstdio>
#include <cstdlib>

namespace utility_fuzz {

std::vector<Target> &targets()
{
    static std::vector<Target> all;
    return all;
}

Registrar::Registrar(const char *name, EntryPoint entry)
{
    targets().push_back(Target { name, entry });
}

void failCheck(const char *condition, const char *file, int line)
{
    std::fprintf(stderr, "FUZZ_CHECK failed: %s (%s:%d)\n", condition, file, line);
    std::fflush(stderr);
    std::abort();
}

namespace {
void dropMessage(QtMsgType, const QMessageLogContext &, const QString &) { }
} // namespace

void silenceLogging()
{
    basic_logging::logstream<basic_logging::warnlevel>::instance().setCallback(
        [](const QByteArray &) {});
    basic_logging::logstream<basic_logging::tracelevel>::instance().setCallback(
        [](const QByteArray &) {});
    qInstallMessageHandler(dropMessage);
}

} // namespace utility_fuzz
