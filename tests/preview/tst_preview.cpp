#include <QtTest>

#include "PictureProbe.h"
#include "Theme.h"
#include <support/SoundServer.h>

#include <algorithm>
#include <cmath>

using namespace corvane::test;

namespace {

constexpr double kTone = 440.0;
// Half a bin at 44100 Hz.
constexpr double kTolerance = 11.0;
// A bound against hanging only; nothing here depends on how fast the machine is.
constexpr int kTimeoutMs = 60000;

struct Outcome {
    int status = -1;
    QStringList lines;
    QString errors;
};

Outcome runPreview(const QStringList &arguments)
{
    QProcess preview;
    preview.start(CORVANE_PREVIEW_PROGRAM, arguments);
    if (!preview.waitForFinished(kTimeoutMs) || preview.exitStatus() != QProcess::NormalExit)
        return {-1, {}, preview.errorString() + '\n' + preview.readAllStandardError()};
    return {preview.exitCode(),
            QString::fromUtf8(preview.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts),
            QString::fromUtf8(preview.readAllStandardError())};
}

QRegularExpression statusForm()
{
    return QRegularExpression("^\\d+\\.\\d blocks/s, loudest (?:none|(\\d+\\.\\d) Hz), "
                              "peaks left (?:silent|-?\\d+\\.\\d dB), "
                              "right (?:silent|-?\\d+\\.\\d dB)$");
}

} // namespace

class TestPreview : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();
    void hearsTheToneAndDrawsIt();
    void printsAStatusLineEachSecond();
    void listsTheDevices();
    void fallsBackToTheFirstDevice();
    void rejectsAnUnknownDevice();
    void rejectsBadArguments();
    void saysThatThereIsNoDevice();
    void saysThatThePictureCannotBeWritten();

private:
    QString file(const QString &name) const { return m_directory->filePath(name); }

    std::unique_ptr<QTemporaryDir> m_directory;
    std::unique_ptr<SoundServer> m_server;
};

void TestPreview::init()
{
    m_directory = std::make_unique<QTemporaryDir>();
    m_server = std::make_unique<SoundServer>(QStringList{
        // Delivers two seconds at once, so that no busy moment can tear the tone.
        "module-sine-source source_name=tone frequency=440",
        "module-null-sink sink_name=silence",
    });
    QVERIFY2(m_server->isRunning(), qPrintable(m_server->log()));
}

void TestPreview::cleanup()
{
    m_server.reset();
}

void TestPreview::hearsTheToneAndDrawsIt()
{
    const Outcome outcome =
        runPreview({"--headless", "--device", "tone", "--snapshot", file("picture.png")});
    QVERIFY2(outcome.status == 0, qPrintable(outcome.errors));
    QVERIFY(!outcome.lines.isEmpty());
    const auto match = statusForm().match(outcome.lines.last());
    QVERIFY2(match.hasMatch(), qPrintable(outcome.lines.last()));
    QVERIFY2(std::abs(match.captured(1).toDouble() - kTone) <= kTolerance,
             qPrintable(outcome.lines.last()));

    const QImage picture(file("picture.png"));
    QVERIFY(!picture.isNull());
    for (const QRgb colour : {theme::kLeft, theme::kRight}) {
        QVector<int> heights = barHeights(picture, colour);
        QVERIFY(heights.size() > 40);
        // The bars share the band from 0 to 1000 Hz.
        const double binWidth = 1000.0 / heights.size();
        QVERIFY(std::abs(highestBar(heights) * binWidth - kTone) <= binWidth);
        std::sort(heights.begin(), heights.end());
        QVERIFY(heights.last() > 3 * heights[heights.size() / 2]);
    }
}

void TestPreview::printsAStatusLineEachSecond()
{
    const Outcome outcome = runPreview({"--headless", "--device", "tone", "--seconds", "2"});
    QVERIFY2(outcome.status == 0, qPrintable(outcome.errors));
    QCOMPARE(outcome.lines.size(), 2);
    for (const QString &line : outcome.lines)
        QVERIFY2(statusForm().match(line).hasMatch(), qPrintable(line));
}

void TestPreview::listsTheDevices()
{
    const Outcome outcome = runPreview({"--list"});
    QCOMPARE(outcome.status, 0);
    QCOMPARE(outcome.lines, QStringList({"silence.monitor", "tone"}));
}

void TestPreview::fallsBackToTheFirstDevice()
{
    const Outcome outcome = runPreview({"--headless", "--snapshot", file("picture.png")});
    QVERIFY2(outcome.status == 0, qPrintable(outcome.errors));
    QVERIFY(outcome.lines.last().endsWith("loudest none, peaks left silent, right silent"));
}

void TestPreview::rejectsAnUnknownDevice()
{
    const Outcome outcome = runPreview({"--headless", "--device", "tuba"});
    QCOMPARE(outcome.status, 2);
    QVERIFY2(outcome.errors.contains("tuba"), qPrintable(outcome.errors));
}

void TestPreview::rejectsBadArguments()
{
    const Outcome outcome = runPreview({"--headless", "--seconds", "soon"});
    QCOMPARE(outcome.status, 2);
    QVERIFY2(outcome.errors.contains("soon"), qPrintable(outcome.errors));
}

void TestPreview::saysThatThereIsNoDevice()
{
    m_server->crash();
    const Outcome outcome = runPreview({"--headless", "--seconds", "2"});
    QVERIFY2(outcome.status == 1, qPrintable(outcome.errors));
    QVERIFY2(outcome.errors.contains("There is no sound input device."),
             qPrintable(outcome.errors));
}

void TestPreview::saysThatThePictureCannotBeWritten()
{
    const Outcome outcome =
        runPreview({"--headless", "--device", "tone", "--snapshot", file("missing/picture.png")});
    QVERIFY2(outcome.status == 1, qPrintable(outcome.errors));
    QVERIFY2(outcome.errors.contains("picture.png"), qPrintable(outcome.errors));
}

QTEST_GUILESS_MAIN(TestPreview)
#include "tst_preview.moc"
