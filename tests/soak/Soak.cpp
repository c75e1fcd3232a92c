#include "Soak.h"

#include <QDeadlineTimer>
#include <QTest>

#include <algorithm>
#include <utility>

namespace corvane::test {
namespace {

constexpr int kPollMs = 20;
/// As long as this the first round's state must stay the same.
constexpr int kSteadyMs = 2000;
constexpr int kSettleTimeoutMs = 30000;
/// A round goes on for as long until everything has been done once, however busy the machine is.
constexpr int kWorkTimeoutMs = 60000;

bool isSame(const ProcessState &one, const ProcessState &other)
{
    return one.threads == other.threads && one.descriptors == other.descriptors;
}

bool isAllDone(const Round &round)
{
    return std::none_of(round.done.begin(), round.done.end(),
                        [](qint64 done) { return done == 0; });
}

} // namespace

Soak::Soak(std::vector<Work *> works)
    : m_works(std::move(works))
{
}

QVector<Round> Soak::newRounds(int count)
{
    QVector<Round> rounds(count);
    for (Round &round : rounds) {
        noteDone(round);
        std::fill(round.done.begin(), round.done.end(), 0);
    }
    return rounds;
}

void Soak::doRound(Round &round, std::chrono::milliseconds length)
{
    for (Work *work : m_works)
        work->begin();
    QTest::qWait(int(length.count()));
    noteDone(round);
    const QDeadlineTimer deadline(kWorkTimeoutMs);
    while (!isAllDone(round) && !deadline.hasExpired()) {
        QTest::qWait(kPollMs);
        noteDone(round);
    }
    for (Work *work : m_works)
        work->end();
    round.state = settle();
    noteDone(round);
}

void Soak::noteDone(Round &round)
{
    for (Work *work : m_works) {
        const auto done = work->takeDone();
        for (auto one = done.begin(); one != done.end(); ++one)
            round.done[one.key()] += *one;
    }
}

QStringList Soak::failures() const
{
    QStringList failures;
    for (const Work *work : m_works)
        failures << work->failure();
    failures.removeAll(QString());
    return failures;
}

bool Soak::isIdle() const
{
    return std::all_of(m_works.begin(), m_works.end(), [](Work *work) {
        work->idle();
        return work->isIdle();
    });
}

ProcessState Soak::settle()
{
    const QDeadlineTimer deadline(kSettleTimeoutMs);
    QDeadlineTimer steady(kSteadyMs);
    ProcessState state = processState();
    while (!deadline.hasExpired()) {
        QTest::qWait(kPollMs);
        const bool idle = isIdle();
        const ProcessState before = std::exchange(state, processState());
        if (!idle || !isSame(state, before))
            steady.setRemainingTime(kSteadyMs);
        if (idle && (m_isFirst ? steady.hasExpired() : isSame(state, m_first)))
            break;
    }
    if (std::exchange(m_isFirst, false))
        m_first = state;
    return state;
}

QString tableHead(const Round &round)
{
    const QStringList names =
        QStringList{"after", "resident, MiB", "heap, KiB", "threads", "descriptors"}
        + round.done.keys();
    return "| " + names.join(" | ") + " |\n" + QString("|---").repeated(names.size()) + "|\n";
}

QString tableLine(const QString &name, const Round &round)
{
    QStringList cells{name, QString::number(double(round.state.residentBytes) / 1048576, 'f', 1),
                      QString::number(round.state.heapBytes / 1024),
                      QString::number(round.state.threads),
                      QString::number(round.state.descriptors)};
    for (const qint64 done : round.done)
        cells << QString::number(done);
    return "| " + cells.join(" | ") + " |\n";
}

} // namespace corvane::test
