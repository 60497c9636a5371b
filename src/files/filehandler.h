/**
 * \file
 * A registry of file handlers chosen by suffix, file name or file-dialog filter.
 *
 * A caller builds a plain QVector<CFileHandler*> of handlers (single file types, or
 * named groups of handlers) and owns that list; the static operations of CFileHandler
 * work on it. Ownership runs downwards: a group deletes its members, a single handler
 * deletes its functor, and CFileHandler::destroy deletes the handlers of a list.
 *
 * Filter strings are Qt file-dialog filter lists: "Description (*.a *.b)" entries
 * joined by ";;". A handler with an empty suffix (two blanks in a row in its suffix
 * string) shows as a lone "*" pattern.
 *
 * The class layouts (member order, virtual slot order) are part of the binary
 * interface: add nothing in between.
 */
#ifndef LIBUTILITY_FILES_FILEHANDLER_H
#define LIBUTILITY_FILES_FILEHANDLER_H

#include <libutility/utility_export.h>

#include <QString>
#include <QStringList>
#include <QVector>

#include <utility>

/** Interface of one call taking P and returning R. */
template <class P, class R> class IFunctorP1R
{
public:
    /// Makes the call.
    /// \return the call's result
    virtual R operator()(P) = 0;
    virtual ~IFunctorP1R() { }
};

/**
 * Wraps any callable (lambda, function pointer, std::function) behind IFunctorP1R.
 * Use makeFileFunctor() to build the functor a CFileHandlerSingle takes.
 */
template <class P, class R, class F> class CCallableFunctor : public IFunctorP1R<P, R>
{
public:
    /// Keeps a copy of callable (moved in).
    /// \param callable the callable, invoked with one P and returning something convertible to R
    explicit CCallableFunctor(F callable)
        : m_callable(std::move(callable))
    { }
    /// Calls the callable with value and returns its result.
    /// \param value argument passed on to the callable
    /// \return the callable's result
    R operator()(P value) override { return m_callable(value); }

private:
    F m_callable;
};

/**
 * A new functor for a file handler; the handler that receives it owns it.
 * \param callable called with the file name; returns true when the file was handled
 * \return a new functor, owned by the caller until a handler takes it
 */
template <class F> IFunctorP1R<const QString &, bool> *makeFileFunctor(F callable)
{
    return new CCallableFunctor<const QString &, bool, F>(std::move(callable));
}

/// A file handler: one file type (CFileHandlerSingle) or a named group of them
/// (CFileHandlerGroup). The static operations work on a caller's list of handlers.
class UTILITY_EXPORT CFileHandler
{
public:
    /// How a group lists itself in a file-dialog filter.
    enum EGroupListingMethod {
        eGroupAndMembers = 0, ///< the group's entry, then one entry per member
        eGroupOnly = 1 ///< only the group's combined entry
    };

    /**
     * The handler in this subtree that handles the suffix (".png"; any case), or null.
     * \param suffix the suffix with its leading dot
     * \return the handler, owned by its parent or the caller's list; null when none matches
     */
    virtual CFileHandler *handlesSuffix(const QString &suffix) = 0;
    /**
     * The single handler in this subtree with that name (any case), or null.
     * \param name the handler's untranslated name
     * \return the handler, owned by its parent or the caller's list; null when none matches
     */
    virtual CFileHandler *getHandlerByName(const QString &name) = 0;
    /**
     * This handler's file-dialog filter text, rebuilt (and translated) on every call.
     * \return the filter text, one or more entries joined by ";;"
     */
    virtual QString getFilter() = 0;
    /**
     * All suffixes handled, each with its leading dot.
     * \return the suffixes in the order given (members in order for a group)
     */
    virtual QStringList getSuffixes() const = 0;
    /**
     * A single handler's suffixes run together (".jpg.jpeg"); empty for a group.
     * \return the suffixes without separators
     */
    virtual QString getSuffix() = 0;
    /**
     * Performs the action for the file; false when it failed or nothing handles it.
     * \param fileName the file, passed to the action as given
     * \return the action's result
     */
    virtual bool exec(const QString &fileName) const = 0;
    virtual ~CFileHandler();

    /* Static operations on a caller's list; null entries in the list are skipped. */

    /**
     * First handler in the list (groups searched) with that name, or null.
     * \param list the handlers to search, in order
     * \param name the handler's untranslated name
     * \return the handler, still owned where it was; null when none matches
     */
    static CFileHandler *getHandlerByName(const QVector<CFileHandler *> &list, const QString &name);
    /**
     * First handler in the list that handles the suffix (with its dot), or null.
     * \param list the handlers to search, in order
     * \param suffix the suffix with its leading dot; any case
     * \return the handler, still owned where it was; null when none matches
     */
    static CFileHandler *getHandlerForSuffix(
        const QVector<CFileHandler *> &list, const QString &suffix);
    /**
     * The handler for one entry of a filter list as a file dialog returns it
     * ("PNG image (*.png)"). Only the patterns inside the last parentheses count; when
     * there are several, a warning is logged and the first one decides. Text without
     * parentheses is taken as the patterns themselves.
     * \param list the handlers to search, in order
     * \param filter one filter entry, or bare patterns
     * \return the handler, still owned where it was; null when none matches
     */
    static CFileHandler *getHandlerForFilter(
        const QVector<CFileHandler *> &list, const QString &filter);
    /**
     * The handler for a file by its last suffix ("a.tar.gz" looks for ".gz"). A name
     * without a dot logs a warning and gives null.
     * \param list the handlers to search, in order
     * \param fileName the file's name or path; the text after its last dot is the suffix
     * \return the handler, still owned where it was; null when none matches
     */
    static CFileHandler *getHandlerForFile(
        const QVector<CFileHandler *> &list, const QString &fileName);
    /**
     * Runs the handler for the file; false when there is none.
     * \param list the handlers to search, in order
     * \param fileName the file, chosen by its last suffix and passed to the action
     * \return the action's result; false when no handler matches
     */
    static bool exec(const QVector<CFileHandler *> &list, const QString &fileName);
    /**
     * The filter entries of the list joined by ";;"; empty for an empty list.
     * \param list the handlers, in order
     * \return the filter list text
     */
    static QString filtersToString(const QVector<CFileHandler *> &list);
    /**
     * Deletes every handler of the list and empties it.
     * \param list the handlers to delete; empty afterwards
     */
    static void destroy(QVector<CFileHandler *> &list);
};

/** One file type: a description, its suffixes and the action that opens such a file. */
class UTILITY_EXPORT CFileHandlerSingle : public CFileHandler
{
public:
    /**
     * `suffixes` holds the suffixes with their dots, separated by single blanks
     * (".jpg .jpeg"); two blanks in a row give an empty suffix. The handler owns
     * `functor` (may be null: exec then returns false). `context`, when not null, is
     * the translation context of the name: a string literal, never freed.
     * \param name the file type's description, also its name for getHandlerByName
     * \param suffixes the suffixes as described above
     * \param functor the action, or null
     * \param context translation context of name, or null for no translation
     */
    CFileHandlerSingle(QString name, QString suffixes, IFunctorP1R<const QString &, bool> *functor,
        const char *context = nullptr);
    ~CFileHandlerSingle() override;

    CFileHandler *handlesSuffix(const QString &suffix) override;
    CFileHandler *getHandlerByName(const QString &name) override;
    QString getFilter() override;
    QStringList getSuffixes() const override;
    QString getSuffix() override;
    bool exec(const QString &fileName) const override;

private:
    CFileHandlerSingle(const CFileHandlerSingle &) = delete;
    CFileHandlerSingle &operator=(const CFileHandlerSingle &) = delete;

    QString m_name;
    QStringList m_suffixes;
    QString m_filter;
    IFunctorP1R<const QString &, bool> *m_functor;
    const char *m_context;
};

/**
 * A named group of handlers, listed in a filter as one entry for all the members'
 * suffixes (and, with eGroupAndMembers, one entry per member after it).
 */
class UTILITY_EXPORT CFileHandlerGroup : public CFileHandler
{
public:
    /**
     * Starts with no members; `context` as for CFileHandlerSingle.
     * \param name the group's description in the filter
     * \param method how getFilter lists the group
     * \param context translation context of name, or null for no translation
     */
    CFileHandlerGroup(const QString &name, CFileHandler::EGroupListingMethod method,
        const char *context = nullptr);
    /** Deletes the members. */
    ~CFileHandlerGroup() override;

    /**
     * Appends a member; the group takes ownership. A null pointer is ignored.
     * \param handler the new member, or null
     */
    void addHandler(CFileHandler *handler);

    CFileHandler *handlesSuffix(const QString &suffix) override;
    /**
     * Asks the members only: the group's own name is not compared.
     * \param name the handler's untranslated name
     * \return the first member handler with that name, or null
     */
    CFileHandler *getHandlerByName(const QString &name) override;
    QString getFilter() override;
    QStringList getSuffixes() const override;
    QString getSuffix() override;
    /**
     * Runs the first member that handles the file's last suffix.
     * \param fileName the file; a name without a dot is taken whole as the suffix
     * \return the member's result; false when no member handles the suffix
     */
    bool exec(const QString &fileName) const override;

    /** The members, owned by the group; callers may append to it directly. */
    QVector<CFileHandler *> m_handlers;

private:
    CFileHandlerGroup(const CFileHandlerGroup &) = delete;
    CFileHandlerGroup &operator=(const CFileHandlerGroup &) = delete;

    QString m_name;
    QString m_filter;
    CFileHandler::EGroupListingMethod m_method;
    const char *m_context;
};

#endif
