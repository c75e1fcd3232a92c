#include <QtTest>

#include "StripColours.h"
#include "StripSamples.h"
#include <support/LogCapture.h>

#include <LibCorvane/ConfigurationManager.h>

using namespace corvane::test;

namespace {

using Side = StripLayout::Side;

SoundChannel loudChannel()
{
    SoundChannel channel;
    channel.spectrums.append({0.0F, 512.0F, 0.0F});
    return channel;
}

} // namespace

class TestPreviewStripLayout : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void readsWhatTheLibraryWrites_data();
    void readsWhatTheLibraryWrites();
    void hasNoKeysWithoutAFile();
    void readsCellsAndSides();
    void readsNothingFromAnEmptyFile();
    void letsTonesRiseFromTheRoots();
    void mirrorsABottomThatIsCutShort();
    void leavesKeysWithoutSegmentOut();

private:
    QTemporaryDir m_directory;
};

void TestPreviewStripLayout::initTestCase()
{
    qputenv("XDG_DATA_HOME", m_directory.path().toLocal8Bit());
    ConfigurationManager::setConfigPath(m_directory.filePath("settings"));
}

void TestPreviewStripLayout::readsWhatTheLibraryWrites_data()
{
    QTest::addColumn<int>("bottom");
    QTest::newRow("a strip without a bottom") << 0;
    QTest::newRow("a bottom that ends before the middle") << 1;
    QTest::newRow("a bottom that ends beyond the middle") << 3;
    QTest::newRow("a bottom as long as the top") << 4;
}

void TestPreviewStripLayout::readsWhatTheLibraryWrites()
{
    QFETCH(int, bottom);
    const LogCapture log;
    const StripLayout read = generateStrip("desk", 2, 4, bottom);
    const StripLayout expected = stripLayout(smallFile(bottom));
    QCOMPARE(read.grid, expected.grid);
    QCOMPARE(read.keys.size(), 8 + bottom);
    for (int key = 0; key < read.keys.size(); ++key) {
        QCOMPARE(read.keys[key].cell, expected.keys[key].cell);
        QVERIFY(read.keys[key].side == expected.keys[key].side);
        QCOMPARE(read.keys[key].toneFrom, expected.keys[key].toneFrom);
        QCOMPARE(read.keys[key].toneTo, expected.keys[key].toneTo);
    }
}

void TestPreviewStripLayout::hasNoKeysWithoutAFile()
{
    QFile inTheWay(m_directory.filePath("file"));
    QVERIFY(inTheWay.open(QIODevice::WriteOnly));
    qputenv("XDG_DATA_HOME", inTheWay.fileName().toLocal8Bit());
    const LogCapture log;
    QVERIFY(generateStrip("desk", 2, 4, 4).keys.isEmpty());
    qputenv("XDG_DATA_HOME", m_directory.path().toLocal8Bit());
}

void TestPreviewStripLayout::readsCellsAndSides()
{
    const StripLayout layout = stripLayout(smallFile(4));
    QCOMPARE(layout.grid, QSize(4, 2));
    QCOMPARE(layout.keys.size(), 12);
    const QVector<Side> sides{Side::Left,   Side::Left,   Side::Top,    Side::Top,
                              Side::Top,    Side::Top,    Side::Right,  Side::Right,
                              Side::Bottom, Side::Bottom, Side::Bottom, Side::Bottom};
    for (int key = 0; key < 12; ++key)
        QVERIFY2(layout.keys[key].side == sides[key], qPrintable(QString::number(key)));
    QCOMPARE(layout.keys[0].cell, QPoint(0, 1));
    QCOMPARE(layout.keys[1].cell, layout.keys[2].cell);
    QCOMPARE(layout.keys[5].cell, layout.keys[6].cell);
    QCOMPARE(layout.keys[7].cell, layout.keys[8].cell);
    QCOMPARE(layout.keys[11].cell, QPoint(0, 1));
}

void TestPreviewStripLayout::readsNothingFromAnEmptyFile()
{
    const StripLayout layout = stripLayout({});
    QVERIFY(layout.keys.isEmpty());
    QVERIFY(screenColours(layout, cv::Mat()).isEmpty());
    QVERIFY(soundLevels(layout, {loudChannel(), loudChannel()}).isEmpty());
}

void TestPreviewStripLayout::letsTonesRiseFromTheRoots()
{
    const StripLayout layout = stripLayout(smallFile(4));
    // Up the left side, from the middle of the top outwards, down to the low tones on the right
    // side, and from the middle of the bottom outwards.
    const QVector<double> from{0.0, 0.5, 0.5, 0.0, 0.0, 0.5, 0.5, 0.0, 0.5, 0.0, 0.0, 0.5};
    for (int key = 0; key < from.size(); ++key) {
        QCOMPARE(layout.keys[key].toneFrom, from[key]);
        QCOMPARE(layout.keys[key].toneTo, from[key] + 0.5);
    }
}

void TestPreviewStripLayout::mirrorsABottomThatIsCutShort()
{
    // The second run has one key of two, and it is the one beside the middle.
    const StripLayout three = stripLayout(smallFile(3));
    QCOMPARE(three.keys.size(), 11);
    QCOMPARE(three.keys[9].toneFrom, three.keys[10].toneFrom);
    QCOMPARE(three.keys[9].toneTo, three.keys[10].toneTo);

    // The first run reaches beyond the end, and the second begins there: the one key that is left
    // is the first run's far end.
    const StripLayout one = stripLayout(smallFile(1));
    QCOMPARE(one.keys.size(), 9);
    QCOMPARE(one.keys[8].toneFrom, 0.5);
    QCOMPARE(one.keys[8].toneTo, 1.0);
}

void TestPreviewStripLayout::leavesKeysWithoutSegmentOut()
{
    const StripLayout layout =
        stripLayout(layoutFile({3, 1}, {{0, 0}, {1, 0}, {2, 0}}, {{0, 1, 1}, {1, 3, 3}}));
    QCOMPARE(layout.keys[1].toneTo, 0.0);
    const SoundChannel loud = loudChannel();
    QCOMPARE(litKeys(soundLevels(layout, {loud, loud})), QVector<int>({0, 2}));
}

QTEST_APPLESS_MAIN(TestPreviewStripLayout)
#include "tst_previewstriplayout.moc"
