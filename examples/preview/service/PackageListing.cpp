#include "PackageListing.h"

#include <QLocale>
#include <private/qzipreader_p.h>

QStringList packageListing(const QString &zipFile)
{
    QStringList lines;
    const QZipReader zip(zipFile);
    for (const QZipReader::FileInfo &entry : zip.fileInfoList()) {
        if (entry.isFile)
            lines += QStringLiteral("%1  (%2)")
                         .arg(entry.filePath, QLocale().formattedDataSize(entry.size, 1));
    }
    return lines;
}
