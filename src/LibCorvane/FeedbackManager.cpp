#include "FeedbackManager.h"

#include "ConfigurationManager.h"
#include "FeedbackPackage_p.h"

#include <QDateTime>
#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QNetworkInterface>

#include <algorithm>

#include <private/qzipwriter_p.h>

namespace {

constexpr const char *kDirectories[] = {
    "controllers",  "dumps",           "effects",           "logs",
    "logs/devices", "logs/usrOptions", "capturerScreenshot"};

struct NewestFiles {
    const char *folder;
    const char *pattern;
    int atMost;
};

constexpr NewestFiles kNewestFiles[] = {
    {"logs", "*.log", 30},
    {"logs/devices", "*.log", 30},
    {"logs/usrOptions", "*.log", 20},
    {"capturerScreenshot", "*.png", 20},
    {"dumps", "*.dmp", 256},
};

constexpr int kMaxCrashReports = 20;

QString contactInfoKey()
{
    return QStringLiteral("userContactInfo");
}

QString dataRoot()
{
    return ConfigurationManager::instance()->configPath();
}

QString messageFileName(const QString &contactInfo)
{
    return contactInfo + QLatin1String(".txt");
}

} // namespace

FeedbackManager::FeedbackManager(QObject *parent)
    : QObject(parent)
{
    auto *settings = ConfigurationManager::instance();
    m_userContactInfo = settings->globalValue(contactInfoKey()).toString();
    settings->saveGlobalValues();
    const QString time =
        QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd_hh-mm-ss"));
    m_feedbackFileName = dataRoot() + QLatin1String("/Corvane_") + getMacAddress() + u'_' + time
        + QLatin1String(".zip");
}

FeedbackManager::~FeedbackManager() = default;

QString FeedbackManager::getMacAddress() const
{
    const QList<QNetworkInterface> interfaces = QNetworkInterface::allInterfaces();
    for (const QNetworkInterface &interface : interfaces) {
        if (!interface.flags().testFlag(QNetworkInterface::IsLoopBack))
            return interface.hardwareAddress();
    }
    return QString();
}

void FeedbackManager::zipFeedbackFile(const QString &zipPath)
{
    corvane::PackageFile file(zipPath);
    if (!file.openForWriting())
        return;
    QZipWriter zip(&file);
    packEverything(zip);
    zip.close();
    // Half a package would look like one to whoever is to send it. What is no file, but a device,
    // is not ours to remove.
    if (!file.isWhole() && QFileInfo(zipPath).isFile())
        file.remove();
}

QString FeedbackManager::zipFeedbackFile()
{
    zipFeedbackFile(m_feedbackFileName);
    return m_feedbackFileName;
}

void FeedbackManager::packEverything(QZipWriter &zip)
{
    for (const char *directory : kDirectories)
        zip.addDirectory(QLatin1String(directory));
    const QString root = dataRoot();
    addFileToZip(zip, root, QStringLiteral("global.json"));
    addFileToZip(zip, root, QStringLiteral("controllers"));
    addFileToZip(zip, root, QStringLiteral("effects"));
    if (!m_userContactInfo.isEmpty())
        addFileToZip(zip, root, messageFileName(m_userContactInfo));
    for (const NewestFiles &files : kNewestFiles) {
        addLastFilesToZip(zip, root, QLatin1String(files.folder), files.atMost,
                          QLatin1String(files.pattern));
    }
}

void FeedbackManager::addFileToZip(QZipWriter &zip, const QString &baseDir, const QString &path)
{
    corvane::packPath(zip, baseDir, path);
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the interface takes the folder by value.
void FeedbackManager::addLastFilesToZip(QZipWriter &zip, const QString &baseDir, QString subDir,
                                        int count, const QString &pattern)
{
    QDir folder(baseDir);
    folder.cd(subDir);
    const QStringList names = folder.entryList({pattern}, QDir::Files, QDir::Time);
    for (const QString &name : names.mid(0, std::max(count, 0)))
        addFileToZip(zip, baseDir, subDir + u'/' + name);
}

void FeedbackManager::copyAppleCrashLogs()
{
    const QDir source(QDir::homePath() + QLatin1String("/Library/Logs/DiagnosticReports"));
    const QDir target(dataRoot() + QLatin1String("/ips"));
    if (!source.exists()) {
        qWarning() << "[FeedbackManager]: Not found path:" << source.absolutePath();
        return;
    }
    if (!target.exists())
        QDir(dataRoot()).mkdir(QStringLiteral("ips"));
    qDebug() << "[FeedbackManager]: " << source.absolutePath() << "\r\n" << target.absolutePath();
    const QFileInfoList reports =
        source.entryInfoList({QStringLiteral("*.ips")}, QDir::NoFilter, QDir::Time);
    for (const QFileInfo &report : reports.mid(0, kMaxCrashReports))
        QFile::copy(report.absoluteFilePath(), target.absoluteFilePath(report.fileName()));
}

QString FeedbackManager::userContactInfo() const
{
    return m_userContactInfo;
}

QString FeedbackManager::userMsg() const
{
    return m_userMsg;
}

QString FeedbackManager::feedbackFileName() const
{
    return m_feedbackFileName;
}

QString FeedbackManager::messageFile() const
{
    return dataRoot() + u'/' + messageFileName(m_userContactInfo);
}

// NOLINTBEGIN(performance-unnecessary-value-param): the interface takes the texts by value.
void FeedbackManager::setUserMsg(QString msg)
{
    m_userMsg = msg;
    QFile file(messageFile());
    // Not truncated: what a longer message left behind the end of this one is to be kept.
    if (!file.open(QIODevice::ReadWrite)) {
        qWarning() << "Failed to open user feedback message file. " << file.errorString();
        return;
    }
    file.write(msg.toUtf8());
}

void FeedbackManager::setUserContactInfo(QString contactInfo)
{
    if (QFile::exists(messageFile()))
        QDir(dataRoot()).rename(messageFileName(m_userContactInfo), messageFileName(contactInfo));
    m_userContactInfo = contactInfo;
    auto *settings = ConfigurationManager::instance();
    settings->setGlobalValue(contactInfoKey(), contactInfo);
    settings->saveGlobalValues();
}
// NOLINTEND(performance-unnecessary-value-param)
