/**
 * \file
 * A scratch directory created under a given parent and removed again when the object
 * is destroyed.
 *
 * Cleaning is deliberately narrow: empty() removes only the files whose names contain
 * a dot (pattern "*.*"), so files without a dot, and subdirectories, survive, and the
 * directory itself then stays on disk. Existing callers rely on leaving such files
 * behind; keep it so.
 */
#ifndef LIBUTILITY_FILES_TEMPDIR_H
#define LIBUTILITY_FILES_TEMPDIR_H

#include <libutility/utility_export.h>

#include <QDir>
#include <QString>

/// A scratch directory that lives as long as the object (see the file comment).
class UTILITY_EXPORT CTempDir
{
public:
    /**
     * Creates the directory `name` inside `parentDir`, or reuses it when it already
     * exists there, and enters it. When neither works (missing parent, no permission,
     * a file of that name) the object is simply not valid.
     * \param parentDir the existing directory to create the scratch directory in
     * \param name the scratch directory's name; an empty name gives an object that is not valid
     */
    CTempDir(const QString &parentDir, const QString &name);

    /** When valid: empty(), then removes the directory if nothing is left in it. */
    ~CTempDir();

    CTempDir(const CTempDir &) = delete;
    CTempDir &operator=(const CTempDir &) = delete;

    /// True when the directory was created (and not removed since).
    /// \return true when the constructor created or entered the directory
    bool isValid() const;

    /**
     * Removes the files (hidden and special files included) whose names contain a dot.
     * Does nothing on an object that is not valid, so it never touches the parent.
     */
    void empty();

    /**
     * Absolute path of the directory; empty when not valid.
     * \return the absolute path, or an empty string
     */
    QString path() const;

private:
    QDir m_dir;
    QString m_parentPath;
    QString m_name;
    bool m_valid;
};

#endif
