// A machine that cannot keep up: there is always more sound than has been read, so that Qt's
// back-end does not return to its event loop.
#include <LibCorvane/audioCapturers/AudioCapManagerMac.h>
#include <support/SoundServer.h>

#include <QPointer>
#include <QTest>

#include <array>
#include <atomic>
#include <cstddef>
#include <memory>

struct pa_stream;

using namespace corvane::test;

namespace {

constexpr int kSoundTimeoutMs = 30000;
const QString kId = "cd.monitor";

std::atomic<bool> isEndless{false};
std::atomic<int> piecesOfBacklog{0};

} // namespace

extern "C" std::size_t pa_stream_readable_size(const pa_stream *stream)
{
    static const auto next =
        pulseFunction<std::size_t(const pa_stream *)>("pa_stream_readable_size");
    return isEndless ? 2048 : next(stream);
}

extern "C" int pa_stream_peek(pa_stream *stream, const void **data, std::size_t *size)
{
    static const auto next =
        pulseFunction<int(pa_stream *, const void **, std::size_t *)>("pa_stream_peek");
    static const std::array<char, 2048> silence{};
    if (!isEndless)
        return next(stream, data, size);
    *data = silence.data();
    *size = silence.size();
    ++piecesOfBacklog;
    return 0;
}

extern "C" int pa_stream_drop(pa_stream *stream)
{
    static const auto next = pulseFunction<int(pa_stream *)>("pa_stream_drop");
    return isEndless ? 0 : next(stream);
}

class TestAudioBacklog : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void stopDoesNotWaitForTheEndOfABacklog_data();
    void stopDoesNotWaitForTheEndOfABacklog();

private:
    std::unique_ptr<SoundServer> m_server;
};

void TestAudioBacklog::initTestCase()
{
    m_server = std::make_unique<SoundServer>(QStringList{"module-null-sink sink_name=cd"});
    QVERIFY2(m_server->isRunning(), qPrintable(m_server->log()));
}

void TestAudioBacklog::stopDoesNotWaitForTheEndOfABacklog_data()
{
    QTest::addColumn<bool>("isListenedTo");
    QTest::newRow("what piles up is analysed") << true;
    QTest::newRow("nobody listens") << false;
}

void TestAudioBacklog::stopDoesNotWaitForTheEndOfABacklog()
{
    QFETCH(bool, isListenedTo);
    auto *manager = AudioCapManagerMac::instance();
    auto capturer = manager->acquireCapturer(kId);
    QVERIFY(capturer);
    const QPointer<IAudioCapture> watched(capturer.data());
    if (isListenedTo)
        connect(capturer.data(), &IAudioCapture::spectrumsChanged, this, [] {});

    piecesOfBacklog = 0;
    isEndless = true;
    QTRY_VERIFY_WITH_TIMEOUT(piecesOfBacklog > 100, kSoundTimeoutMs);
    manager->releaseCapturer(kId);
    capturer.reset();
    QTRY_VERIFY_WITH_TIMEOUT(!watched, kSoundTimeoutMs);
    isEndless = false;
}

QTEST_GUILESS_MAIN(TestAudioBacklog)
#include "tst_audiobacklog.moc"
