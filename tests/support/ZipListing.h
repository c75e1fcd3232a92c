#ifndef CORVANE_TESTS_ZIPLISTING_H
#define CORVANE_TESTS_ZIPLISTING_H

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QStringList>
#include <QVector>

namespace corvane::test {

/// An entry of a zip file's directory, with its bytes.
struct ZipEntry {
    QString name;
    bool isDirectory = false;
    QByteArray bytes;
    /// The general purpose bits; see kUtf8Names.
    int flags = 0;
    /// The time of modification, of a resolution of 2 s, without a time zone.
    QDateTime time;
};

/// This bit says that an entry's name is UTF-8; without it readers guess.
constexpr int kUtf8Names = 0x800;

/// A zip file as Python's zipfile and unzip see it.
class ZipListing {
public:
    explicit ZipListing(const QString &path);

    /// What is wrong with the file; empty when both read it to its end and all sums are right.
    QString error() const { return m_error; }
    /// In the order of the file's directory.
    const QVector<ZipEntry> &entries() const { return m_entries; }
    QStringList names() const;
    /// The bytes of the only entry of that name; "(no entry)" or "(several entries)" otherwise.
    QByteArray bytes(const QString &name) const;

private:
    void readWithPython(const QString &path);
    void testWithUnzip(const QString &path);

    QString m_error;
    QVector<ZipEntry> m_entries;
};

} // namespace corvane::test

#endif
