#include <LibCorvane/deskCapturers/x11/ScalingPlan_p.h>

#include <QTest>

using namespace corvane;

namespace {

using Sizes = QVector<QSize>;

Sizes steps(QSize source, QSize target)
{
    const auto steps = scalingSteps(source, target);
    return Sizes(steps.begin(), steps.end());
}

// Where a bilinear sample lies, in the fixed-point arithmetic of the X server.
qint64 samplePosition(int scaled, int ratio)
{
    return ((2 * qint64(scaled) + 1) * ratio) / 2 - 32768;
}

// The first of the two source pixels that it lies between.
qint64 firstSampled(int scaled, int ratio)
{
    return samplePosition(scaled, ratio) >> 16;
}

bool isHalf(int from, int to)
{
    return from == to || from == 2 * to;
}

bool hasEvenBlocks(int source, int scaled)
{
    return source % (2 * scaled) == 0;
}

} // namespace

class TestScalingPlan : public QObject {
    Q_OBJECT
private slots:
    void steps_data();
    void steps();
    void stepsHalveExactlyAndEndAtTheTarget();
    void evenBlocksSeeAsMuchAsTheMultiple();
    void samplesOfEvenBlocksLieBetweenPixels();
    void samplesStayWithinThePicture();
    void affectedPartHoldsAllThatChanges();
    void affectedPartIsTight();
    void partsOutsideTheFrameVanish();
    void manyPartsBecomeOne();
};

void TestScalingPlan::steps_data()
{
    QTest::addColumn<QSize>("source");
    QTest::addColumn<QSize>("target");
    QTest::addColumn<Sizes>("expected");

    QTest::newRow("full HD goes through four times the target")
        << QSize(1920, 1080) << QSize(300, 168) << Sizes{{1200, 672}, {600, 336}, {300, 168}};
    QTest::newRow("4K goes through blocks of four, as four times the target skips pixels")
        << QSize(3840, 2160) << QSize(300, 168) << Sizes{{960, 540}, {600, 336}, {300, 168}};
    QTest::newRow("8K goes through blocks of eight")
        << QSize(7680, 4320) << QSize(300, 168) << Sizes{{960, 540}, {600, 336}, {300, 168}};
    QTest::newRow("5K does not, as blocks of six would see less")
        << QSize(5120, 2880) << QSize(300, 168) << Sizes{{1200, 672}, {600, 336}, {300, 168}};
    QTest::newRow("3440 x 1440 does not, either")
        << QSize(3440, 1440) << QSize(300, 125) << Sizes{{1200, 500}, {600, 250}, {300, 125}};
    QTest::newRow("blocks must fit: one pixel more than 4K goes through the multiple")
        << QSize(3841, 2161) << QSize(300, 168) << Sizes{{1200, 672}, {600, 336}, {300, 168}};
    QTest::newRow("each axis has its own blocks")
        << QSize(3840, 1000) << QSize(300, 78)
        << Sizes{{960, 624}, {600, 312}, {300, 156}, {300, 78}};
    QTest::newRow("a large target is reached in one step, whatever it skips")
        << QSize(3840, 2160) << QSize(1280, 720) << Sizes{{1280, 720}};
    QTest::newRow("a tiny screen") << QSize(3, 2) << QSize(2, 1) << Sizes{{2, 2}, {2, 1}};
    QTest::newRow("a narrow reduction has one step")
        << QSize(500, 300) << QSize(300, 168) << Sizes{{300, 168}};
    QTest::newRow("each axis has its own multiple")
        << QSize(1000, 200) << QSize(200, 150) << Sizes{{800, 150}, {400, 150}, {200, 150}};
    QTest::newRow("no reduction") << QSize(300, 168) << QSize(300, 168) << Sizes{{300, 168}};
    QTest::newRow("a larger target is left to others")
        << QSize(640, 480) << QSize(1280, 960) << Sizes{{640, 480}};
    QTest::newRow("larger on one axis only")
        << QSize(640, 480) << QSize(320, 960) << Sizes{{640, 480}, {320, 480}};
    QTest::newRow("one pixel") << QSize(1, 1) << QSize(300, 168) << Sizes{{1, 1}};
    QTest::newRow("to one pixel") << QSize(8, 2) << QSize(1, 1)
                                  << Sizes{{8, 2}, {4, 1}, {2, 1}, {1, 1}};
    QTest::newRow("empty target") << QSize(1920, 1080) << QSize(0, 168) << Sizes{};
    QTest::newRow("negative target") << QSize(1920, 1080) << QSize(-3, -4) << Sizes{};
    QTest::newRow("empty source") << QSize() << QSize(300, 168) << Sizes{};
}

void TestScalingPlan::steps()
{
    QFETCH(QSize, source);
    QFETCH(QSize, target);
    QTEST(::steps(source, target), "expected");
}

void TestScalingPlan::stepsHalveExactlyAndEndAtTheTarget()
{
    for (const QSize source : {QSize(3840, 2160), QSize(7680, 4320), QSize(1367, 767),
                               QSize(7680, 1), QSize(33, 4000)}) {
        for (int width = 1; width <= 4096; width = width * 3 + 1) {
            for (int height = 1; height <= 4096; height = height * 5 - 2) {
                const QSize target(width, height);
                const Sizes sizes = ::steps(source, target);
                QCOMPARE(sizes.last(), target.boundedTo(source));
                QCOMPARE(sizes.first().boundedTo(source), sizes.first());
                for (int i = 1; i < sizes.size(); ++i) {
                    const QSize from = sizes[i - 1];
                    const QSize to = sizes[i];
                    const bool first = i == 1;
                    QVERIFY(isHalf(from.width(), to.width())
                            || (first && hasEvenBlocks(source.width(), from.width())));
                    QVERIFY(isHalf(from.height(), to.height())
                            || (first && hasEvenBlocks(source.height(), from.height())));
                    QVERIFY(from != to && from.expandedTo(to) == from);
                }
            }
        }
    }
}

// A sample sees two pixels of an even block; 1.5 at other places, on the average.
void TestScalingPlan::evenBlocksSeeAsMuchAsTheMultiple()
{
    int withBlocks = 0;
    for (int width = 2500; width < 9000; width += 4) {
        const Sizes sizes = ::steps({width, width / 4 * 3}, {300, 225});
        const QSize first = sizes.at(0);
        const QSize second = sizes.at(1);
        if (first == 2 * second)
            continue;
        ++withBlocks;
        QVERIFY(first.width() * 2.0 >= second.width() * 2 * 1.5);
        QVERIFY(first.height() * 2.0 >= second.height() * 2 * 1.5);
        QVERIFY(first.boundedTo(2 * second) == first);
    }
    QVERIFY(withBlocks > 0);
}

void TestScalingPlan::samplesOfEvenBlocksLieBetweenPixels()
{
    const int ratio = fixedPointRatio(3840, 960);
    for (int scaled = 0; scaled < 960; ++scaled)
        QCOMPARE(samplePosition(scaled, ratio), (qint64(4 * scaled + 1) << 16) + 32768);
}

void TestScalingPlan::samplesStayWithinThePicture()
{
    for (int source = 1; source < 5000; source += 37) {
        for (int scaled = 1; scaled <= source; scaled += 1 + scaled / 9) {
            const int ratio = fixedPointRatio(source, scaled);
            QVERIFY(firstSampled(0, ratio) >= 0);
            const qint64 last = samplePosition(scaled - 1, ratio);
            QVERIFY2(last <= qint64(source - 1) << 16,
                     qPrintable(QStringLiteral("%1 to %2").arg(source).arg(scaled)));
        }
    }
}

void TestScalingPlan::affectedPartHoldsAllThatChanges()
{
    for (const int source : {97, 640, 1080, 2160}) {
        for (const int scaled : {1, 13, 96, 97, 540}) {
            const int ratio = fixedPointRatio(source, scaled);
            for (int begin = 0; begin < source; begin += 7) {
                for (const int length : {1, 2, 50}) {
                    const QRect part(0, begin, 1, qMin(length, source - begin));
                    const QRect affected = affectedPart(part, {1, source}, {1, scaled});
                    for (int y = 0; y < scaled; ++y) {
                        const qint64 first = firstSampled(y, ratio);
                        const bool seesPart = first + 1 >= part.top() && first <= part.bottom();
                        QVERIFY(!seesPart || (y >= affected.top() && y <= affected.bottom()));
                    }
                }
            }
        }
    }
}

void TestScalingPlan::affectedPartIsTight()
{
    QCOMPARE(affectedPart({}, {1920, 1080}, {300, 168}), QRect());
    QCOMPARE(affectedPart({0, 0, 1920, 1080}, {1920, 1080}, {300, 168}), QRect(0, 0, 300, 168));
    const QRect one = affectedPart({960, 540, 1, 1}, {1920, 1080}, {300, 168});
    QVERIFY(one.width() <= 4 && one.height() <= 4);
    QVERIFY(one.contains(150, 84));
}

void TestScalingPlan::partsOutsideTheFrameVanish()
{
    const QRect frame(1000, 0, 500, 400);
    const auto parts =
        partsWithin(frame, {{0, 0, 900, 400}, {990, 10, 20, 30}, {1490, 390, 99, 99}});
    QCOMPARE(parts.size(), std::size_t(2));
    QCOMPARE(parts[0], QRect(0, 10, 10, 30));
    QCOMPARE(parts[1], QRect(490, 390, 10, 10));
    QVERIFY(partsWithin(frame, {}).empty());
}

void TestScalingPlan::manyPartsBecomeOne()
{
    std::vector<QRect> scattered;
    for (int i = 0; i < 100; ++i)
        scattered.emplace_back(10 + i, 20 + i, 2, 2);
    const auto parts = partsWithin({0, 0, 640, 480}, scattered);
    QCOMPARE(parts.size(), std::size_t(1));
    QCOMPARE(parts.front(), QRect(10, 20, 101, 101));
}

QTEST_APPLESS_MAIN(TestScalingPlan)
#include "tst_scalingplan.moc"
