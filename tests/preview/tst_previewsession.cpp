#include <QtTest>

#include "PictureProbe.h"
#include "PreviewSession.h"
#include "ScriptedScreen.h"
#include "StripView.h"
#include <support/LogCapture.h>

#include <LibCorvane/ConfigurationManager.h>

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>

using namespace corvane::test;

namespace {

// Rounding, and the picture's scaling.
constexpr int kTolerance = 4;
const QSize kFrame(300, 168);
const QColor kRed(230, 20, 30);
const QColor kGreen(20, 200, 40);

QImage uniform(const QColor &colour)
{
    QImage picture(kFrame, QImage::Format_RGB32);
    picture.fill(colour);
    return picture;
}

QJsonValue stored(const QString &key)
{
    const QString file = ConfigurationManager::instance()->configPath() + "/global.json";
    const QJsonObject global = ConfigurationManager::loadJsonObjectFromFile(file);
    return ConfigurationManager::valWithXPath(global, key);
}

/// A session without a sound device, its window, and what they need.
struct Run {
    explicit Run(const Options &options = {}, const QStringList &devices = {})
        : Run(devices, headless(options))
    {
    }
    /// With the window on the screen, unless the options say otherwise.
    Run(const QStringList &devices, const Options &options)
        : session(options, settings, feed, devices)
    {
        for (QWidget *widget : QApplication::topLevelWidgets()) {
            if (auto *found = qobject_cast<PreviewWindow *>(widget))
                window = found;
        }
        session.start();
    }

    static Options headless(Options options)
    {
        options.headless = true;
        return options;
    }

    QStringList choicesOf(int box) const
    {
        QStringList texts;
        const auto *choices = window->findChildren<QComboBox *>()[box];
        for (int i = 0; i < choices->count(); ++i)
            texts.append(choices->itemText(i));
        return texts;
    }
    QString displayChoice() const { return window->findChildren<QComboBox *>()[0]->currentText(); }

    QColor ledColour(int key) const
    {
        auto *strip = window->findChild<StripView *>();
        return colourIn(partOf(window->grab().toImage(), *strip), strip->ledArea(key));
    }

    QColor pictureColour() const
    {
        auto *strip = window->findChild<StripView *>();
        const QRectF area = strip->pictureArea();
        return colourIn(partOf(window->grab().toImage(), *strip),
                        {area.topLeft(), area.size() / 2});
    }

    Settings settings{QString()};
    ScreenFeed feed;
    PreviewSession session;
    PreviewWindow *window = nullptr;
};

} // namespace

class TestPreviewSession : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void generatesTheStripBesideTheSettings();
    void lightsTheStripFromTheScreen();
    void announcesFramesThatDiffer();
    void takesTheDefaultDisplay();
    void keepsTheChosenDisplay();
    void fallsBackWhenTheChosenDisplayIsGone();
    void letsAnOptionHoldForOneRun();
    void keepsTheChosenMode();
    void takesAnUnknownModeForTheScreen();
    void noticesThatTheDisplayHasGone();
    void noticesThatADisplayHasCome();
    void returnsToTheChosenDisplay();
    void showsADisplayThatCannotBeCaptured();
    void readsNothingWithoutADisplay();
    void keepsTheWindowWhereItWas();
    void leavesTheWindowsPlaceAloneWithoutAWindow();
    void opensWithAPlaceThatIsNone();

private:
    QTemporaryDir m_directory;
};

void TestPreviewSession::initTestCase()
{
    qputenv("XDG_DATA_HOME", m_directory.filePath("data").toLocal8Bit());
    ConfigurationManager::setConfigPath(m_directory.filePath("settings"));
}

void TestPreviewSession::init()
{
    screen() = {};
    ConfigurationManager::instance()->globalJsonObj() = {};
    ConfigurationManager::instance()->saveGlobalValues();
}

void TestPreviewSession::generatesTheStripBesideTheSettings()
{
    const Run run;
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::DataLocation);
    QVERIFY(folder.startsWith(m_directory.path()));
    QVERIFY(QFile::exists(folder + "/controler_config/preview.json"));
}

void TestPreviewSession::lightsTheStripFromTheScreen()
{
    QImage picture = uniform(kRed);
    for (int y = 0; y < kFrame.height(); ++y)
        for (int x = kFrame.width() / 2; x < kFrame.width(); ++x)
            picture.setPixelColor(x, y, kGreen);
    screen().displays = {{1, picture}};
    const Run run;
    // Keys 0 to 17 are on the left side, 50 to 67 on the right one.
    QTRY_VERIFY(isNear(run.ledColour(0), kRed, kTolerance));
    QVERIFY(isNear(run.pictureColour(), kRed, kTolerance));
    QVERIFY(isNear(run.ledColour(17), kRed, kTolerance));
    QVERIFY(isNear(run.ledColour(18), kRed, kTolerance));
    QVERIFY(isNear(run.ledColour(49), kGreen, kTolerance));
    QVERIFY(isNear(run.ledColour(50), kGreen, kTolerance));
    QVERIFY(isNear(run.ledColour(67), kGreen, kTolerance));
    QVERIFY(isNear(run.ledColour(99), kRed, kTolerance));
}

void TestPreviewSession::announcesFramesThatDiffer()
{
    screen().displays = {{1, QImage()}};
    ScreenFeed feed;
    int arrived = 0;
    connect(&feed, &ScreenFeed::frameArrived, this, [&arrived] { ++arrived; });
    feed.watch("1");
    QTRY_VERIFY(screen().reads >= 5);
    QCOMPARE(arrived, 0);
    QVERIFY(feed.frame().empty());

    screen().displays[1] = uniform(kRed);
    screen().reads = 0;
    QTRY_VERIFY(screen().reads >= 5);
    QCOMPARE(arrived, 1);
    QCOMPARE(meanColour(feed.frame()), kRed.rgb());

    QImage other = uniform(kRed);
    other.setPixelColor(299, 167, kGreen);
    screen().displays[1] = other;
    QTRY_COMPARE(arrived, 2);

    screen().displays[1] = other.copy(0, 0, 200, 168);
    QTRY_COMPARE(arrived, 3);
    QCOMPARE(feed.frame().cols, 200);
}

void TestPreviewSession::takesTheDefaultDisplay()
{
    screen().displays = {{2, uniform(kRed)}, {10, uniform(kGreen)}};
    const Run run;
    QCOMPARE(run.choicesOf(0), QStringList({"Display 10", "Display 2"}));
    QCOMPARE(run.displayChoice(), QString("Display 10"));
    QTRY_VERIFY(isNear(run.ledColour(0), kGreen, kTolerance));
}

void TestPreviewSession::keepsTheChosenDisplay()
{
    screen().displays = {{1, uniform(kRed)}, {2, uniform(kGreen)}};
    {
        const Run run;
        QTRY_VERIFY(isNear(run.ledColour(0), kRed, kTolerance));
        QTest::keyClick(run.window->findChildren<QComboBox *>()[0], Qt::Key_Down);
        QTRY_VERIFY(isNear(run.ledColour(0), kGreen, kTolerance));
        QCOMPARE(stored("preview.display"), QJsonValue("2"));
    }
    const Run next;
    QCOMPARE(next.displayChoice(), QString("Display 2"));
    QTRY_VERIFY(isNear(next.ledColour(0), kGreen, kTolerance));
}

void TestPreviewSession::fallsBackWhenTheChosenDisplayIsGone()
{
    ConfigurationManager::instance()->setAppConfig("preview.display", "3");
    screen().displays = {{1, uniform(kRed)}, {2, uniform(kGreen)}};
    const Run run;
    QCOMPARE(run.displayChoice(), QString("Display 1"));
    QTRY_VERIFY(isNear(run.ledColour(0), kRed, kTolerance));
    // It may come back.
    QCOMPARE(stored("preview.display"), QJsonValue("3"));
}

void TestPreviewSession::letsAnOptionHoldForOneRun()
{
    ConfigurationManager::instance()->setAppConfig("preview.display", "1");
    screen().displays = {{1, uniform(kRed)}, {2, uniform(kGreen)}};
    Options options;
    options.display = "2";
    options.mode = Mode::Sound;
    const Run run(options);
    QCOMPARE(run.displayChoice(), QString("Display 2"));
    QVERIFY(run.window->findChildren<QAbstractButton *>()[1]->isChecked());
    QCOMPARE(stored("preview.display"), QJsonValue("1"));
    QVERIFY(stored("screenCaptureMode").isUndefined());
}

void TestPreviewSession::keepsTheChosenMode()
{
    screen().displays = {{1, uniform(kRed)}};
    {
        const Run run;
        QTRY_VERIFY(isNear(run.ledColour(0), kRed, kTolerance));
        QTest::mouseClick(run.window->findChildren<QAbstractButton *>()[1], Qt::LeftButton);
        QVERIFY(!isNear(run.ledColour(0), kRed, 60));
        QCOMPARE(stored("screenCaptureMode"), QJsonValue(1));
    }
    {
        const Run next;
        QVERIFY(next.window->findChildren<QAbstractButton *>()[1]->isChecked());
        QTest::mouseClick(next.window->findChildren<QAbstractButton *>()[0], Qt::LeftButton);
        QCOMPARE(stored("screenCaptureMode"), QJsonValue(0));
    }
}

void TestPreviewSession::takesAnUnknownModeForTheScreen()
{
    ConfigurationManager::instance()->setAppConfig("screenCaptureMode", 2);
    const Run run;
    QVERIFY(run.window->findChildren<QAbstractButton *>()[0]->isChecked());
}

void TestPreviewSession::noticesThatTheDisplayHasGone()
{
    screen().displays = {{1, uniform(kRed)}, {2, uniform(kGreen)}};
    const Run run;
    QTRY_VERIFY(isNear(run.ledColour(0), kRed, kTolerance));
    screen().displays.remove(1);
    QTRY_COMPARE(run.displayChoice(), QString("Display 2"));
    QTRY_VERIFY(isNear(run.ledColour(0), kGreen, kTolerance));

    screen().displays.clear();
    QTRY_COMPARE(run.displayChoice(), QString("No display"));
    QVERIFY(!isNear(run.ledColour(0), kGreen, 60));
}

void TestPreviewSession::noticesThatADisplayHasCome()
{
    const Run run;
    QCOMPARE(run.displayChoice(), QString("No display"));
    screen().displays = {{1, uniform(kRed)}};
    QTRY_COMPARE(run.displayChoice(), QString("Display 1"));
    QTRY_VERIFY(isNear(run.ledColour(0), kRed, kTolerance));
}

void TestPreviewSession::returnsToTheChosenDisplay()
{
    screen().displays = {{1, uniform(kRed)}, {2, uniform(kGreen)}};
    Options options;
    options.display = "1";
    const Run run(options);
    QTest::keyClick(run.window->findChildren<QComboBox *>()[0], Qt::Key_Down);
    QTRY_VERIFY(isNear(run.ledColour(0), kGreen, kTolerance));
    screen().displays.remove(2);
    QTRY_VERIFY(isNear(run.ledColour(0), kRed, kTolerance));
    screen().displays.insert(2, uniform(kGreen));
    QTRY_VERIFY(isNear(run.ledColour(0), kGreen, kTolerance));
    QCOMPARE(run.displayChoice(), QString("Display 2"));
}

void TestPreviewSession::showsADisplayThatCannotBeCaptured()
{
    const LogCapture log;
    screen().displays = {{1, QImage()}};
    screen().broken = {1};
    const Run run;
    QCOMPARE(run.displayChoice(), QString("Display 1"));
    const int listings = screen().listings;
    QTRY_VERIFY(screen().listings > listings);
    QCOMPARE(run.feed.display(), QString("1"));
    QVERIFY(run.feed.frame().empty());
    QCOMPARE(log.messages(QtCriticalMsg).size(), 1);
}

void TestPreviewSession::readsNothingWithoutADisplay()
{
    const Run run;
    const int listings = screen().listings;
    QTRY_VERIFY(screen().listings > listings);
    QCOMPARE(screen().reads, 0);
    QVERIFY(run.feed.display().isEmpty());
}

void TestPreviewSession::keepsTheWindowWhereItWas()
{
    QRect place;
    {
        const Run run({}, Options());
        QVERIFY(QTest::qWaitForWindowExposed(run.window));
        // On the small screen of the tests.
        place = {QPoint(7, 31), run.window->minimumSizeHint() + QSize(0, 40)};
        run.window->setGeometry(place);
        QTRY_COMPARE(run.window->geometry(), place);
        QVERIFY(!stored("preview.window").isString());
        run.window->close();
        QVERIFY(stored("preview.window").isString());
    }
    const Run next({}, Options());
    QTRY_COMPARE(next.window->geometry(), place);
}

void TestPreviewSession::leavesTheWindowsPlaceAloneWithoutAWindow()
{
    ConfigurationManager::instance()->setAppConfig("preview.window", "kept");
    {
        const Run run;
        run.window->close();
    }
    QCOMPARE(stored("preview.window"), QJsonValue("kept"));
}

// Also after something else has written there.
void TestPreviewSession::opensWithAPlaceThatIsNone()
{
    ConfigurationManager::instance()->setAppConfig("preview.window", "no geometry");
    const Run run({}, Options());
    QVERIFY(run.window->isVisible());
    QVERIFY(run.window->width() >= run.window->minimumSizeHint().width());
}

QTEST_MAIN(TestPreviewSession)
#include "tst_previewsession.moc"
