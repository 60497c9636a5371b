// A minimal application of the installed library: includes the umbrella header,
// calls into the library and prints what it got.
#include <libutility/libutility.h>

#include <cstdio>

int main()
{
    CLogSystem::theRootInstance().setLevel(QStringLiteral("INFO"));
    std::printf("libutility %s\n", LIBUTILITY_VERSION_STRING);
    std::printf("root log level %s\n", qPrintable(CLogSystem::theRootInstance().getLevel()));
    return 0;
}
