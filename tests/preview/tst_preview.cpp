#include <QtTest>

#include "PictureProbe.h"
#include "PreviewProgram.h"
#include "Theme.h"
#include <support/SoundServer.h>

#include <algorithm>
#include <cmath>

using namespace corvane::test;

namespace {

constexpr double kTone = 440.0;
// Half a bin at 44100 Hz.
constexpr double kTolerance = 11.0;
// What the monitor has without a picture.
const QSize kUsualShape(16, 9);
} // namespace

class TestPreview : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();
    void hearsTheToneAndDrawsIt();
    void lightsTheStripWithTheTone();
    void leavesTheStripDarkInSilence();
    void printsAStatusLineEachSecond();
    void listsTheDevices();
    void fallsBackToTheFirstDevice();
    void returnsToTheChosenDevice();
    void fallsBackWhenTheChosenDeviceIsGone();
    void keepsAllFilesInTheFolderAskedFor();
    void keepsItsFilesInTheUsersPlaces();
    void rejectsAnUnknownDevice();
    void rejectsBadArguments();
    void saysThatThereIsNothingToPreview();
    void missesTheDisplayInOneLine();
    void saysThatThePictureCannotBeWritten_data();
    void saysThatThePictureCannotBeWritten();
    void saysThatThereIsNoScreenForAWindow_data();
    void saysThatThereIsNoScreenForAWindow();
    void drawsFinerWhereTheScreenIsFiner();

private:
    QString file(const QString &name) const { return m_directory->filePath(name); }
    QVector<QColor> ledsLitBy(const QString &device) const;

    std::unique_ptr<QTemporaryDir> m_directory;
    std::unique_ptr<SoundServer> m_server;
};

void TestPreview::init()
{
    m_directory = std::make_unique<QTemporaryDir>();
    hideThisMachine(m_directory->path());
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
    QVERIFY2(std::abs(match.captured(2).toDouble() - kTone) <= kTolerance,
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

QVector<QColor> TestPreview::ledsLitBy(const QString &device) const
{
    const Outcome outcome =
        runPreview({"--headless", "--device", device, "--mode", "sound", "--snapshot",
                    file("picture.png"), "--config", file("config")});
    if (outcome.status != 0)
        return {};
    return ledColours(QImage(file("picture.png")), layoutIn(file("config")), kUsualShape);
}

void TestPreview::lightsTheStripWithTheTone()
{
    const QVector<QColor> leds = ledsLitBy("tone");
    const StripLayout layout = layoutIn(file("config"));
    QCOMPARE(leds.size(), 2 * 18 + 2 * 32);
    for (int key = 0; key < leds.size(); ++key) {
        // The keys share the band from 0 to 1000 Hz; a tone reaches some bins beyond its own.
        const double lowest = 1000.0 * layout.keys[key].toneFrom;
        const double highest = 1000.0 * layout.keys[key].toneTo;
        const bool isLeft = layout.keys[key].cell.x() < 16;
        const QColor full(isLeft ? theme::kLeft : theme::kRight);
        if (lowest <= kTone && kTone < highest)
            QVERIFY2(leds[key].value() > full.value() / 2
                         && std::abs(leds[key].hue() - full.hue()) < 12,
                     qPrintable(QString::number(key)));
        if (highest < kTone / 2 || lowest > 2 * kTone)
            QVERIFY2(isNear(leds[key], QColor(theme::kLine), 40), qPrintable(QString::number(key)));
    }
}

void TestPreview::leavesTheStripDarkInSilence()
{
    const QVector<QColor> leds = ledsLitBy("silence.monitor");
    QCOMPARE(leds.size(), 2 * 18 + 2 * 32);
    for (const QColor &led : leds)
        QVERIFY2(isNear(led, QColor(theme::kLine), 2), qPrintable(led.name()));
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
    QCOMPARE(outcome.lines, QStringList({"device silence.monitor", "device tone"}));
    QVERIFY2(outcome.errors.endsWith("There is no display.\n"), qPrintable(outcome.errors));
}

void TestPreview::fallsBackToTheFirstDevice()
{
    const Outcome outcome = runPreview({"--headless", "--snapshot", file("picture.png")});
    QVERIFY2(outcome.status == 0, qPrintable(outcome.errors));
    QVERIFY(outcome.lines.last().endsWith("loudest none, peaks left silent, right silent"));
}

void TestPreview::returnsToTheChosenDevice()
{
    storeSettings(file("config"), {{"preview", QJsonObject{{"device", "tone"}}}});
    const Outcome outcome =
        runPreview({"--headless", "--snapshot", file("picture.png"), "--config", file("config")});
    QVERIFY2(outcome.status == 0, qPrintable(outcome.errors));
    const auto match = statusForm().match(outcome.lines.last());
    QVERIFY2(std::abs(match.captured(2).toDouble() - kTone) <= kTolerance,
             qPrintable(outcome.lines.last()));
}

void TestPreview::fallsBackWhenTheChosenDeviceIsGone()
{
    storeSettings(file("config"), {{"preview", QJsonObject{{"device", "tuba"}}}});
    const Outcome outcome =
        runPreview({"--headless", "--snapshot", file("picture.png"), "--config", file("config")});
    QVERIFY2(outcome.status == 0, qPrintable(outcome.errors));
    QVERIFY(outcome.lines.last().endsWith("loudest none, peaks left silent, right silent"));
}

void TestPreview::keepsAllFilesInTheFolderAskedFor()
{
    const QStringList before = QDir(m_directory->path()).entryList();
    const Outcome outcome =
        runPreview({"--headless", "--seconds", "1", "--config", file("new/config")});
    QVERIFY2(outcome.status == 0, qPrintable(outcome.errors));
    QCOMPARE(layoutIn(file("new/config")).keys.size(), 100);
    QVERIFY(QFile::exists(file("new/config/global.json")));
    QCOMPARE(QDir(m_directory->path()).entryList(), before + QStringList("new"));
}

void TestPreview::keepsItsFilesInTheUsersPlaces()
{
    const Outcome outcome = runPreview({"--headless", "--seconds", "1"});
    QVERIFY2(outcome.status == 0, qPrintable(outcome.errors));
    QVERIFY(QFile::exists(QString::fromLocal8Bit(qgetenv("XDG_CONFIG_HOME"))
                          + "/corvane-preview/global.json"));
    QCOMPARE(layoutIn(QString::fromLocal8Bit(qgetenv("HOME")) + "/.local/share").keys.size(), 100);
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

void TestPreview::saysThatThereIsNothingToPreview()
{
    m_server->crash();
    const Outcome outcome = runPreview({"--headless", "--seconds", "2"});
    QVERIFY2(outcome.status == 1, qPrintable(outcome.errors));
    QVERIFY2(outcome.errors.contains("There is neither a display nor a sound input device."),
             qPrintable(outcome.errors));
}

void TestPreview::missesTheDisplayInOneLine()
{
    const Outcome outcome = runPreview({"--headless", "--device", "tone", "--seconds", "1"});
    QVERIFY2(outcome.status == 0, qPrintable(outcome.errors));
    // ALSA may have told before that it has no configuration.
    const QString line = "There is no display to capture.\n";
    QVERIFY2(outcome.errors.endsWith(line) && outcome.errors.count(line) == 1,
             qPrintable(outcome.errors));
}

void TestPreview::saysThatThePictureCannotBeWritten_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("reason");
    QTest::newRow("a folder that is missing") << "missing/picture.png"
                                              << "there is no folder '%1'";
    QTest::newRow("a folder itself") << "config"
                                     << "it is a folder";
}

void TestPreview::saysThatThePictureCannotBeWritten()
{
    QFETCH(QString, name);
    QFETCH(QString, reason);
    QVERIFY(QDir().mkpath(file("config")));
    const Outcome outcome =
        runPreview({"--headless", "--device", "tone", "--snapshot", file(name)});
    QVERIFY2(outcome.status == 1, qPrintable(outcome.errors));
    if (reason.contains("%1"))
        reason = reason.arg(file("missing"));
    QCOMPARE(outcome.errors, QString("Cannot write '%1': %2.\n").arg(file(name), reason));
    // Told before the run, not after it.
    QCOMPARE(outcome.lines, QStringList());
}

void TestPreview::saysThatThereIsNoScreenForAWindow_data()
{
    QTest::addColumn<QByteArray>("display");
    QTest::newRow("without a name of one") << QByteArray();
    QTest::newRow("with a name that nobody answers to") << QByteArray(":64999");
}

void TestPreview::saysThatThereIsNoScreenForAWindow()
{
    QFETCH(QByteArray, display);
    qputenv("DISPLAY", display);
    qputenv("QT_QPA_PLATFORM", "xcb");
    const Outcome outcome = runPreview({});
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qunsetenv("DISPLAY");
    QVERIFY2(outcome.status == 1, qPrintable(outcome.errors));
    QVERIFY2(outcome.errors.startsWith("There is no screen for a window (could not connect to "
                                       "display")
                 && outcome.errors.contains(display) && outcome.errors.count('\n') == 1
                 && outcome.errors.endsWith("or with --headless.\n"),
             qPrintable(outcome.errors));
}

void TestPreview::drawsFinerWhereTheScreenIsFiner()
{
    const QStringList arguments{"--headless", "--device", "tone", "--snapshot",
                                file("picture.png")};
    QVERIFY(runPreview(arguments).status == 0);
    const QImage usual(file("picture.png"));
    qputenv("QT_SCALE_FACTOR", "2");
    const Outcome outcome = runPreview(arguments);
    qunsetenv("QT_SCALE_FACTOR");
    QVERIFY2(outcome.status == 0, qPrintable(outcome.errors));
    const QImage fine(file("picture.png"));
    QVERIFY(!usual.isNull());
    QCOMPARE(fine.size(), 2 * usual.size());
    const auto bars = [](const QImage &picture) {
        return barHeights(
            picture.copy(picture.width() / 2, 0, picture.width() / 2, picture.height()),
            theme::kLeft);
    };
    QCOMPARE(bars(fine).size(), bars(usual).size());
}

QTEST_MAIN(TestPreview)
#include "tst_preview.moc"
