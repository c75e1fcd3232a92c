#include "SettingsFile_p.h"

#include <QDir>
#include <QStandardPaths>
#include <QTextStream>

#include <cerrno>

namespace corvane {

namespace {

/// False when a write makes no progress; the file knows why.
bool writeAll(QFile &file, const QByteArray &bytes)
{
    qint64 written = 0;
    while (written < bytes.size()) {
        const qint64 count = file.write(bytes.constData() + written, bytes.size() - written);
        if (count <= 0)
            return false;
        written += count;
    }
    return true;
}

QString layoutFolder()
{
    // Not to be corrected: this is where hosts look.
    return QStandardPaths::writableLocation(QStandardPaths::DataLocation)
        + QLatin1String("/controler_config/");
}

} // namespace

bool holdsNul(const QString &path)
{
    return path.contains(QChar::Null);
}

QString openError(const QFile &file)
{
    return holdsNul(file.fileName()) ? qt_error_string(EINVAL) : file.errorString();
}

std::optional<QString> rewriteFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    if (holdsNul(path))
        return openError(file);
    QFile::remove(path);
    // Unbuffered, so that each error shows at the write that meets it. Truncated for the file that
    // may be written but not removed: the end of a longer old document must not stay behind.
    if (!file.open(QIODevice::ReadWrite | QIODevice::Truncate | QIODevice::Unbuffered))
        return file.errorString();
    if (!writeAll(file, bytes))
        return file.errorString();
    file.close();
    if (file.error() != QFileDevice::NoError)
        return file.errorString();
    return std::nullopt;
}

void writeLayoutFile(const QString &controller, const QByteArray &bytes)
{
    const QString folder = layoutFolder();
    const QDir directory(folder);
    if (!directory.exists())
        directory.mkpath(QStringLiteral("."));
    QString name = controller;
    QFile file(folder + name.replace(u':', u'_') + QLatin1String(".json"));
    if (holdsNul(name) || !file.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Text))
        return;
    QTextStream stream(&file);
    stream.setCodec("utf-8");
    stream << bytes;
}

} // namespace corvane
