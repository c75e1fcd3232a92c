#ifndef CORVANE_PREVIEW_SERVICEDESK_H
#define CORVANE_PREVIEW_SERVICEDESK_H

#include "InstallerDownload.h"
#include "UpdateCheck.h"

#include <LibCorvane/NetRCManager.h>

class QWidget;
class ServiceBar;
class ServiceMenu;

/// Does what the service menu offers, and tells in the bar how it goes.
class ServiceDesk : public QObject {
    Q_OBJECT
public:
    /// \param menu and \param bar outlive the desk.
    ServiceDesk(ServiceMenu &menu, ServiceBar &bar);

private:
    void connectCheck();
    void connectDownload();
    void check();
    void download();
    void openFeedback();

    ServiceMenu &m_menu;
    ServiceBar &m_bar;
    NetRCManager m_client;
    UpdateCheck m_check;
    InstallerDownload m_download;
};

#endif
