// How near the small pictures of several ways to capture a screen come to the exact average of what
// each pixel stands for, and how much they flicker when something thin moves.
#include "capture/CaptureWay.h"
#include "capture/Patterns.h"
#include "capture/Scenes.h"

#include <support/XServer.h>

#include <QCoreApplication>
#include <QTextStream>

#include <cmath>
#include <numeric>
#include <stdexcept>
#include <vector>

using namespace corvane;
using namespace corvane::bench;

namespace {

constexpr int kFrames = 64;

class Failure : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

QImage nextFrame(CaptureWay &way)
{
    QImage frame = way.awaitFrame() ? way.frame() : QImage();
    if (frame.isNull())
        throw Failure("no frame");
    return frame;
}

struct Sample {
    QImage picture;
    ExactPicture average;
};

std::vector<Sample> samplesFor(QSize screen)
{
    std::vector<Sample> samples;
    for (const Pattern &pattern : patterns()) {
        const QImage picture = pattern.make(screen);
        samples.push_back({picture, areaAverage(picture, pictureSize(screen))});
    }
    return samples;
}

template <typename Draw>
QImage frameOf(CaptureWay &way, test::XClient &client, const Draw &draw)
{
    way.prepare();
    {
        const DrawingGrab grab(client);
        draw();
    }
    client.sync();
    return nextFrame(way);
}

double difference(CaptureWay &way, test::XClient &client, const Sample &sample)
{
    const auto draw = [&] { client.draw({0, 0}, sample.picture); };
    return rootMeanSquare(frameOf(way, client, draw), sample.average);
}

double brightness(const QImage &frame)
{
    double sum = 0.0;
    for (int y = 0; y < frame.height(); ++y)
        for (int x = 0; x < frame.width(); ++x) {
            const QRgb pixel = frame.pixel(x, y);
            sum += qRed(pixel) + qGreen(pixel) + qBlue(pixel);
        }
    return sum;
}

/// The standard deviation over the frames, relative to the mean.
double relativeDeviation(const std::vector<double> &values)
{
    const double mean = std::accumulate(values.begin(), values.end(), 0.0) / double(values.size());
    const double squares =
        std::accumulate(values.begin(), values.end(), 0.0, [mean](double sum, double value) {
            return sum + (value - mean) * (value - mean);
        });
    return std::sqrt(squares / double(values.size())) / mean;
}

/// A bright line of one pixel moves over a dark screen, one pixel a frame.
double flicker(CaptureWay &way, test::XClient &client, QSize screen, Qt::Orientation line)
{
    std::vector<double> values;
    for (int i = 0; i < kFrames; ++i) {
        const QRect place = line == Qt::Vertical
            ? QRect(screen.width() / 2 + i, 0, 1, screen.height())
            : QRect(0, screen.height() / 2 + i, screen.width(), 1);
        const auto draw = [&] {
            client.fill({{0, 0}, screen}, Qt::black);
            client.fill(place, Qt::white);
        };
        values.push_back(brightness(frameOf(way, client, draw)));
    }
    return relativeDeviation(values);
}

void printRow(QTextStream &out, const NamedWay &named, test::XClient &client, QSize screen,
              const std::vector<Sample> &samples)
{
    const auto way = named.make();
    nextFrame(*way);
    out << "| " << named.name;
    for (const Sample &sample : samples)
        out << " | " << QString::number(difference(*way, client, sample), 'f', 1);
    for (const auto line : {Qt::Vertical, Qt::Horizontal})
        out << " | " << QString::number(100 * flicker(*way, client, screen, line), 'f', 1) << " %";
    out << " |" << Qt::endl;
}

void printTable(QTextStream &out, QSize screen)
{
    const test::XServer server({screen, 24, {}});
    if (!server.isRunning())
        throw Failure("no X server: " + server.log().toStdString());
    server.useForThisProcess();
    test::XClient client(server.display());
    out << "\n| " << screen.width() << " x " << screen.height();
    for (const Pattern &pattern : patterns())
        out << " | " << pattern.name;
    out << " | flicker, upright | flicker, level |\n"
        << QString("|---").repeated(int(patterns().size()) + 3) << '|' << Qt::endl;
    const auto samples = samplesFor(screen);
    for (const NamedWay &way : captureWays(server.display(), screen))
        printRow(out, way, client, screen, samples);
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    QTextStream out(stdout);
    out << "Root mean square difference from the exact average, 0 to 255; flicker is the standard\n"
           "deviation of the whole brightness while a line of one pixel moves, relative to its "
           "mean.\n";
    try {
        for (const QSize screen : {QSize(1920, 1080), QSize(3840, 2160)})
            printTable(out, screen);
    } catch (const Failure &failure) {
        QTextStream(stderr) << failure.what() << Qt::endl;
        return 1;
    }
    return 0;
}
