// What a small picture of the screen costs: processor time of this process and of the X server
// together, for each frame, beside the usual alternatives.
#include "capture/CaptureWay.h"
#include "capture/Patterns.h"
#include "capture/Scenes.h"
#include "capture/Usage.h"

#include <support/XServer.h>

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QTextStream>

#include <malloc.h>

#include <algorithm>
#include <stdexcept>
#include <thread>

using namespace corvane;
using namespace corvane::bench;

namespace {

using std::chrono::nanoseconds;

/// Frames are drawn a little slower than LibCorvane captures at most.
constexpr std::chrono::milliseconds kPace(42);
constexpr int kWarmUpFrames = 3;
/// Ways differ by what they make of borders; another picture, or red and blue swapped, is far
/// beyond that.
constexpr double kTolerance = 40.0;

class Failure : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct Setting {
    const char *name;
    std::unique_ptr<Scene> (*makeScene)(test::XClient &client, QSize screen);
};

/// What a frame has taken, or the medians of a repetition's frames.
struct Cost {
    double process = 0.0; // milliseconds
    double server = 0.0;
    double drawing = 0.0; // in the server, not part of the cost

    double both() const { return process + server; }
};

/// All repetitions of one way on one scene.
struct Costs {
    std::vector<Cost> repetitions;
    std::vector<double> memory; // megabytes, both
};

/// Nothing is captured: what measuring itself costs.
class NoWay : public CaptureWay {
public:
    QImage frame() override { return {}; }
};

double milliseconds(nanoseconds time)
{
    return std::chrono::duration<double, std::milli>(time).count();
}

double least(std::vector<double> values)
{
    return *std::min_element(values.begin(), values.end());
}

double median(std::vector<double> values)
{
    const auto middle = values.begin() + std::ptrdiff_t(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

template <typename Value>
std::vector<double> each(const std::vector<Cost> &costs, const Value &value)
{
    std::vector<double> values;
    for (const Cost &cost : costs)
        values.push_back(std::invoke(value, cost));
    return values;
}

Cost medianOf(const std::vector<Cost> &frames)
{
    return {median(each(frames, &Cost::process)), median(each(frames, &Cost::server)),
            median(each(frames, &Cost::drawing))};
}

/// Processor time until now: of the X server, and of this process without what the main thread does
/// between its captures.
struct Reading {
    nanoseconds server;
    nanoseconds process;
};

/// Runs one way on one scene.
class Measurement {
public:
    Measurement(const test::XServer &server, test::XClient &client, Scene &scene)
        : m_server(server)
        , m_client(client)
        , m_scene(scene)
    {
    }

    void run(const NamedWay &named, int frames, Costs &costs)
    {
        malloc_trim(0);
        const qint64 memory = memoryOfBoth();
        m_way = named.make();
        m_nextFrame = std::chrono::steady_clock::now();
        if (!m_way->awaitFrame())
            throw Failure("no frame came");
        for (int i = 0; i < kWarmUpFrames; ++i)
            costOfFrame();
        std::vector<Cost> each;
        for (int i = 0; i < frames; ++i)
            each.push_back(costOfFrame());
        costs.repetitions.push_back(medianOf(each));
        costs.memory.push_back(double(memoryOfBoth() - memory) / 1e6);
    }

    /// The last frame.
    const QImage &frame() const { return m_frame; }

private:
    Cost costOfFrame()
    {
        // Until then a capture on a thread of its own has come to rest.
        std::this_thread::sleep_until(m_nextFrame);
        m_nextFrame = std::chrono::steady_clock::now() + kPace;
        m_drawing = {};
        const Reading begin = read();
        if (m_scene.moves())
            drawAndAwait();
        const nanoseconds captureBegin = threadTime();
        m_frame = m_way->frame();
        m_capturing += threadTime() - captureBegin;
        std::this_thread::sleep_until(m_nextFrame);
        const Reading end = read();
        return {milliseconds(end.process - begin.process),
                milliseconds(end.server - begin.server - m_drawing), milliseconds(m_drawing)};
    }

    void drawAndAwait()
    {
        m_way->prepare();
        {
            const DrawingGrab grab(m_client);
            const nanoseconds begin = m_server.cpuTime();
            m_scene.draw();
            m_client.sync();
            m_drawing = m_server.cpuTime() - begin;
        }
        if (!m_way->awaitFrame())
            throw Failure("a frame did not come");
    }

    Reading read() const
    {
        return {m_server.cpuTime(), processTime() - threadTime() + m_capturing};
    }

    qint64 memoryOfBoth() const
    {
        return memoryOf(QCoreApplication::applicationPid()) + memoryOf(m_server.processId());
    }

    const test::XServer &m_server;
    test::XClient &m_client;
    Scene &m_scene;
    std::unique_ptr<CaptureWay> m_way;
    QImage m_frame;
    std::chrono::steady_clock::time_point m_nextFrame;
    nanoseconds m_drawing{};
    nanoseconds m_capturing{};
};

void verify(const QImage &frame, test::XClient &client, const NamedWay &way)
{
    const QImage screen = client.grab({{0, 0}, client.screenSize()});
    const double difference =
        rootMeanSquare(frame, areaAverage(screen, pictureSize(screen.size())));
    if (!(difference < kTolerance))
        throw Failure("wrong picture by " + std::to_string(difference) + ": "
                      + way.name.toStdString());
}

QString text(double least, double median, int digits)
{
    return QString("%1 (%2)").arg(least, 0, 'f', digits).arg(median, 0, 'f', digits);
}

template <typename Value>
QString text(const Costs &costs, const Value &value)
{
    const auto values = each(costs.repetitions, value);
    return text(least(values), median(values), 3);
}

QString ratio(const Costs &costs, const Costs &ours)
{
    const auto other = each(costs.repetitions, &Cost::both);
    const auto library = each(ours.repetitions, &Cost::both);
    return text(least(other) / least(library), median(other) / median(library), 1);
}

void print(QTextStream &out, const QString &title, const std::vector<NamedWay> &ways,
           const std::vector<Costs> &costs)
{
    out << "\n| " << title << " | both | process | server | times ours | drawing | memory |\n"
        << "|---|---|---|---|---|---|---|\n";
    for (std::size_t i = 0; i < ways.size(); ++i)
        out << "| " << ways[i].name << " | " << text(costs[i], &Cost::both) << " | "
            << text(costs[i], &Cost::process) << " | " << text(costs[i], &Cost::server) << " | "
            << ratio(costs[i], costs[0]) << " | " << text(costs[i], &Cost::drawing) << " | "
            << QString::number(median(costs[i].memory), 'f', 1) << " |\n";
    out.flush();
}

void measure(QTextStream &out, const Setting &setting, QSize screen, int frames, int repetitions)
{
    const test::XServer server({screen, 24, {}});
    if (!server.isRunning())
        throw Failure("no X server: " + server.log().toStdString());
    server.useForThisProcess();
    test::XClient client(server.display());
    const auto scene = setting.makeScene(client, screen);
    scene->draw();
    client.sync();

    auto ways = captureWays(server.display(), screen);
    const std::size_t captures = ways.size();
    ways.push_back({"nothing", [] { return std::make_unique<NoWay>(); }});
    std::vector<Costs> costs(ways.size());
    // A slow minute must not hit one way only.
    for (int repetition = 0; repetition < repetitions; ++repetition) {
        for (std::size_t i = 0; i < ways.size(); ++i) {
            Measurement measurement(server, client, *scene);
            measurement.run(ways[i], frames, costs[i]);
            if (i < captures)
                verify(measurement.frame(), client, ways[i]);
        }
    }
    print(out, QString("%1 x %2, %3").arg(screen.width()).arg(screen.height()).arg(setting.name),
          ways, costs);
}

int number(const QCommandLineParser &parser, const QString &option)
{
    const int value = parser.value(option).toInt();
    if (value < 1)
        throw Failure("--" + option.toStdString() + " takes a number above 0");
    return value;
}

void measureAll(const QCommandLineParser &parser)
{
    constexpr Setting settings[] = {{"the whole screen moves", makeWholeScreenScene},
                                    {"a window moves", makeWindowScene},
                                    {"still", makeStillScene}};
    const int frames = number(parser, "frames");
    const int repetitions = number(parser, "repetitions");
    QTextStream out(stdout);
    out << "Processor time in milliseconds for a frame (still: a tick): the median of " << frames
        << " frames, least of " << repetitions << " repetitions and (their median).\n"
        << "Memory in megabytes, this process and the server, median.\n";
    for (const QSize screen : {QSize(1920, 1080), QSize(3840, 2160)})
        for (const Setting &setting : settings)
            measure(out, setting, screen, frames, repetitions);
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    parser.addHelpOption();
    parser.addOption({"frames", "Frames of a repetition.", "number", "20"});
    parser.addOption({"repetitions", "Repetitions of each way.", "number", "7"});
    parser.process(application);
    try {
        measureAll(parser);
    } catch (const Failure &failure) {
        QTextStream(stderr) << failure.what() << Qt::endl;
        return 1;
    }
    return 0;
}
