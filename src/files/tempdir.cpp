#include <libutility/files/tempdir.h>

#include <QFile>
#include <QStringList>

CTempDir::CTempDir(const QString &parentDir, const QString &name)
    : m_dir(parentDir)
    , m_parentPath(parentDir)
    , m_name(name)
    , m_valid(false)
{
    if (name.isEmpty())
        return;
    if (m_dir.mkdir(name) || m_dir.exists(name))
        m_valid = m_dir.cd(name);
}

CTempDir::~CTempDir()
{
    if (!m_valid)
        return;
    empty();
    if (m_dir.cd(QStringLiteral("..")))
        m_dir.rmdir(m_name);
}

bool CTempDir::isValid() const { return m_valid; }

void CTempDir::empty()
{
    if (!m_valid)
        return;
    // "*.*" on purpose: names without a dot are kept (see the header).
    const QStringList names = m_dir.entryList(QStringList(QStringLiteral("*.*")),
        QDir::Files | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Unsorted);
    for (const QString &name : names)
        QFile::remove(m_dir.absoluteFilePath(name));
}

QString CTempDir::path() const { return m_valid ? m_dir.absolutePath() : QString(); }
