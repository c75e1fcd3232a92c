#ifndef CORVANE_TESTS_SERVICEREPLIES_H
#define CORVANE_TESTS_SERVICEREPLIES_H

#include <QByteArray>
#include <QNetworkReply>
#include <QPointer>
#include <QVector>

#include <functional>

namespace corvane::test {

/// The replies to the requests that the library has sent since the last call of
/// forgetServiceReplies(); null once they are deleted. The test program's own functions, which
/// stand before those of QNetworkAccessManager, see them all.
QVector<QPointer<QNetworkReply>> serviceReplies();
void forgetServiceReplies();

/// A reply that does what the test says, instead of the network.
class ScriptedReply : public QNetworkReply {
    Q_OBJECT
public:
    explicit ScriptedReply(QObject *parent);

    /// More bytes to read, announced with readyRead() unless \p quietly.
    void deliver(const QByteArray &bytes, bool quietly = false);
    void fail(NetworkError code);
    void finish();

    void abort() override;
    qint64 bytesAvailable() const override;
    bool isSequential() const override { return true; }

protected:
    qint64 readData(char *data, qint64 maxSize) override;

private:
    QByteArray m_bytes;
};

/// While it lives, requests go nowhere and get scripted replies.
class ScriptedNetwork {
public:
    /// \param prepare what is done to each reply before the library gets it.
    explicit ScriptedNetwork(std::function<void(ScriptedReply *)> prepare = {});
    ~ScriptedNetwork();
    ScriptedNetwork(const ScriptedNetwork &) = delete;
    ScriptedNetwork &operator=(const ScriptedNetwork &) = delete;

    /// The reply to the last request; null when that is deleted.
    QPointer<ScriptedReply> reply() const;
};

} // namespace corvane::test

#endif
