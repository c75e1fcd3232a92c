#ifndef LIBCORVANE_COMMON_HARDWARETEXTS_P_H
#define LIBCORVANE_COMMON_HARDWARETEXTS_P_H

#include <LibCorvane/common/CpuId_p.h>

#include <QSize>
#include <QString>
#include <QStringList>
#include <QVector>

namespace corvane {

/// The fourth word, then the first, in upper-case hexadecimal without padding; empty without words.
QString cpuIdText(const std::optional<CpuIdWords> &words);

/// The sizes in the order in which they are first met, with the number of screens of each.
QString screensText(const QVector<QSize> &screens);

/// One drive's entry, separator included: free GiB, but whole KiB.
QString driveText(const QString &name, qint64 freeBytes, qint64 totalBytes);

/// The names that are not empty, trimmed and joined by line feeds.
QString adaptersText(const QStringList &names);

/// A hardware address without its colons.
QString withoutColons(const QString &address);

} // namespace corvane

#endif
