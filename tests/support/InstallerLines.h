#ifndef CORVANE_TESTS_INSTALLERLINES_H
#define CORVANE_TESTS_INSTALLERLINES_H

#include <QString>

namespace corvane::test {

// What logged() gives for each line that a download can bring.

inline QString downloadLine(const char *level, const QString &message)
{
    return QString("%1|default|NetRCManager::downloadLatestApp|").arg(level) + message;
}

inline QString digestLine(const QString &computed, const QString &announced)
{
    return downloadLine("debug", QString("\"%1\" \"%2\"").arg(computed, announced));
}

inline QString successLine()
{
    return downloadLine("info", "The new installation file has been downloaded");
}

inline QString mismatchLine()
{
    return downloadLine("warning", "The md5 of the new installation file is wrong");
}

inline QString errorLine(const QString &reason)
{
    return downloadLine("warning", "Error: \"" + QString(reason).replace('"', "\\\"") + '"');
}

inline QString unwrittenLine(const QString &reason)
{
    return downloadLine(
        "warning",
        QString("An error occurred when trying to write the installation file \"%1\"").arg(reason));
}

} // namespace corvane::test

#endif
