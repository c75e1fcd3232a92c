#include "Verdict.h"

namespace corvane::test {
namespace {

QString grown(const char *what, qint64 from, qint64 to)
{
    return QString("%1: %2 after the first round, %3 at the end").arg(what).arg(from).arg(to);
}

qint64 heapRise(const QVector<Round> &rounds)
{
    QVector<double> heap;
    for (const Round &round : rounds)
        heap << double(round.state.heapBytes);
    return qRound64(slopeOf(heap) * (rounds.size() - 1));
}

QStringList idleWork(const QVector<Round> &rounds)
{
    QStringList idle;
    for (int i = 0; i < rounds.size(); ++i) {
        for (auto work = rounds[i].done.begin(); work != rounds[i].done.end(); ++work) {
            if (*work == 0)
                idle << QString("%1: none in round %2").arg(work.key()).arg(i + 1);
        }
    }
    return idle;
}

} // namespace

double slopeOf(const QVector<double> &values)
{
    const double middle = double(values.size() - 1) / 2;
    double products = 0;
    double squares = 0;
    for (int i = 0; i < values.size(); ++i) {
        products += (i - middle) * values[i];
        squares += (i - middle) * (i - middle);
    }
    return squares > 0 ? products / squares : 0;
}

QStringList complaints(const QVector<Round> &rounds, const Allowance &allowance)
{
    if (rounds.size() < 2)
        return {"There is nothing to compare with: fewer than two rounds"};
    const ProcessState &first = rounds.first().state;
    const ProcessState &last = rounds.last().state;
    QStringList found;
    if (last.threads != first.threads)
        found << grown("threads", first.threads, last.threads);
    if (last.descriptors != first.descriptors)
        found << grown("descriptors", first.descriptors, last.descriptors);
    if (last.residentBytes - first.residentBytes > allowance.residentBytes)
        found << grown("resident bytes", first.residentBytes, last.residentBytes);
    if (heapRise(rounds) > allowance.heapBytes)
        found << QString("heap in use: a rise of %1 bytes").arg(heapRise(rounds));
    return found + idleWork(rounds);
}

} // namespace corvane::test
