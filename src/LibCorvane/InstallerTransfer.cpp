#include "InstallerTransfer_p.h"

#include "ReplyLifetime_p.h"

#include <QNetworkAccessManager>
#include <QNetworkRequest>
#include <QUrl>

#include <memory>
#include <utility>

namespace corvane {

namespace {

// What Qt may hold of an installer that arrives faster than it is written.
constexpr qint64 kReadBufferBytes = 1 << 20;

} // namespace

InstallerTransfer::InstallerTransfer(QString path)
    : m_path(std::move(path))
{
}

bool InstallerTransfer::open(QObject *owner)
{
    auto file = std::make_unique<QFile>(m_path, owner);
    if (!file->open(QIODevice::WriteOnly | QIODevice::Unbuffered)) {
        m_error = file->errorString();
        return false;
    }
    m_file = file.release();
    return true;
}

QNetworkReply *InstallerTransfer::request(QNetworkAccessManager &network, const QString &url)
{
    m_reply = network.get(QNetworkRequest(QUrl(url)));
    m_reply->setReadBufferSize(kReadBufferBytes); // at once: Qt lends for good what came before
    m_reply->setParent(m_file->parent());
    return m_reply;
}

bool InstallerTransfer::append(const QByteArray &bytes)
{
    qint64 done = 0;
    while (done < bytes.size()) {
        const char *rest = bytes.constData() + done;
        const qint64 written = m_file->write(rest, bytes.size() - done);
        if (written <= 0) {
            m_error = m_file->errorString();
            return false;
        }
        m_hash.addData(rest, int(written));
        done += written;
    }
    return true;
}

bool InstallerTransfer::close()
{
    m_file->close();
    m_error = m_file->errorString();
    return m_file->error() == QFileDevice::NoError;
}

QString InstallerTransfer::digest() const
{
    return QString::fromLatin1(m_hash.result().toHex().toUpper());
}

void InstallerTransfer::release()
{
    deleteOnceFinished(m_file, m_reply);
    deleteOnceFinished(m_reply, m_reply);
}

void InstallerTransfer::removeFile() const
{
    QFile::remove(m_path);
}

} // namespace corvane
