#include "FeedbackPackage_p.h"

#include <QDir>
#include <QFileInfo>
#include <QStringList>

#include <private/qzipwriter_p.h>

namespace corvane {
namespace {

/// Places in a zip file have 32 bits, and Qt's writer starts anew at 0 beyond them.
constexpr qint64 kMostZipBytes = 0xffffffff;

class Packer {
public:
    Packer(QZipWriter &zip, const QString &baseDir)
        : m_zip(zip)
        , m_baseDir(baseDir)
    {
    }

    void add(const QString &path)
    {
        const QFileInfo entry(path);
        if (entry.isFile())
            addFile(path);
        else if (entry.isDir())
            addFolder(path);
    }

private:
    void addFile(const QString &path)
    {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            return;
        const QByteArray bytes = file.readAll();
        // Nothing comes from a file too big for memory, or on a disk that fails.
        if (bytes.isEmpty() && file.size() > 0)
            return;
        m_zip.addFile(path.mid(m_baseDir.length() + 1), bytes);
    }

    void addFolder(const QString &path)
    {
        const QDir folder(path);
        const QString realPath = folder.canonicalPath();
        if (m_openFolders.contains(realPath))
            return;
        m_openFolders.append(realPath);
        const QStringList names = folder.entryList(
            QDir::Dirs | QDir::Files | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Unsorted);
        for (const QString &name : names)
            add(folder.filePath(name));
        m_openFolders.removeLast();
    }

    QZipWriter &m_zip;
    const QString &m_baseDir;
    /// The real paths of the folders that are being packed, outermost first: a link may lead back
    /// to one of them.
    QStringList m_openFolders;
};

} // namespace

PackageFile::PackageFile(const QString &path)
    : QFile(path)
{
}

bool PackageFile::openForWriting()
{
    // Unbuffered, so that each failure shows at the write that meets it.
    return open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Unbuffered);
}

bool PackageFile::isWhole() const
{
    return m_wroteAll && error() == QFileDevice::NoError && size() <= kMostZipBytes;
}

qint64 PackageFile::writeData(const char *bytes, qint64 count)
{
    const qint64 written = QFile::writeData(bytes, count);
    m_wroteAll = m_wroteAll && written == count;
    return written;
}

void packPath(QZipWriter &zip, const QString &baseDir, const QString &path)
{
    Packer(zip, baseDir).add(QDir(baseDir).absoluteFilePath(path));
}

} // namespace corvane
