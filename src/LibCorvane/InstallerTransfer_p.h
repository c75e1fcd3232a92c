#ifndef LIBCORVANE_INSTALLERTRANSFER_P_H
#define LIBCORVANE_INSTALLERTRANSFER_P_H

#include <QByteArray>
#include <QCryptographicHash>
#include <QFile>
#include <QNetworkReply>
#include <QPointer>
#include <QString>

QT_BEGIN_NAMESPACE
class QNetworkAccessManager;
QT_END_NAMESPACE

namespace corvane {

/// An installer on its way from a reply into a file. Both are children of the manager that asked
/// for it, and may go with it at any moment.
class InstallerTransfer {
public:
    explicit InstallerTransfer(QString path);

    /// Makes the file; an older one of that name loses its content. False when that failed.
    bool open(QObject *owner);
    /// Asks for the installer. The file is open; its owner gets the reply as well.
    QNetworkReply *request(QNetworkAccessManager &network, const QString &url);

    bool hasFile() const { return m_file; }
    bool isThere() const { return m_reply && m_file; }
    QNetworkReply *reply() const { return m_reply; }
    QString path() const { return m_path; }

    /// Hashes exactly what was written. False when that is not everything.
    bool append(const QByteArray &bytes);
    /// False when the system has lost what it took before.
    bool close();
    /// Why open(), append() or close() failed.
    QString errorString() const { return m_error; }

    /// The SHA-256 of what was written, in hexadecimal capitals.
    QString digest() const;

    /// Deletes the file's object and the reply later, once the reply has finished.
    void release();
    void removeFile() const;

private:
    QString m_path;
    QPointer<QNetworkReply> m_reply;
    QPointer<QFile> m_file;
    QString m_error;
    QCryptographicHash m_hash{QCryptographicHash::Sha256};
};

} // namespace corvane

#endif
