#ifndef CORVANE_TESTS_CAPTURELISTENER_H
#define CORVANE_TESTS_CAPTURELISTENER_H

#include <LibCorvane/audioCapturers/IAudioCapture.h>
#include <support/Destruction.h>
#include <support/LogCapture.h>

#include <functional>

namespace corvane::test {

/// What is heard of a capturer, also when that is gone.
class CaptureListener : public QObject {
public:
    explicit CaptureListener(const IAudioCapture *capture)
    {
        connect(capture, &IAudioCapture::spectrumsChanged, this, [this] { tell(++blocks); });
        connect(capture, &IAudioCapture::channelsPeakValuesChanged, this, [this] { ++peaks; });
    }

    int blocks = 0;
    int peaks = 0;
    /// What is done in the slot, with the number of the block.
    std::function<void(int)> onBlock;

private:
    void tell(int block)
    {
        if (onBlock)
            onBlock(block);
    }
};

inline bool waitForBlocks(const CaptureListener &listener, int count)
{
    constexpr int patienceMs = 30000;
    return QTest::qWaitFor([&] { return listener.blocks >= count; }, patienceMs);
}

/// Lines of Qt, which tells of a lost server, name no function.
inline int libraryLines(const LogCapture &log)
{
    int count = 0;
    for (const LogLine &line : log.lines())
        count += line.function.isEmpty() ? 0 : 1;
    return count;
}

/// Whether nothing comes any more of what is gone, neither signals nor log lines.
inline bool isSilent(const LogCapture &log, const CaptureListener &listener)
{
    const int lines = libraryLines(log);
    const int blocks = listener.blocks;
    const int peaks = listener.peaks;
    turn(5);
    return lines == libraryLines(log) && blocks == listener.blocks && peaks == listener.peaks;
}

} // namespace corvane::test

#endif
