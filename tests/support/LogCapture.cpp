#include "LogCapture.h"

#include <QMutex>

namespace corvane::test {
namespace {

struct Store {
    QMutex mutex;
    QVector<LogLine> lines;
};

Store &store()
{
    static Store instance;
    return instance;
}

void collect(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    const QMutexLocker lock(&store().mutex);
    store().lines.append(
        {type, QString::fromUtf8(context.category), QString::fromUtf8(context.function), message});
}

/// "Class::function" out of a compiler's signature.
QString functionName(const QString &signature)
{
    // One compiler writes the star of a result before the name.
    return signature.section('(', 0, 0).section(' ', -1).remove('*');
}

QString levelName(QtMsgType type)
{
    switch (type) {
    case QtDebugMsg:
        return "debug";
    case QtInfoMsg:
        return "info";
    case QtWarningMsg:
        return "warning";
    case QtCriticalMsg:
        return "critical";
    case QtFatalMsg:
        break;
    }
    return "fatal";
}

} // namespace

LogCapture::LogCapture()
    : m_previous(nullptr)
{
    clear();
    m_previous = qInstallMessageHandler(collect);
}

LogCapture::~LogCapture()
{
    qInstallMessageHandler(m_previous);
}

QVector<LogLine> LogCapture::lines() const
{
    const QMutexLocker lock(&store().mutex);
    QVector<LogLine> copy = store().lines;
    copy.detach(); // while no other thread can log into what is shared
    return copy;
}

QStringList LogCapture::messages(QtMsgType type) const
{
    QStringList texts;
    for (const LogLine &line : lines()) {
        if (line.type == type)
            texts.append(line.message);
    }
    return texts;
}

QStringList LogCapture::messages() const
{
    QStringList texts;
    for (const LogLine &line : lines())
        texts.append(line.message);
    return texts;
}

void LogCapture::clear()
{
    const QMutexLocker lock(&store().mutex);
    store().lines.clear();
}

QStringList logged(const LogCapture &log)
{
    QStringList texts;
    for (const LogLine &line : log.lines()) {
        texts << QStringList{levelName(line.type), line.category, functionName(line.function),
                             line.message}
                     .join('|');
    }
    return texts;
}

} // namespace corvane::test
