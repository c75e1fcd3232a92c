#include "ServiceReplies.h"

#include "Interpose.h"

#include <QHttpMultiPart>
#include <QNetworkAccessManager>
#include <QNetworkRequest>

#include <algorithm>

namespace corvane::test {
namespace {

QVector<QPointer<QNetworkReply>> replies;
std::function<QNetworkReply *(QNetworkAccessManager *)> replacement;

template <typename... Data>
QNetworkReply *send(const char *symbol, QNetworkAccessManager *manager, Data... data)
{
    QNetworkReply *reply = nullptr;
    if (replacement)
        reply = replacement(manager);
    else
        reply = nextFunction<QNetworkReply *(QNetworkAccessManager *, Data...)>(symbol)(manager,
                                                                                        data...);
    replies.append(reply);
    return reply;
}

} // namespace

QVector<QPointer<QNetworkReply>> serviceReplies()
{
    return replies;
}

void forgetServiceReplies()
{
    replies.clear();
}

ScriptedReply::ScriptedReply(QObject *parent)
    : QNetworkReply(parent)
{
    open(QIODevice::ReadOnly | QIODevice::Unbuffered);
}

void ScriptedReply::deliver(const QByteArray &bytes, bool quietly)
{
    m_bytes += bytes;
    if (!quietly)
        emit readyRead();
}

void ScriptedReply::fail(NetworkError code)
{
    setError(code, "as scripted");
    emit errorOccurred(code);
}

void ScriptedReply::finish()
{
    setFinished(true);
    emit finished();
}

void ScriptedReply::abort()
{
    if (isFinished())
        return;
    fail(OperationCanceledError);
    finish();
}

qint64 ScriptedReply::bytesAvailable() const
{
    return m_bytes.size() + QNetworkReply::bytesAvailable();
}

qint64 ScriptedReply::readData(char *data, qint64 maxSize)
{
    const int count = int(std::min(maxSize, qint64(m_bytes.size())));
    std::copy_n(m_bytes.constData(), count, data);
    m_bytes.remove(0, count);
    return count;
}

ScriptedNetwork::ScriptedNetwork(std::function<void(ScriptedReply *)> prepare)
{
    replacement = [prepare](QNetworkAccessManager *manager) {
        auto *reply = new ScriptedReply(manager);
        if (prepare)
            prepare(reply);
        return reply;
    };
}

ScriptedNetwork::~ScriptedNetwork()
{
    replacement = nullptr;
}

QPointer<ScriptedReply> ScriptedNetwork::reply() const
{
    return qobject_cast<ScriptedReply *>(replies.isEmpty() ? nullptr : replies.last().data());
}

} // namespace corvane::test

QNetworkReply *QNetworkAccessManager::get(const QNetworkRequest &request)
{
    return corvane::test::send<const QNetworkRequest &>(
        "_ZN21QNetworkAccessManager3getERK15QNetworkRequest", this, request);
}

QNetworkReply *QNetworkAccessManager::post(const QNetworkRequest &request, const QByteArray &data)
{
    return corvane::test::send<const QNetworkRequest &, const QByteArray &>(
        "_ZN21QNetworkAccessManager4postERK15QNetworkRequestRK10QByteArray", this, request, data);
}

QNetworkReply *QNetworkAccessManager::post(const QNetworkRequest &request, QHttpMultiPart *data)
{
    return corvane::test::send<const QNetworkRequest &, QHttpMultiPart *>(
        "_ZN21QNetworkAccessManager4postERK15QNetworkRequestP14QHttpMultiPart", this, request,
        data);
}
