#ifndef CORVANE_TESTS_HTTPSERVER_H
#define CORVANE_TESTS_HTTPSERVER_H

#include <QByteArray>
#include <QMap>
#include <QMetaType>
#include <QString>
#include <QVector>

#include <list>
#include <mutex>
#include <thread>

namespace corvane::test {

/// What the server does with one request. Made by the functions below and changed at will.
struct Answer {
    /// Sent as they are; headers and all.
    QByteArray bytes;
    /// Sent after the bytes, over and over, until so many have gone out.
    QByteArray pattern;
    qint64 patternBytes = 0;
    /// The pattern waits for HttpServer::release().
    bool patternWaits = false;
    /// The bytes go out one by one, each in a packet of its own.
    bool trickles = false;
    /// The connection stays open, without another byte, until the client or the server ends.
    bool staysOpen = false;
    /// The connection ends with a reset, which may overtake the bytes.
    bool resets = false;

    /// Nothing after the first \p count bytes.
    Answer cutAt(int count) const;
    Answer open() const;
    Answer trickling() const;
    Answer resetting() const;
};

Answer ok(const QByteArray &body);
/// A body of a length other than the one that is declared.
Answer declaring(qint64 length, const QByteArray &body);
Answer status(const QByteArray &codeAndReason, const QByteArray &body = {});
Answer redirection(const QString &location);
/// Accepts the request and says nothing.
Answer silence();
/// Sent without any HTTP around it.
Answer garbage(const QByteArray &bytes);
/// A body of a MiB of noise, \p mebibytes times.
Answer installer(int mebibytes);
/// The body of installer(1).
QByteArray noise();

/// A scripted HTTP server on the loopback interface, on threads of its own. It answers one request
/// per connection.
class HttpServer {
public:
    HttpServer();
    ~HttpServer();
    HttpServer(const HttpServer &) = delete;
    HttpServer &operator=(const HttpServer &) = delete;

    /// As NetRCManager::setServiceHost() takes it.
    QString host() const;
    QString url(const QString &path) const;

    /// The answers to requests of a path (without a query), in turn; the last one stays. A path
    /// without an answer gives 404.
    void answer(const QByteArray &path, const QVector<Answer> &answers);
    /// The requests so far, byte for byte, in the order in which they were complete.
    QVector<QByteArray> requests() const;
    /// Sends what waits, now and from now on.
    void release();

private:
    void acceptAll();
    void serve(int socket);
    QByteArray readRequest(int socket) const;
    Answer nextAnswer(const QByteArray &path);
    bool waitFor(int socket, short events) const;
    bool send(int socket, const char *bytes, qint64 count) const;
    void sendAnswer(int socket, const Answer &answer) const;

    int m_listener = -1;
    /// Readable once the server stops.
    int m_stop = -1;
    /// Readable once nothing has to wait any more.
    int m_gate = -1;
    quint16 m_port = 0;
    mutable std::mutex m_mutex;
    QMap<QByteArray, QVector<Answer>> m_answers;
    QVector<QByteArray> m_requests;
    std::list<std::thread> m_connections;
    std::thread m_acceptor;
};

} // namespace corvane::test

Q_DECLARE_METATYPE(corvane::test::Answer)

#endif
