#ifndef CORVANE_TESTS_FEEDBACKROOT_H
#define CORVANE_TESTS_FEEDBACKROOT_H

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

namespace corvane::test {

/// The data root of a test program, which it can only choose once, in a temporary directory.
class FeedbackRoot {
public:
    FeedbackRoot();

    /// As after the first start ever: the store's folders are there and empty, nothing is set.
    void clear() const;
    QString path() const { return m_path; }
    QString path(const QString &name) const { return m_path + '/' + name; }

    /// Writes a file with all folders on its way.
    void write(const QString &name, const QByteArray &bytes) const;
    /// The same with a time of modification, in nanoseconds since 1970.
    void write(const QString &name, const QByteArray &bytes, qint64 time) const;
    void makeFolder(const QString &name) const;
    void link(const QString &name, const QString &destination) const;

private:
    QTemporaryDir m_directory;
    QString m_path;
};

/// Ends the test program when that fails.
void setModificationTime(const QString &path, qint64 nanoseconds);

/// The directories that each package begins with.
QStringList packageDirectories();

/// The pattern, such as "logs/%1.log", with each number from first down to last.
QStringList numbered(const QString &pattern, int first, int last);

} // namespace corvane::test

#endif
