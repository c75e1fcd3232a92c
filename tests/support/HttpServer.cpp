#include "HttpServer.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <random>

namespace corvane::test {
namespace {

constexpr int kNoiseBytes = 1 << 20;

QByteArray response(const QByteArray &status, qint64 length, const QByteArray &headers,
                    const QByteArray &body)
{
    return "HTTP/1.1 " + status + "\r\nContent-Length: " + QByteArray::number(length) + "\r\n"
        + headers + "Connection: close\r\n\r\n" + body;
}

qint64 bodyLength(const QByteArray &head)
{
    const QByteArray name = "content-length:";
    const int at = head.toLower().indexOf(name);
    if (at < 0)
        return 0;
    const int from = at + name.size();
    return head.mid(from, head.indexOf("\r\n", from) - from).trimmed().toLongLong();
}

QByteArray pathOf(const QByteArray &request)
{
    return request.split(' ').value(1).split('?').first();
}

Answer plain(const QByteArray &bytes)
{
    Answer answer;
    answer.bytes = bytes;
    return answer;
}

} // namespace

Answer Answer::cutAt(int count) const
{
    Answer cut = *this;
    cut.bytes = bytes.left(count);
    return cut;
}

Answer Answer::open() const
{
    Answer held = *this;
    held.staysOpen = true;
    return held;
}

Answer Answer::trickling() const
{
    Answer slow = *this;
    slow.trickles = true;
    return slow;
}

Answer Answer::resetting() const
{
    Answer rude = *this;
    rude.resets = true;
    return rude;
}

Answer ok(const QByteArray &body)
{
    return declaring(body.size(), body);
}

Answer declaring(qint64 length, const QByteArray &body)
{
    return plain(response("200 OK", length, {}, body));
}

Answer status(const QByteArray &codeAndReason, const QByteArray &body)
{
    return plain(response(codeAndReason, body.size(), {}, body));
}

Answer redirection(const QString &location)
{
    return plain(response("302 Found", 0, "Location: " + location.toUtf8() + "\r\n", {}));
}

Answer silence()
{
    return Answer().open();
}

Answer garbage(const QByteArray &bytes)
{
    return plain(bytes);
}

Answer installer(int mebibytes)
{
    Answer answer;
    answer.pattern = noise();
    answer.patternBytes = qint64(mebibytes) * kNoiseBytes;
    answer.bytes = response("200 OK", answer.patternBytes, {}, {});
    return answer;
}

QByteArray noise()
{
    static const QByteArray made = [] {
        std::mt19937 random(1);
        QByteArray bytes(kNoiseBytes, Qt::Uninitialized);
        std::generate(bytes.begin(), bytes.end(), [&random] { return char(random()); });
        return bytes;
    }();
    return made;
}

HttpServer::HttpServer()
    : m_listener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    , m_stop(eventfd(0, EFD_CLOEXEC))
    , m_gate(eventfd(0, EFD_CLOEXEC))
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    auto *generic = reinterpret_cast<sockaddr *>(&address);
    socklen_t size = sizeof(address);
    if (bind(m_listener, generic, size) != 0 || listen(m_listener, SOMAXCONN) != 0
        || getsockname(m_listener, generic, &size) != 0)
        qFatal("Cannot listen on the loopback interface");
    m_port = ntohs(address.sin_port);
    m_acceptor = std::thread(&HttpServer::acceptAll, this);
}

HttpServer::~HttpServer()
{
    eventfd_write(m_stop, 1);
    m_acceptor.join();
    for (std::thread &connection : m_connections)
        connection.join();
    close(m_listener);
    close(m_stop);
    close(m_gate);
}

QString HttpServer::host() const
{
    return QString("127.0.0.1:%1").arg(m_port);
}

QString HttpServer::url(const QString &path) const
{
    return "http://" + host() + path;
}

void HttpServer::answer(const QByteArray &path, const QVector<Answer> &answers)
{
    const std::lock_guard lock(m_mutex);
    m_answers[path] = answers;
}

QVector<QByteArray> HttpServer::requests() const
{
    const std::lock_guard lock(m_mutex);
    QVector<QByteArray> copy = m_requests;
    copy.detach(); // while no connection can append to what is shared
    return copy;
}

void HttpServer::release()
{
    eventfd_write(m_gate, 1);
}

void HttpServer::acceptAll()
{
    while (waitFor(m_listener, POLLIN)) {
        const int socket = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (socket >= 0)
            m_connections.emplace_back(&HttpServer::serve, this, socket);
    }
}

void HttpServer::serve(int socket)
{
    const QByteArray request = readRequest(socket);
    if (!request.isEmpty()) {
        Answer answer;
        {
            const std::lock_guard lock(m_mutex);
            m_requests.append(request);
            answer = nextAnswer(pathOf(request));
        }
        sendAnswer(socket, answer);
    }
    close(socket);
}

/// Empty when the connection ends, or the server stops, before the request is complete.
QByteArray HttpServer::readRequest(int socket) const
{
    QByteArray request;
    char buffer[1 << 16];
    while (waitFor(socket, POLLIN)) {
        const ssize_t count = recv(socket, buffer, sizeof(buffer), 0);
        if (count <= 0)
            return {};
        request.append(buffer, int(count));
        const int head = request.indexOf("\r\n\r\n");
        if (head >= 0 && request.size() >= head + 4 + bodyLength(request.left(head + 2)))
            return request;
    }
    return {};
}

Answer HttpServer::nextAnswer(const QByteArray &path)
{
    QVector<Answer> &answers = m_answers[path];
    if (answers.isEmpty())
        return status("404 Not Found");
    return answers.size() > 1 ? answers.takeFirst() : answers.first();
}

/// False when the server stops.
bool HttpServer::waitFor(int socket, short events) const
{
    pollfd polled[] = {{socket, events, 0}, {m_stop, POLLIN, 0}};
    return poll(polled, 2, -1) > 0 && polled[1].revents == 0;
}

/// False when the client has gone, or the server stops.
bool HttpServer::send(int socket, const char *bytes, qint64 count) const
{
    while (count > 0) {
        if (!waitFor(socket, POLLOUT))
            return false;
        const ssize_t sent = ::send(socket, bytes, size_t(count), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent <= 0)
            return false;
        bytes += sent;
        count -= sent;
    }
    return true;
}

void HttpServer::sendAnswer(int socket, const Answer &answer) const
{
    const int yes = 1;
    setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof(yes));
    bool isSent = true;
    const int step = answer.trickles ? 1 : std::max(1, answer.bytes.size());
    for (int at = 0; isSent && at < answer.bytes.size(); at += step)
        isSent = send(socket, answer.bytes.constData() + at, step);
    if (answer.patternWaits)
        isSent = waitFor(m_gate, POLLIN);
    for (qint64 at = 0; isSent && at < answer.patternBytes; at += answer.pattern.size())
        isSent = send(socket, answer.pattern.constData(), answer.pattern.size());
    char ignored = 0;
    if (isSent && answer.staysOpen && waitFor(socket, POLLIN))
        recv(socket, &ignored, 1, 0);
    if (answer.resets) {
        const linger none{1, 0};
        setsockopt(socket, SOL_SOCKET, SO_LINGER, &none, sizeof(none));
        return;
    }
    // An orderly end: what was sent arrives before the end does.
    shutdown(socket, SHUT_WR);
}

} // namespace corvane::test
