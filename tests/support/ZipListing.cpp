#include "ZipListing.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>

namespace corvane::test {
namespace {

constexpr int kTimeoutMs = 60000;

const char *kScript = R"(
import base64, datetime, json, sys, zipfile
with zipfile.ZipFile(sys.argv[1]) as package:
    print(json.dumps([{
        'name': entry.filename,
        'directory': entry.is_dir(),
        'bytes': base64.b64encode(package.read(entry)).decode(),
        'flags': entry.flag_bits,
        'time': datetime.datetime(*entry.date_time).isoformat(),
    } for entry in package.infolist()]))
)";

/// The program's output; a failure is described in error.
QByteArray run(const QString &program, const QStringList &arguments, QString &error)
{
    QProcess process;
    process.start(program, arguments);
    const bool ended = process.waitForFinished(kTimeoutMs);
    const QByteArray output = process.readAllStandardOutput();
    if (!ended || process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
        error = QString("%1: %2 %3%4")
                    .arg(program, process.errorString(), QString(output),
                         QString(process.readAllStandardError()));
    return output;
}

} // namespace

ZipListing::ZipListing(const QString &path)
{
    readWithPython(path);
    if (m_error.isEmpty())
        testWithUnzip(path);
}

QStringList ZipListing::names() const
{
    QStringList names;
    for (const ZipEntry &entry : m_entries)
        names << entry.name;
    return names;
}

QByteArray ZipListing::bytes(const QString &name) const
{
    if (names().count(name) > 1)
        return "(several entries)";
    const int index = names().indexOf(name);
    return index < 0 ? QByteArray("(no entry)") : m_entries[index].bytes;
}

void ZipListing::readWithPython(const QString &path)
{
    const QByteArray output = run("python3", {"-c", kScript, path}, m_error);
    const QJsonArray entries = QJsonDocument::fromJson(output).array();
    for (const QJsonValue &value : entries) {
        const QJsonObject entry = value.toObject();
        m_entries.append({entry["name"].toString(), entry["directory"].toBool(),
                          QByteArray::fromBase64(entry["bytes"].toString().toLatin1()),
                          entry["flags"].toInt(),
                          QDateTime::fromString(entry["time"].toString(), Qt::ISODate)});
    }
}

void ZipListing::testWithUnzip(const QString &path)
{
    run("unzip", {"-tqq", path}, m_error);
}

} // namespace corvane::test
