#include "ServiceDesk.h"

#include "FeedbackDialog.h"
#include "ServiceBar.h"
#include "ServiceMenu.h"

#include <QDir>
#include <QLocale>

namespace {

QString sizeText(qint64 bytes)
{
    return QLocale().formattedDataSize(bytes, 1);
}

QString progressText(qint64 bytes, qint64 total)
{
    if (total <= 0)
        return QStringLiteral("Downloading: %1").arg(sizeText(bytes));
    return QStringLiteral("Downloading: %1 of %2").arg(sizeText(bytes), sizeText(total));
}

} // namespace

ServiceDesk::ServiceDesk(ServiceMenu &menu, ServiceBar &bar)
    : m_menu(menu)
    , m_bar(bar)
    , m_client(nullptr)
    , m_check(m_client)
    , m_download(m_client)
{
    connect(&m_menu, &ServiceMenu::updateCheckChosen, this, &ServiceDesk::check);
    connect(&m_menu, &ServiceMenu::downloadChosen, this, &ServiceDesk::download);
    connect(&m_menu, &ServiceMenu::feedbackChosen, this, &ServiceDesk::openFeedback);
    connect(&m_bar, &ServiceBar::taken, this, &ServiceDesk::download);
    connectCheck();
    connectDownload();
}

void ServiceDesk::connectCheck()
{
    connect(&m_check, &UpdateCheck::found, this, [this](const QString &version) {
        m_bar.offer(QStringLiteral("Version %1 can be downloaded.").arg(version),
                    QStringLiteral("Download"));
    });
    connect(&m_check, &UpdateCheck::foundNone, this, [this](const QString &version) {
        m_bar.say(QStringLiteral("There is no newer version; the service has %1.").arg(version));
    });
    connect(&m_check, &UpdateCheck::failed, this, [this] {
        m_bar.say(QStringLiteral("There is no answer from %1; the option --service names another "
                                 "host.")
                      .arg(NetRCManager::serviceHost()));
    });
}

void ServiceDesk::connectDownload()
{
    connect(&m_download, &InstallerDownload::progressed, this, [this](qint64 bytes, qint64 total) {
        m_bar.showProgress(progressText(bytes, total), bytes, total);
    });
    connect(&m_download, &InstallerDownload::finished, this, [this](const QString &fileName) {
        m_bar.say(QStringLiteral("The verified installer lies in %1.")
                      .arg(QDir::toNativeSeparators(fileName)));
    });
    connect(&m_download, &InstallerDownload::failed, this, [this] {
        m_bar.say(QStringLiteral("There is no installer: the download failed, or what came is not "
                                 "what the service had announced."));
    });
}

void ServiceDesk::check()
{
    m_bar.showProgress(QStringLiteral("Asking %1…").arg(NetRCManager::serviceHost()), 0, 0);
    m_check.start();
}

void ServiceDesk::download()
{
    m_download.start();
}

void ServiceDesk::openFeedback()
{
    auto *dialog = new FeedbackDialog(m_client, m_menu.window());
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->open();
}
