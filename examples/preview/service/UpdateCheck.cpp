#include "UpdateCheck.h"

#include <LibCorvane/ConfigurationManager.h>
#include <LibCorvane/NetRCManager.h>

#include <QCoreApplication>

namespace {

constexpr int kLookEveryMs = 100;
const char kVersionKey[] = "latestVerion.version";

QJsonValue heardVersion()
{
    return ConfigurationManager::instance()->globalValue(kVersionKey);
}

void forgetVersion()
{
    ConfigurationManager::instance()->setGlobalValue(kVersionKey, QJsonValue::Null);
}

} // namespace

UpdateCheck::UpdateCheck(NetRCManager &client, int patienceMs)
    : m_client(client)
    , m_patienceMs(patienceMs)
{
    connect(&m_everyMoment, &QTimer::timeout, this, &UpdateCheck::look);
    connect(&m_client, &NetRCManager::hasNewAppVersion, this, [this] {
        end();
        const QString version = heardVersion().toString();
        // The library announces the running version, too.
        const bool isNewer = compareVersion(version, QCoreApplication::applicationVersion());
        if (isNewer)
            emit found(version);
        else
            emit foundNone(version);
    });
}

void UpdateCheck::start()
{
    forgetVersion();
    m_sinceStart.start();
    m_everyMoment.start(kLookEveryMs);
    m_client.checkVersion();
}

void UpdateCheck::look()
{
    if (heardVersion().isString()) {
        end();
        emit foundNone(heardVersion().toString());
    } else if (m_sinceStart.hasExpired(m_patienceMs)) {
        end();
        emit failed();
    }
}

void UpdateCheck::end()
{
    m_everyMoment.stop();
}
