#ifndef CORVANE_PREVIEW_INSTALLERDOWNLOAD_H
#define CORVANE_PREVIEW_INSTALLERDOWNLOAD_H

#include <QNetworkAccessManager>
#include <QObject>
#include <QTimer>

class NetRCManager;

/// Downloads the installer that was announced last, and tells how far it is.
///
/// The library announces success only; the file grows while it is downloaded and is removed when
/// the download fails.
class InstallerDownload : public QObject {
    Q_OBJECT
public:
    /// \param client outlives the download.
    explicit InstallerDownload(NetRCManager &client);

    /// Does nothing while one is running: there is but one file.
    void start();

signals:
    /// \param total is 0 while it is not known.
    void progressed(qint64 bytes, qint64 total);
    /// The verified installer lies in this file.
    void finished(const QString &fileName);
    /// The file cannot be written, the transfer broke off, or what came is not what was announced.
    void failed();

private:
    void askForSize();
    void look();

    NetRCManager &m_client;
    QNetworkAccessManager m_network;
    QTimer m_everyMoment;
    qint64 m_total = 0;
};

#endif
