#include "ScriptedInterfaces.h"

#include <QMutex>

#include <private/qnetworkinterface_p.h>

namespace corvane::test {
namespace {

/// A thread of Qt's asks for the interfaces, too.
struct Script {
    QMutex mutex;
    QList<QNetworkInterface> interfaces;
};

Script &script()
{
    static Script script;
    return script;
}

using Data = QSharedDataPointer<QNetworkInterfacePrivate>;

Data &dataOf(QNetworkInterface &interface);

// Qt has no other way to make an interface: an explicit instantiation may name a private member.
template <Data QNetworkInterface::*Member>
struct Opened {
    friend Data &dataOf(QNetworkInterface &interface) { return interface.*Member; }
};
template struct Opened<&QNetworkInterface::d>;

} // namespace

ScriptedInterface loopBack()
{
    return {"00:00:00:00:00:00",
            QNetworkInterface::IsUp | QNetworkInterface::IsRunning | QNetworkInterface::IsLoopBack};
}

void setInterfaces(const QVector<ScriptedInterface> &wantedOnes)
{
    QList<QNetworkInterface> interfaces;
    for (const ScriptedInterface &wanted : wantedOnes) {
        QNetworkInterface interface;
        auto *data = new QNetworkInterfacePrivate; // shared and counted by the interface
        data->flags = wanted.flags;
        data->hardwareAddress = wanted.address;
        dataOf(interface) = data;
        interfaces.append(interface);
    }
    const QMutexLocker locker(&script().mutex);
    script().interfaces = interfaces;
}

} // namespace corvane::test

QList<QNetworkInterface> QNetworkInterface::allInterfaces()
{
    auto &script = corvane::test::script();
    const QMutexLocker locker(&script.mutex);
    return script.interfaces;
}
