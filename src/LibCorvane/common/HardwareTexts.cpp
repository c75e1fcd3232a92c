#include "HardwareTexts_p.h"

#include <algorithm>

namespace corvane {
namespace {

constexpr qint64 kGibibyte = qint64(1) << 30;
constexpr qint64 kKibibyte = qint64(1) << 10;
constexpr int kHexadecimal = 16;

struct SizeCount {
    QSize size;
    int count;
};

QVector<SizeCount> countSizes(const QVector<QSize> &screens)
{
    QVector<SizeCount> counts;
    for (const QSize &size : screens) {
        const auto sameSize = [&size](const SizeCount &entry) { return entry.size == size; };
        const auto known = std::find_if(counts.begin(), counts.end(), sameSize);
        if (known == counts.end())
            counts.append({size, 1});
        else
            ++known->count;
    }
    return counts;
}

} // namespace

QString cpuIdText(const std::optional<CpuIdWords> &words)
{
    if (!words)
        return QString();
    return QString::number(words->at(3), kHexadecimal).toUpper()
        + QString::number(words->at(0), kHexadecimal).toUpper();
}

QString screensText(const QVector<QSize> &screens)
{
    QStringList entries;
    for (const SizeCount &entry : countSizes(screens)) {
        entries << QStringLiteral("(%1 X %2) X %3")
                       .arg(entry.size.width())
                       .arg(entry.size.height())
                       .arg(entry.count);
    }
    return entries.join(QStringLiteral(u"\u3001 "));
}

QString driveText(const QString &name, qint64 freeBytes, qint64 totalBytes)
{
    // Readers of reports know that the second figure counts in KiB.
    return QStringLiteral("%1 %2G/%3G  ")
        .arg(name, QString::number(freeBytes / kGibibyte), QString::number(totalBytes / kKibibyte));
}

QString adaptersText(const QStringList &names)
{
    QString text;
    for (const QString &name : names) {
        const QString trimmed = name.trimmed();
        if (!trimmed.isEmpty())
            text += u'\n' + trimmed;
    }
    return text.trimmed();
}

QString withoutColons(const QString &address)
{
    return address.split(u':').join(QString());
}

} // namespace corvane
