#ifndef LIBCORVANE_FEEDBACKPACKAGE_P_H
#define LIBCORVANE_FEEDBACKPACKAGE_P_H

#include <QFile>
#include <QString>

QT_BEGIN_NAMESPACE
class QZipWriter;
QT_END_NAMESPACE

namespace corvane {

/// The file that a zip writer writes to. Qt's writer takes no notice of a write that fails: the
/// file itself has to.
class PackageFile : public QFile {
public:
    explicit PackageFile(const QString &path);

    bool openForWriting();
    /// Whether all that was written is in the file, and not too much for a zip file; to be asked
    /// once it is closed.
    bool isWhole() const;

protected:
    qint64 writeData(const char *bytes, qint64 count) override;

private:
    bool m_wroteAll = true;
};

/// Adds a file, or all files below a folder, with names relative to baseDir.
void packPath(QZipWriter &zip, const QString &baseDir, const QString &path);

} // namespace corvane

#endif
