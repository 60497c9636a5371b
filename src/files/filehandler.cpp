#include <libutility/files/filehandler.h>

#include <libutility/logging/logstream.h>
#include <libutility/logging/trace.h>

#include <QCoreApplication>
#include <QRegularExpression>

namespace {

QString translatedName(const QString &name, const char *context)
{
    if (!context)
        return name;
    const QByteArray source = name.toLatin1();
    return QCoreApplication::translate(context, source.constData());
}

// "Name (*.a *.b)": one "*%1 " per suffix, the whole text trimmed, then ")". The trim
// also drops leading or trailing blanks of the name; an empty suffix gives a lone "*".
QString filterEntry(const QString &name, const QStringList &suffixes)
{
    QString text = name + QLatin1String(" (");
    for (const QString &suffix : suffixes)
        text += QStringLiteral("*%1 ").arg(suffix);
    return text.trimmed() + QLatin1Char(')');
}

} // namespace

// --- CFileHandler -------------------------------------------------------------------

CFileHandler::~CFileHandler() = default;

CFileHandler *CFileHandler::getHandlerByName(
    const QVector<CFileHandler *> &list, const QString &name)
{
    TRACE_FUNCTION("filehandler", "getHandlerByName");
    for (CFileHandler *handler : list) {
        if (!handler)
            continue;
        if (CFileHandler *found = handler->getHandlerByName(name))
            return TRACE_RETURN(found);
    }
    return TRACE_RETURN(nullptr);
}

CFileHandler *CFileHandler::getHandlerForSuffix(
    const QVector<CFileHandler *> &list, const QString &suffix)
{
    TRACE_FUNCTION("filehandler", "getHandlerForSuffix");
    for (CFileHandler *handler : list) {
        if (!handler)
            continue;
        if (CFileHandler *found = handler->handlesSuffix(suffix))
            return TRACE_RETURN(found);
    }
    return TRACE_RETURN(nullptr);
}

CFileHandler *CFileHandler::getHandlerForFilter(
    const QVector<CFileHandler *> &list, const QString &filter)
{
    TRACE_FUNCTION("filehandler", "getHandlerForFilter");
    const int open = filter.lastIndexOf(QLatin1Char('(')) + 1;
    const int close = filter.lastIndexOf(QLatin1Char(')'));
    QString patterns = close >= open ? filter.mid(open, close - open) : filter.mid(open);
    patterns.remove(QLatin1Char('*'));
    // Empty parts are kept, as the dialog strings we build never start with a blank.
    const QStringList parts = patterns.split(QRegularExpression(QStringLiteral("\\s+")));
    if (parts.size() > 1) {
        basic_logging::warning() << "More than one filter present. There are actually: "
                                 << parts.size() << basic_logging::LoggerEndline;
    }
    return TRACE_RETURN(getHandlerForSuffix(list, parts.first()));
}

CFileHandler *CFileHandler::getHandlerForFile(
    const QVector<CFileHandler *> &list, const QString &fileName)
{
    TRACE_FUNCTION("filehandler", "getHandlerForFile");
    const QStringList parts = fileName.split(QLatin1Char('.'));
    if (parts.size() < 2) {
        basic_logging::warning() << "Cannot identify file extension from: " << fileName
                                 << basic_logging::LoggerEndline;
        return TRACE_RETURN(nullptr);
    }
    return TRACE_RETURN(getHandlerForSuffix(list, QLatin1Char('.') + parts.last()));
}

bool CFileHandler::exec(const QVector<CFileHandler *> &list, const QString &fileName)
{
    TRACE_FUNCTION("filehandler", "exec");
    CFileHandler *handler = getHandlerForFile(list, fileName);
    if (!handler)
        return TRACE_RETURN(false);
    return TRACE_RETURN(handler->exec(fileName));
}

QString CFileHandler::filtersToString(const QVector<CFileHandler *> &list)
{
    TRACE_FUNCTION("filehandler", "filtersToString");
    QString text;
    for (CFileHandler *handler : list) {
        if (!handler)
            continue;
        text += handler->getFilter();
        text += QLatin1String(";;");
    }
    if (text.endsWith(QLatin1String(";;")))
        text.chop(2);
    return TRACE_RETURN(text);
}

void CFileHandler::destroy(QVector<CFileHandler *> &list)
{
    TRACE_FUNCTION("filehandler", "destroy");
    for (CFileHandler *handler : list)
        delete handler;
    list.clear();
    TRACE_EXIT();
}

// --- CFileHandlerSingle -------------------------------------------------------------

CFileHandlerSingle::CFileHandlerSingle(QString name, QString suffixes,
    IFunctorP1R<const QString &, bool> *functor, const char *context)
    : m_name(std::move(name))
    , m_suffixes(suffixes.split(QLatin1Char(' '), Qt::KeepEmptyParts, Qt::CaseSensitive))
    , m_functor(functor)
    , m_context(context)
{ }

CFileHandlerSingle::~CFileHandlerSingle() { delete m_functor; }

CFileHandler *CFileHandlerSingle::handlesSuffix(const QString &suffix)
{
    TRACE_FUNCTION("filehandler", "handlesSuffix");
    for (const QString &own : qAsConst(m_suffixes)) {
        if (own.compare(suffix, Qt::CaseInsensitive) == 0)
            return TRACE_RETURN(this);
    }
    return TRACE_RETURN(nullptr);
}

CFileHandler *CFileHandlerSingle::getHandlerByName(const QString &name)
{
    TRACE_FUNCTION("filehandler", "getHandlerByName");
    if (m_name.compare(name, Qt::CaseInsensitive) == 0)
        return TRACE_RETURN(this);
    return TRACE_RETURN(nullptr);
}

QString CFileHandlerSingle::getFilter()
{
    TRACE_FUNCTION("filehandler", "getFilter");
    m_filter = filterEntry(translatedName(m_name, m_context), m_suffixes);
    return TRACE_RETURN(m_filter);
}

QStringList CFileHandlerSingle::getSuffixes() const { return m_suffixes; }

QString CFileHandlerSingle::getSuffix()
{
    TRACE_FUNCTION("filehandler", "getSuffix");
    return TRACE_RETURN(m_suffixes.join(QString()));
}

bool CFileHandlerSingle::exec(const QString &fileName) const
{
    TRACE_FUNCTION("filehandler", "exec");
    if (!m_functor)
        return TRACE_RETURN(false);
    return TRACE_RETURN((*m_functor)(fileName));
}

// --- CFileHandlerGroup --------------------------------------------------------------

CFileHandlerGroup::CFileHandlerGroup(
    const QString &name, CFileHandler::EGroupListingMethod method, const char *context)
    : m_name(name)
    , m_method(method)
    , m_context(context)
{ }

CFileHandlerGroup::~CFileHandlerGroup()
{
    for (CFileHandler *handler : qAsConst(m_handlers))
        delete handler;
}

void CFileHandlerGroup::addHandler(CFileHandler *handler)
{
    if (handler)
        m_handlers.append(handler);
}

CFileHandler *CFileHandlerGroup::handlesSuffix(const QString &suffix)
{
    TRACE_FUNCTION("filehandler", "handlesSuffix");
    return TRACE_RETURN(CFileHandler::getHandlerForSuffix(m_handlers, suffix));
}

CFileHandler *CFileHandlerGroup::getHandlerByName(const QString &name)
{
    TRACE_FUNCTION("filehandler", "getHandlerByName");
    return TRACE_RETURN(CFileHandler::getHandlerByName(m_handlers, name));
}

QString CFileHandlerGroup::getFilter()
{
    TRACE_FUNCTION("filehandler", "getFilter");
    m_filter = filterEntry(translatedName(m_name, m_context), getSuffixes());
    if (m_method == eGroupAndMembers)
        m_filter += QLatin1String(";;") + filtersToString(m_handlers);
    return TRACE_RETURN(m_filter);
}

QStringList CFileHandlerGroup::getSuffixes() const
{
    TRACE_FUNCTION("filehandler", "getSuffixes");
    QStringList suffixes;
    for (const CFileHandler *handler : m_handlers) {
        if (handler)
            suffixes += handler->getSuffixes();
    }
    return TRACE_RETURN(suffixes);
}

QString CFileHandlerGroup::getSuffix() { return QString(); }

bool CFileHandlerGroup::exec(const QString &fileName) const
{
    TRACE_FUNCTION("filehandler", "exec");
    // Unlike CFileHandler::exec, a name without a dot is tried as a suffix of its own.
    const QString suffix = QStringLiteral(".%1").arg(fileName.split(QLatin1Char('.')).last());
    for (CFileHandler *handler : m_handlers) {
        if (!handler)
            continue;
        if (CFileHandler *found = handler->handlesSuffix(suffix))
            return TRACE_RETURN(found->exec(fileName));
    }
    return TRACE_RETURN(false);
}
