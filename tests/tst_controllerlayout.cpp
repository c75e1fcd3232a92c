#include "ControllerLayoutReference.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QtTest>

#include <limits>

using corvane::controllerLayout;
using namespace corvane::test;
using corvane::ControllerStrip;

namespace {

constexpr qint64 kMax = std::numeric_limits<int>::max();
constexpr qint64 kMin = std::numeric_limits<int>::min();

QByteArray described(const ControllerStrip &strip)
{
    return QStringLiteral("height %1, width %2, bottom %3")
        .arg(strip.height)
        .arg(strip.width)
        .arg(strip.bottom)
        .toUtf8();
}

void addStripColumns()
{
    QTest::addColumn<qint64>("height");
    QTest::addColumn<qint64>("width");
    QTest::addColumn<qint64>("bottom");
}

ControllerStrip fetchedStrip()
{
    QFETCH(qint64, height);
    QFETCH(qint64, width);
    QFETCH(qint64, bottom);
    return {height, width, bottom};
}

void addOrdinaryStrips()
{
    addStripColumns();
    QTest::newRow("a full frame") << 2ll << 4ll << 4ll;
    QTest::newRow("an odd width") << 5ll << 9ll << 9ll;
    QTest::newRow("a bottom of less than half the width") << 3ll << 10ll << 4ll;
    QTest::newRow("an open bottom") << 12ll << 21ll << 0ll;
    QTest::newRow("a single column") << 4ll << 1ll << 1ll;
    QTest::newRow("a large monitor") << 90ll << 160ll << 150ll;
}

} // namespace

class TestControllerLayout : public QObject {
    Q_OBJECT
private slots:
    void laysOutAFullFrame();
    void leavesTheMiddleKeyOfAnOddTopOut();
    void splitsASingleRowTwice();
    void laysOutNothing();
    void splitsAShortBottomByTheWidth();
    void holdsJustTheseMembers();

    void keepsEachSideOnItsEdge_data();
    void keepsEachSideOnItsEdge();
    void givesEachCornerToTwoKeys_data();
    void givesEachCornerToTwoKeys();
    void coversTheSidesWithSegments_data();
    void coversTheSidesWithSegments();

    void agreesWithTheReferenceOverAGrid();
    void countsBeyondInt_data();
    void countsBeyondInt();
    void writesNumbersBeyondIntAsIntegers();
    void stopsAtItsLimit();
};

void TestControllerLayout::laysOutAFullFrame()
{
    const Layout layout = layoutOf({2, 4, 4});
    QCOMPARE(layout.keys,
             (Table{{1, 0, 1},
                    {2, 0, 0},
                    {3, 0, 0},
                    {4, 1, 0},
                    {5, 2, 0},
                    {6, 3, 0},
                    {7, 3, 0},
                    {8, 3, 1},
                    {9, 3, 1},
                    {10, 2, 1},
                    {11, 1, 1},
                    {12, 0, 1}}));
    QCOMPARE(layout.segments,
             (Table{{0, 1, 1, 2},
                    {1, 0, 3, 4},
                    {2, 1, 5, 6},
                    {3, 0, 7, 8},
                    {4, 0, 9, 10},
                    {5, 1, 11, 12}}));
    QCOMPARE(layout.length, 4);
    QCOMPARE(layout.rows, 2);
    QCOMPARE(layout.count, 12);
}

void TestControllerLayout::leavesTheMiddleKeyOfAnOddTopOut()
{
    const Layout layout = layoutOf({2, 5, 0});
    QCOMPARE(layout.count, 9);
    QCOMPARE(layout.segments, (Table{{0, 1, 1, 2}, {1, 0, 3, 4}, {2, 1, 6, 7}, {3, 0, 8, 9}}));
}

void TestControllerLayout::splitsASingleRowTwice()
{
    const Layout layout = layoutOf({1, 4, 3});
    QCOMPARE(layout.keys,
             (Table{{1, 0, 0},
                    {2, 1, 0},
                    {3, 2, 0},
                    {4, 3, 0},
                    {5, 3, 0},
                    {6, 3, 0},
                    {7, 3, 0},
                    {8, 2, 0},
                    {9, 1, 0}}));
    QCOMPARE(layout.segments,
             (Table{{0, 0, 1, 2},
                    {1, 1, 3, 4},
                    {2, 0, 2, 3},
                    {3, 1, 4, 5},
                    {4, 0, 6, 6},
                    {5, 0, 7, 8},
                    {6, 1, 9, 9}}));
    QCOMPARE(layout.rows, 1);
    QCOMPARE(layout.count, 9);
}

void TestControllerLayout::laysOutNothing()
{
    QCOMPARE(controllerLayout({0, 0, 0}),
             (QJsonObject{{"key_array", QJsonArray()},
                          {"key_music", QJsonArray()},
                          {"key_len", 0},
                          {"key_wid", 1},
                          {"key_num", 0}}));
}

void TestControllerLayout::splitsAShortBottomByTheWidth()
{
    const Layout layout = layoutOf({2, 10, 3});
    QCOMPARE(layout.count, 17);
    QCOMPARE(layout.segments.mid(4), (Table{{4, 0, 15, 19}, {5, 1, 20, 17}}));
    QCOMPARE(layout.keys.last(), (Numbers{17, 7, 1}));
}

void TestControllerLayout::holdsJustTheseMembers()
{
    const QStringList members{"key_array", "key_len", "key_music", "key_num", "key_wid"};
    QCOMPARE(controllerLayout({2, 4, 4}).keys(), members);
    QCOMPARE(controllerLayout({-2, -4, -4}).keys(), members);
}

void TestControllerLayout::keepsEachSideOnItsEdge_data()
{
    addOrdinaryStrips();
}

void TestControllerLayout::keepsEachSideOnItsEdge()
{
    const auto [h, w, b] = fetchedStrip();
    const Layout layout = layoutOf({h, w, b});
    QCOMPARE(qint64(layout.keys.size()), w + 2 * h + b);
    Table expected;
    for (qint64 row = h - 1; row >= 0; --row)
        expected.append({expected.size() + 1, 0, row});
    for (qint64 column = 0; column < w; ++column)
        expected.append({expected.size() + 1, column, 0});
    for (qint64 row = 0; row < h; ++row)
        expected.append({expected.size() + 1, w - 1, row});
    for (qint64 column = w - 1; column > w - 1 - b; --column)
        expected.append({expected.size() + 1, column, h - 1});
    QCOMPARE(layout.keys, expected);
}

void TestControllerLayout::givesEachCornerToTwoKeys_data()
{
    addOrdinaryStrips();
}

void TestControllerLayout::givesEachCornerToTwoKeys()
{
    const ControllerStrip strip = fetchedStrip();
    const Table keys = layoutOf(strip).keys;
    const QVector<qint64> corners{strip.height, strip.topEnd(), strip.rightEnd()};
    for (int i = 1; i < keys.size(); ++i) {
        const qint64 way = qAbs(keys[i][1] - keys[i - 1][1]) + qAbs(keys[i][2] - keys[i - 1][2]);
        QCOMPARE(way, corners.contains(i) ? 0 : 1); // i is the number of the key before
    }
}

void TestControllerLayout::coversTheSidesWithSegments_data()
{
    addOrdinaryStrips();
}

void TestControllerLayout::coversTheSidesWithSegments()
{
    const auto [h, w, b] = fetchedStrip();
    const Table segments = layoutOf({h, w, b}).segments;
    QCOMPARE(segments.size(), b > 0 ? 6 : 4);
    QVector<qint64> directions;
    for (int i = 0; i < segments.size(); ++i) {
        QCOMPARE(segments[i][0], qint64(i));
        directions.append(segments[i][1]);
    }
    QCOMPARE(directions, (QVector<qint64>{1, 0, 1, 0, 0, 1}.mid(0, segments.size())));
    const auto length = [](const Numbers &segment) { return segment[3] - segment[2] + 1; };
    QCOMPARE(length(segments[0]), h);
    QCOMPARE(length(segments[1]), w / 2);
    QCOMPARE(length(segments[2]), w / 2);
    QCOMPARE(segments[2][2] - segments[1][3] - 1, w % 2); // keys in between
    QCOMPARE(length(segments[3]), h);
    if (b > 0)
        QCOMPARE(length(segments[4]) + length(segments[5]), b);
}

void TestControllerLayout::agreesWithTheReferenceOverAGrid()
{
    for (qint64 height = -4; height <= 6; ++height) {
        for (qint64 width = -9; width <= 10; ++width) {
            for (qint64 bottom = -12; bottom <= 14; ++bottom) {
                const ControllerStrip strip{height, width, bottom};
                QVERIFY2(layoutOf(strip) == LayoutReference(strip).layout(), described(strip));
            }
        }
    }
}

void TestControllerLayout::countsBeyondInt_data()
{
    addStripColumns();
    QTest::addColumn<qint64>("count");
    QTest::addColumn<int>("segments");
    QTest::newRow("the least number of keys") << kMin << kMin << kMin << qint64(-8589934592) << 0;
    QTest::newRow("sums that pass the greatest int on the way")
        << kMin << kMax << kMax << -2ll << 0;
    QTest::newRow("twice the height is beyond int") << kMax << kMin + 8 << kMin << 6ll << 0;
    QTest::newRow("one key of the highest left side") << kMax << -kMax << -kMax + 1 << 1ll << 0;
    QTest::newRow("a top that ends beyond int") << 2ll << kMax << kMin << 3ll << 1;
    QTest::newRow("a single row of the greatest width") << 1ll << kMax << kMin + 4 << 5ll << 0;
    QTest::newRow("a bottom that is split beyond int") << -1ll << kMin + 8 << kMax << 5ll << 2;
    QTest::newRow("no keys left by a negative height") << kMin / 2 << kMax << 1ll << 0ll << 0;
}

void TestControllerLayout::countsBeyondInt()
{
    const ControllerStrip strip = fetchedStrip();
    QFETCH(qint64, count);
    QFETCH(int, segments);
    const Layout layout = layoutOf(strip);
    QCOMPARE(layout.count, count);
    QCOMPARE(layout.segments.size(), segments);
    QVERIFY2(layout == LayoutReference(strip).layout(), described(strip));
}

void TestControllerLayout::writesNumbersBeyondIntAsIntegers()
{
    const QByteArray text =
        QJsonDocument(controllerLayout({-1, kMin + 8, kMax})).toJson(QJsonDocument::Compact);
    QVERIFY2(text.contains("\"start\":-2147483641,\"stop\":-3221225462}"), text);
    QVERIFY2(text.contains("\"start\":-3221225461,\"stop\":5}"), text);
    QVERIFY(QJsonDocument(controllerLayout({kMin, kMin, kMin}))
                .toJson(QJsonDocument::Compact)
                .contains("\"key_num\":-8589934592,"));
}

void TestControllerLayout::stopsAtItsLimit()
{
    const qint64 limit = corvane::kMostControllerKeys;
    QCOMPARE(controllerLayout({2, limit - 4, 0})["key_array"].toArray().size(), int(limit));
    QCOMPARE(controllerLayout({2, limit - 4, 1}), QJsonObject());
    QCOMPARE(controllerLayout({kMax, kMax, kMax}), QJsonObject());
}

QTEST_GUILESS_MAIN(TestControllerLayout)
#include "tst_controllerlayout.moc"
