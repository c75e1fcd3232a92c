#include "CaptureRecord.h"

#include "support/XClient.h"
#include "support/XServer.h"

#include <QRandomGenerator>

#include <algorithm>
#include <cmath>
#include <vector>

using namespace corvane::test;

namespace {

constexpr QSize kScreen(1920, 1080);
constexpr QSize kFrame(300, 168);

using Plane = std::vector<double>;

double grey(const QImage &image, int x, int y)
{
    return qGreen(image.pixel(x, y));
}

// The share of the source pixel that lies between two positions.
double overlap(int pixel, double begin, double end)
{
    return std::max(0.0, std::min(end, pixel + 1.0) - std::max(begin, double(pixel)));
}

// What a small picture is at best: each pixel the mean of the area that it covers.
Plane areaAverage(const QImage &source)
{
    const double stepX = double(source.width()) / kFrame.width();
    const double stepY = double(source.height()) / kFrame.height();
    Plane plane;
    for (int row = 0; row < kFrame.height(); ++row) {
        for (int column = 0; column < kFrame.width(); ++column) {
            double sum = 0;
            for (int y = int(row * stepY); y < std::min((row + 1) * stepY, 1.0 * source.height());
                 ++y)
                for (int x = int(column * stepX);
                     x < std::min((column + 1) * stepX, 1.0 * source.width()); ++x)
                    sum += grey(source, x, y) * overlap(x, column * stepX, (column + 1) * stepX)
                        * overlap(y, row * stepY, (row + 1) * stepY);
            plane.push_back(sum / (stepX * stepY));
        }
    }
    return plane;
}

// What the four pixels around each centre give, as a single bilinear pass sees the source.
Plane fourNeighbours(const QImage &source)
{
    Plane plane;
    for (int row = 0; row < kFrame.height(); ++row) {
        const double y = (row + 0.5) * source.height() / kFrame.height() - 0.5;
        const double down = y - std::floor(y);
        for (int column = 0; column < kFrame.width(); ++column) {
            const double x = (column + 0.5) * source.width() / kFrame.width() - 0.5;
            const double right = x - std::floor(x);
            const int left = int(x);
            const int top = int(y);
            plane.push_back(
                (1 - down)
                    * ((1 - right) * grey(source, left, top) + right * grey(source, left + 1, top))
                + down
                    * ((1 - right) * grey(source, left, top + 1)
                       + right * grey(source, left + 1, top + 1)));
        }
    }
    return plane;
}

Plane planeOf(const QImage &frame)
{
    Plane plane;
    for (int y = 0; y < frame.height(); ++y)
        for (int x = 0; x < frame.width(); ++x)
            plane.push_back(grey(frame, x, y));
    return plane;
}

double rootMeanSquare(const Plane &a, const Plane &b)
{
    double sum = 0;
    for (std::size_t i = 0; i < a.size(); ++i)
        sum += (a[i] - b[i]) * (a[i] - b[i]);
    return std::sqrt(sum / double(a.size()));
}

double total(const QImage &frame)
{
    const Plane plane = planeOf(frame);
    double sum = 0;
    for (const double value : plane)
        sum += value;
    return sum;
}

QImage noise()
{
    QImage image(kScreen, QImage::Format_RGB32);
    QRandomGenerator random(1);
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            image.setPixel(x, y, random.generate() % 2 ? qRgb(255, 255, 255) : qRgb(0, 0, 0));
    return image;
}

QImage thinLines()
{
    QImage image(kScreen, QImage::Format_RGB32);
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            image.setPixel(x, y,
                           x % 17 == 0 || y % 13 == 0 ? qRgb(255, 255, 255) : qRgb(20, 20, 20));
    return image;
}

} // namespace

class TestX11Quality : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();

    void fineDetailIsAveraged_data();
    void fineDetailIsAveraged();
    void thinLineDoesNotFlicker_data();
    void thinLineDoesNotFlicker();

private:
    std::unique_ptr<XServer> m_server;
    std::unique_ptr<XClient> m_client;
    CaptureRecord m_record;
};

void TestX11Quality::initTestCase()
{
    m_server = std::make_unique<XServer>(XServerOptions{kScreen, 24, {}});
    QVERIFY2(m_server->isRunning(), qPrintable(m_server->log()));
    m_server->useForThisProcess();
    m_client = std::make_unique<XClient>(m_server->display());
    m_record = captureOf(0);
    QVERIFY(m_record);
}

void TestX11Quality::fineDetailIsAveraged_data()
{
    QTest::addColumn<QImage>("picture");
    QTest::newRow("noise of single pixels") << noise();
    QTest::newRow("lines of one pixel") << thinLines();
}

// A single bilinear pass, with which the picture would flicker, is the measure.
void TestX11Quality::fineDetailIsAveraged()
{
    QFETCH(QImage, picture);
    m_client->fill(QRect(QPoint(0, 0), kScreen), Qt::red);
    QVERIFY(m_client->sync());
    QVERIFY(isFilled(frameIn(m_record, Qt::red), Qt::red));
    m_client->draw({0, 0}, picture);
    QVERIFY(m_client->sync());
    const auto fresh = captureOf(0);
    const QImage expected = firstFrame(fresh);
    const QImage frame =
        frameThat(m_record, [&expected](const QImage &image) { return image == expected; });
    QCOMPARE(frame, expected);

    const Plane best = areaAverage(picture);
    const double error = rootMeanSquare(planeOf(frame), best);
    const double singlePass = rootMeanSquare(fourNeighbours(picture), best);
    qInfo("root mean square difference: %.2f, single pass: %.2f", error, singlePass);
    QVERIFY(error < singlePass / 4);
}

void TestX11Quality::thinLineDoesNotFlicker_data()
{
    QTest::addColumn<bool>("isVertical");
    QTest::newRow("vertical") << true;
    QTest::newRow("horizontal") << false;
}

// Wherever the line stands, it adds about the same light.
void TestX11Quality::thinLineDoesNotFlicker()
{
    QFETCH(bool, isVertical);
    double least = 1e9;
    double most = 0;
    for (int position = 900; position < 920; ++position) {
        m_client->fill(QRect(QPoint(0, 0), kScreen), Qt::black);
        const QRect line = isVertical ? QRect(position, 0, 1, kScreen.height())
                                      : QRect(0, position, kScreen.width(), 1);
        m_client->fill(line, Qt::white);
        QVERIFY(m_client->sync());
        const double light = total(firstFrame(captureOf(0)));
        least = std::min(least, light);
        most = std::max(most, light);
    }
    qInfo("light of a line: %.0f to %.0f", least, most);
    QVERIFY(most > 0);
    QVERIFY(least > most / 3);
}

QTEST_GUILESS_MAIN(TestX11Quality)
#include "tst_x11quality.moc"
