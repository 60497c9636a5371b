// CFileHandler's lookups (getHandlerForFilter, getHandlerForFile and the others) on a
// registry and on queries both taken from the input.
//
// Input: UTF-8 text, one item a line. Every line but the last defines a handler:
//   "name\tsuffixes"   a single handler (suffixes separated by single blanks)
//   "+name" / "*name"  opens a group listed with its members / listed alone; the
//                      handlers up to a line "-" are its members (groups nest)
// The last line is the query, asked as a filter entry, a file name, a suffix and a name.
//
// Invariants: whatever a lookup returns is a handler of the registry that answers the
// question asked (handles the suffix, carries the name); exec() runs exactly the handler
// that getHandlerForFile() returned; a handler with plain suffixes is found again from its
// own filter entry.
#include "fuzztarget.h"

#include <libutility/files/filehandler.h>

#include <QRegularExpression>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QVector>

#include <algorithm>
#include <memory>

namespace {

constexpr int cMaxHandlers = 64;

struct Registry
{
    QVector<CFileHandler *> list;
    QSet<const CFileHandler *> all; // every handler, group members included
    QVector<CFileHandlerSingle *> singles;
    const CFileHandler *lastRun = nullptr;

    ~Registry() { CFileHandler::destroy(list); }
};

void build(Registry &registry, const QStringList &lines)
{
    QVector<CFileHandlerGroup *> open;
    auto add = [&](CFileHandler *handler) {
        registry.all.insert(handler);
        if (open.isEmpty())
            registry.list.append(handler);
        else
            open.last()->m_handlers.append(handler);
    };
    for (const QString &line : lines) {
        if (registry.all.size() >= cMaxHandlers)
            break;
        if (line == QLatin1String("-")) {
            if (!open.isEmpty())
                open.removeLast();
        } else if (line.startsWith('+') || line.startsWith('*')) {
            auto *group = new CFileHandlerGroup(line.mid(1),
                line.startsWith('+') ? CFileHandler::eGroupAndMembers : CFileHandler::eGroupOnly,
                nullptr);
            add(group);
            open.append(group);
        } else {
            const int tab = line.indexOf('\t');
            // The functor records which handler ran, for the exec() invariant.
            auto self = std::make_shared<const CFileHandler *>(nullptr);
            auto *single
                = new CFileHandlerSingle(line.left(tab), tab < 0 ? QString() : line.mid(tab + 1),
                    makeFileFunctor([&registry, self](const QString &) {
                        registry.lastRun = *self;
                        return true;
                    }),
                    (registry.all.size() % 2) ? "FileHandlerFuzz" : nullptr);
            *self = single;
            add(single);
            registry.singles.append(single);
        }
    }
}

int fuzzFileHandler(const uint8_t *data, size_t size)
{
    QStringList lines
        = QString::fromUtf8(reinterpret_cast<const char *>(data), static_cast<int>(size))
              .split('\n');
    const QString query = lines.takeLast();
    Registry registry;
    build(registry, lines);
    const QVector<CFileHandler *> &list = registry.list;

    FUZZ_CHECK(CFileHandler::filtersToString(list).isEmpty() == list.isEmpty());

    if (CFileHandler *h = CFileHandler::getHandlerForFilter(list, query))
        FUZZ_CHECK(registry.all.contains(h));
    CFileHandler *forFile = CFileHandler::getHandlerForFile(list, query);
    if (forFile) {
        FUZZ_CHECK(registry.all.contains(forFile));
        const QString suffix = QLatin1Char('.') + query.split('.').last();
        FUZZ_CHECK(forFile->handlesSuffix(suffix) == forFile);
    }
    registry.lastRun = nullptr;
    FUZZ_CHECK(CFileHandler::exec(list, query) == (forFile != nullptr));
    FUZZ_CHECK(registry.lastRun == forFile);
    if (CFileHandler *h = CFileHandler::getHandlerForSuffix(list, query)) {
        FUZZ_CHECK(registry.all.contains(h));
        FUZZ_CHECK(h->handlesSuffix(query) == h);
    }
    if (CFileHandler *h = CFileHandler::getHandlerByName(list, query)) {
        FUZZ_CHECK(registry.all.contains(h));
        FUZZ_CHECK(h->getHandlerByName(query) == h);
    }

    // A handler whose suffixes are all plain ".ext" is found from its own filter entry
    // (by the first handler in the list with that suffix).
    static const QRegularExpression plain(QStringLiteral("\\A\\.[A-Za-z0-9]+\\z"));
    for (CFileHandlerSingle *single : registry.singles) {
        const QStringList suffixes = single->getSuffixes();
        const bool allPlain = !suffixes.isEmpty()
            && std::all_of(suffixes.begin(), suffixes.end(),
                [](const QString &suffix) { return plain.match(suffix).hasMatch(); });
        if (!allPlain)
            continue;
        CFileHandler *found = CFileHandler::getHandlerForFilter(list, single->getFilter());
        FUZZ_CHECK(found == CFileHandler::getHandlerForSuffix(list, suffixes.first()));
    }
    for (CFileHandler *handler : list) {
        if (handler)
            handler->getSuffix();
    }
    return 0;
}

} // namespace

UTILITY_FUZZ_TARGET("file_handler", fuzzFileHandler);
