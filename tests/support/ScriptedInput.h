#ifndef CORVANE_TESTS_SCRIPTEDINPUT_H
#define CORVANE_TESTS_SCRIPTEDINPUT_H

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QVector>

#include <functional>

struct AVPacket;

namespace corvane::test {

/// What FFmpeg has in place of an "avfoundation" device, and what goes wrong.
struct InputScript {
    /// What is opened instead: a source of FFmpeg's "lavfi" input, or a file of another format.
    QByteArray source = {};
    QByteArray format = "lavfi";
    /// For files that do not name the shape of their streams up front.
    bool probesStreams = false;
    /// The code that avformat_open_input() gives, which then opens nothing.
    int openError = 0;
    /// Called on the opening thread, before the source is opened.
    std::function<void()> whileOpening = {};
    /// In place of reading from the source, if there is one: fills the packet and gives 0, or gives
    /// a code.
    std::function<int(AVPacket *)> read = {};
    /// What opening a decoder gives, try by try; 0 opens it. All tries succeed when it is empty.
    QVector<int> openCodes = {};
    /// The library's call that fails, and what it gives; functions that give pointers give null.
    QString failingCall = {};
    int code = 0;
};

/// Puts the bytes into an empty packet. \return 0, or FFmpeg's code.
int fill(AVPacket *packet, const QByteArray &bytes);
/// A script's read that gives the packets one by one, and then an error.
std::function<int(AVPacket *)> reading(const QVector<QByteArray> &packets);

/// Stands between the library and FFmpeg while it lives: calls of the library (not of FFmpeg
/// itself) are noted, and go by the script. One at a time. Without one the library has the real
/// FFmpeg.
class ScriptedInput {
public:
    explicit ScriptedInput(InputScript script);
    ~ScriptedInput();
    ScriptedInput(const ScriptedInput &) = delete;
    ScriptedInput &operator=(const ScriptedInput &) = delete;

    /// The names of the functions called, in order.
    QStringList calls() const;
    void clearCalls();
    /// From now on this call fails.
    void fail(const QString &call, int code);

    /// What the input format was asked for by, the name of the device, and the options.
    QString formatName() const;
    QString deviceName() const;
    QMap<QString, QString> options() const;
    /// Inputs that are open now, and those that have ever been.
    int openInputs() const;
    int openedInputs() const;
};

} // namespace corvane::test

#endif
