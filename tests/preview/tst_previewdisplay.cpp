#include <QtTest>

#include "PictureProbe.h"
#include "PreviewProgram.h"
#include "Theme.h"
#include <support/XClient.h>
#include <support/XServer.h>

using namespace corvane::test;

namespace {

const QSize kScreen(1280, 720);
const QSize kFrame(300, 168);
// Pixels at the border of two colours are mixed once by the capture and once by the picture.
constexpr int kTolerance = 6;

const QColor kLeft(230, 30, 40);
const QColor kTop(30, 200, 60);
const QColor kRight(40, 60, 235);
const QColor kBottom(240, 200, 20);

/// Starts a program and reads its lines as they come.
class Reader {
public:
    Reader(const QString &program, const QStringList &arguments)
    {
        m_process.start(program, arguments, QIODevice::ReadOnly);
        m_process.waitForStarted(kTimeoutMs);
    }
    ~Reader()
    {
        m_process.terminate();
        m_process.waitForFinished();
    }
    Reader(const Reader &) = delete;
    Reader &operator=(const Reader &) = delete;

    bool isRunning() const { return m_process.state() == QProcess::Running; }

    /// Whether such a line comes, after any others.
    bool says(const QRegularExpression &form)
    {
        QElapsedTimer timer;
        timer.start();
        while (isRunning() && timer.elapsed() < kTimeoutMs) {
            while (m_process.canReadLine()) {
                if (form.match(QString::fromUtf8(m_process.readLine()).trimmed()).hasMatch())
                    return true;
            }
            m_process.waitForReadyRead(kTimeoutMs);
        }
        return false;
    }

private:
    QProcess m_process;
};

QRegularExpression line(const char *pattern)
{
    return QRegularExpression(QString::fromLatin1(pattern));
}

QColor meanOf(const QImage &picture)
{
    const QImage pixel = picture.scaled(1, 1, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    return pixel.pixelColor(0, 0);
}

int hueDistance(const QColor &a, const QColor &b)
{
    const int distance = qAbs(a.hue() - b.hue());
    return qMin(distance, 360 - distance);
}

} // namespace

class TestPreviewDisplay : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();
    void lightsTheStripInTheColoursOfTheEdges();
    void tellsTheMeanColour();
    void leavesTheStripToTheSound();
    void watchesTheDisplayAskedFor();
    void returnsToTheChosenDisplay();
    void fallsBackWhenTheChosenDisplayIsGone();
    void listsTheDisplays();
    void rejectsAnUnknownDisplay();
    void survivesTheLossOfTheScreen();
    void capturesTheTestScene();
    void movesTheTestScene_data();
    void movesTheTestScene();
    void keepsTheStillSceneStill();
    void endsTheTestSceneInTime();

private:
    QString file(const QString &name) const { return m_directory->filePath(name); }
    void fillEdges() const;
    void makeTwoDisplays() const;
    /// Runs until the first picture is there; null after a failure.
    QImage snapshot(const QStringList &arguments = {});
    QVector<QColor> leds(const QImage &picture) const;

    std::unique_ptr<QTemporaryDir> m_directory;
    std::unique_ptr<XServer> m_server;
    Outcome m_outcome;
};

void TestPreviewDisplay::init()
{
    m_directory = std::make_unique<QTemporaryDir>();
    hideThisMachine(m_directory->path());
    XServerOptions options;
    options.size = kScreen;
    m_server = std::make_unique<XServer>(options);
    QVERIFY2(m_server->isRunning(), qPrintable(m_server->log()));
    m_server->useForThisProcess();
}

void TestPreviewDisplay::cleanup()
{
    m_server.reset();
}

// Bands as broad as a quarter of the screen; the upper and the lower one reach over the corners.
void TestPreviewDisplay::fillEdges() const
{
    XClient client(m_server->display());
    const int width = kScreen.width() / 4;
    const int height = kScreen.height() / 4;
    client.fill({QPoint(), kScreen}, Qt::black);
    client.fill({0, 0, width, kScreen.height()}, kLeft);
    client.fill({kScreen.width() - width, 0, width, kScreen.height()}, kRight);
    client.fill({0, 0, kScreen.width(), height}, kTop);
    client.fill({0, kScreen.height() - height, kScreen.width(), height}, kBottom);
    QVERIFY(client.sync());
}

void TestPreviewDisplay::makeTwoDisplays() const
{
    XClient client(m_server->display());
    const QRect left(0, 0, kScreen.width() / 2, kScreen.height());
    const QRect right = left.translated(left.width(), 0);
    client.fill(left, kLeft);
    client.fill(right, kRight);
    QVERIFY(client.setMonitors({left, right}));
}

QImage TestPreviewDisplay::snapshot(const QStringList &arguments)
{
    m_outcome = runPreview(
        QStringList{"--headless", "--snapshot", file("picture.png"), "--config", file("config")}
        + arguments);
    return m_outcome.status == 0 ? QImage(file("picture.png")) : QImage();
}

QVector<QColor> TestPreviewDisplay::leds(const QImage &picture) const
{
    return ledColours(picture, layoutIn(file("config")), kFrame);
}

void TestPreviewDisplay::lightsTheStripInTheColoursOfTheEdges()
{
    fillEdges();
    const QImage picture = snapshot();
    QVERIFY2(!picture.isNull(), qPrintable(m_outcome.errors));
    const StripLayout layout = layoutIn(file("config"));
    const QVector<QColor> colours = leds(picture);
    QCOMPARE(colours.size(), 100);
    int checked = 0;
    for (int key = 0; key < colours.size(); ++key) {
        const QPoint cell = layout.keys[key].cell;
        // Cells 4 and 13 lie across a border of two bands.
        if (cell.y() == 4 || cell.y() == 13)
            continue;
        const QColor expected = cell.y() < 4 ? kTop
            : cell.y() > 13                  ? kBottom
            : cell.x() == 0                  ? kLeft
                                             : kRight;
        QVERIFY2(isNear(colours[key], expected, kTolerance),
                 qPrintable(QString("%1: %2").arg(key).arg(colours[key].name())));
        ++checked;
    }
    QCOMPARE(checked, 96);
}

void TestPreviewDisplay::tellsTheMeanColour()
{
    XClient client(m_server->display());
    client.fill({QPoint(), kScreen}, QColor(18, 52, 86));
    QVERIFY(client.sync());
    QVERIFY2(!snapshot().isNull(), qPrintable(m_outcome.errors));
    const auto match = statusForm().match(m_outcome.lines.last());
    QVERIFY2(match.hasMatch(), qPrintable(m_outcome.lines.last()));
    QCOMPARE(match.captured(1), QString("#123456"));
    // The sound is missed, but the screen is enough.
    QVERIFY(m_outcome.errors.endsWith("There is no sound input device.\n"));
}

void TestPreviewDisplay::leavesTheStripToTheSound()
{
    fillEdges();
    const QImage picture = snapshot({"--mode", "sound"});
    QVERIFY2(!picture.isNull(), qPrintable(m_outcome.errors));
    for (const QColor &colour : leds(picture))
        QVERIFY2(isNear(colour, QColor(theme::kLine), 2), qPrintable(colour.name()));
}

void TestPreviewDisplay::watchesTheDisplayAskedFor()
{
    makeTwoDisplays();
    const QImage picture = snapshot({"--display", "2"});
    QVERIFY2(!picture.isNull(), qPrintable(m_outcome.errors));
    QCOMPARE(statusForm().match(m_outcome.lines.last()).captured(1), kRight.name());
}

void TestPreviewDisplay::returnsToTheChosenDisplay()
{
    makeTwoDisplays();
    storeSettings(file("config"),
                  {{"preview", QJsonObject{{"display", "2"}}}, {"screenCaptureMode", 1}});
    QVERIFY2(!snapshot().isNull(), qPrintable(m_outcome.errors));
    QCOMPARE(statusForm().match(m_outcome.lines.last()).captured(1), kRight.name());
}

void TestPreviewDisplay::fallsBackWhenTheChosenDisplayIsGone()
{
    makeTwoDisplays();
    storeSettings(file("config"), {{"preview", QJsonObject{{"display", "3"}}}});
    QVERIFY2(!snapshot().isNull(), qPrintable(m_outcome.errors));
    QCOMPARE(statusForm().match(m_outcome.lines.last()).captured(1), kLeft.name());
}

void TestPreviewDisplay::listsTheDisplays()
{
    makeTwoDisplays();
    const Outcome outcome = runPreview({"--list"});
    QCOMPARE(outcome.status, 0);
    QCOMPARE(outcome.lines, QStringList({"display 1", "display 2"}));
    QVERIFY(outcome.errors.endsWith("There is no sound input device.\n"));
}

void TestPreviewDisplay::rejectsAnUnknownDisplay()
{
    const Outcome outcome = runPreview({"--headless", "--display", "7", "--config", file("c")});
    QCOMPARE(outcome.status, 2);
    QVERIFY(outcome.errors.endsWith("There is no display '7'; --list names them.\n"));
}

void TestPreviewDisplay::survivesTheLossOfTheScreen()
{
    fillEdges();
    Reader preview(CORVANE_PREVIEW_PROGRAM, {"--headless", "--config", file("config")});
    QVERIFY(preview.says(line("mean #")));
    m_server->crash();
    QVERIFY(preview.says(line("mean none")));
    QVERIFY(m_server->restart());
    QVERIFY(preview.says(line("mean #")));
    QVERIFY(preview.isRunning());
}

void TestPreviewDisplay::capturesTheTestScene()
{
    qputenv("QT_QPA_PLATFORM", "xcb");
    Reader scene(CORVANE_TEST_SCENE_PROGRAM, {"--still"});
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QVERIFY(scene.says(line("ready")));
    XClient client(m_server->display());
    const QImage shown = client.grab({QPoint(), kScreen});
    const QImage picture = snapshot();
    QVERIFY2(!picture.isNull(), qPrintable(m_outcome.errors));

    // The edges differ, and the LEDs show them: first in the middle of the sides.
    const int across = kScreen.width() / 32;
    const QVector<QRect> edges{{0, 320, across, 80},
                               {600, 0, 80, across},
                               {kScreen.width() - across, 320, across, 80},
                               {600, kScreen.height() - across, 80, across}};
    const QVector<int> keys{8, 33, 58, 83};
    const QVector<QColor> colours = leds(picture);
    for (int edge = 0; edge < edges.size(); ++edge) {
        const QColor colour = meanOf(shown.copy(edges[edge]));
        QVERIFY2(colour.saturation() > 150, qPrintable(colour.name()));
        for (int other = 0; other < edge; ++other)
            QVERIFY(hueDistance(colour, meanOf(shown.copy(edges[other]))) > 20);
        QVERIFY2(hueDistance(colours[keys[edge]], colour) < 20,
                 qPrintable(colours[keys[edge]].name() + ' ' + colour.name()));
    }
}

void TestPreviewDisplay::movesTheTestScene_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("as usual") << QStringList();
    QTest::newRow("with every pixel") << QStringList("--full");
}

void TestPreviewDisplay::movesTheTestScene()
{
    QFETCH(QStringList, arguments);
    qputenv("QT_QPA_PLATFORM", "xcb");
    Reader scene(CORVANE_TEST_SCENE_PROGRAM, arguments);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QVERIFY(scene.says(line("ready")));
    XClient client(m_server->display());
    const QImage first = client.grab({QPoint(), kScreen});
    QTRY_VERIFY(client.grab({QPoint(), kScreen}) != first);
    // The fields, beside the bar's way through the picture.
    const QRect corner(0, 0, 20, 20);
    QTRY_VERIFY(client.grab(corner) != first.copy(corner));
}

void TestPreviewDisplay::keepsTheStillSceneStill()
{
    QVector<QImage> pictures;
    for (int run = 0; run < 2; ++run) {
        qputenv("QT_QPA_PLATFORM", "xcb");
        Reader scene(CORVANE_TEST_SCENE_PROGRAM, {"--still"});
        qputenv("QT_QPA_PLATFORM", "offscreen");
        QVERIFY(scene.says(line("ready")));
        pictures.append(XClient(m_server->display()).grab({QPoint(), kScreen}));
    }
    QVERIFY(!pictures[0].isNull());
    QCOMPARE(pictures[0], pictures[1]);
}

void TestPreviewDisplay::endsTheTestSceneInTime()
{
    qputenv("QT_QPA_PLATFORM", "xcb");
    QProcess scene;
    scene.start(CORVANE_TEST_SCENE_PROGRAM, {"--seconds", "1"});
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QVERIFY(scene.waitForFinished(kTimeoutMs));
    QCOMPARE(scene.exitCode(), 0);
    QCOMPARE(scene.readAllStandardOutput(), QByteArray("ready\n"));
}

QTEST_MAIN(TestPreviewDisplay)
#include "tst_previewdisplay.moc"
