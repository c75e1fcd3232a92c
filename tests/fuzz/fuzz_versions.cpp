// Versions against a comparison of the test's own; dates against QDate. Lines: three versions, then
// a text of a date, then a day as a number.

#include "Fuzzing.h"

#include <LibCorvane/NetRCManager.h>

#include <QDate>
#include <QStringList>

#include <cstdint>
#include <limits>

using namespace corvane::fuzz;

namespace {

/// What a part of a version counts for: a decimal int with blanks around it, and else nothing.
qint64 numberOf(const QString &part)
{
    const QString text = part.trimmed();
    const bool isSigned = text.startsWith('-') || text.startsWith('+');
    const qint64 sign = text.startsWith('-') ? -1 : 1;
    qint64 number = 0;
    for (const QChar c : text.mid(isSigned ? 1 : 0)) {
        if (c < u'0' || c > u'9')
            return 0;
        number = 10 * number + sign * (c.unicode() - u'0');
        if (number < std::numeric_limits<int>::min() || number > std::numeric_limits<int>::max())
            return 0;
    }
    return number;
}

/// Above, below or equal to 0 as the one version is to the other.
int order(const QString &a, const QString &b)
{
    const QString left = a.section('.', 0, 0);
    const QString right = b.section('.', 0, 0);
    const qint64 difference = numberOf(left) - numberOf(right);
    if (difference != 0)
        return difference > 0 ? 1 : -1;
    const QString leftRest = a.mid(left.size() + 1);
    const QString rightRest = b.mid(right.size() + 1);
    return leftRest.isEmpty() && rightRest.isEmpty() ? 0 : order(leftRest, rightRest);
}

void checkPair(const QString &a, const QString &b)
{
    const int expected = order(a, b);
    require(compareVersion(a, b) == (expected > 0), "a version is greater when its parts are");
    require(compareVersion(b, a) == (expected < 0), "a version is less when its parts are");
    require(!compareVersion(a, a), "no version is greater than itself");
}

void checkChain(const QString &a, const QString &b, const QString &c)
{
    const bool isChain = compareVersion(a, b) && compareVersion(b, c);
    require(!isChain || compareVersion(a, c), "greater than the greater is greater");
    const auto areEqual = [](const QString &x, const QString &y) {
        return !compareVersion(x, y) && !compareVersion(y, x);
    };
    require(!areEqual(a, b) || !areEqual(b, c) || areEqual(a, c), "equal to the equal is equal");
}

constexpr const char *kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                   "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

void checkDay(int64_t number)
{
    const qint64 first = QDate(1, 1, 1).toJulianDay();
    const qint64 days = QDate(9999, 12, 31).toJulianDay() - first + 1;
    const QDate day = QDate::fromJulianDay(first + qAbs(number % days));
    const QString text = QStringLiteral("%1 %2 %3")
                             .arg(kMonths[day.month() - 1])
                             .arg(day.day(), 2, 10, QChar('0'))
                             .arg(day.year(), 4, 10, QChar('0'));
    require(convertDateMacro(text) == day, "every day is read");
}

void checkDate(const QString &text)
{
    const QDate date = convertDateMacro(text);
    for (int month = 1; month <= 12; ++month) {
        if (text.startsWith(kMonths[month - 1]) && date.isValid())
            require(date.month() == month, "a date is in its month");
    }
    if (date.isValid())
        require(text.contains(QString::number(date.day())), "a date's text holds its day");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    Input input(data, size);
    const QString a = textOf(input.line());
    const QString b = textOf(input.line());
    const QString c = textOf(input.line());
    checkPair(a, b);
    checkPair(b, c);
    checkChain(a, b, c);
    checkDate(textOf(input.line()));
    checkDay(input.line().toLongLong());
    return 0;
}
