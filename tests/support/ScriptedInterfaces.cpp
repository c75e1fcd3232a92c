#include "ScriptedInterfaces.h"

#include <private/qnetworkinterface_p.h>

namespace corvane::test {
namespace {

QList<QNetworkInterface> &script()
{
    static QList<QNetworkInterface> interfaces;
    return interfaces;
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

void setInterfaces(const QVector<ScriptedInterface> &interfaces)
{
    script().clear();
    for (const ScriptedInterface &wanted : interfaces) {
        QNetworkInterface interface;
        auto *data = new QNetworkInterfacePrivate; // shared and counted by the interface
        data->flags = wanted.flags;
        data->hardwareAddress = wanted.address;
        dataOf(interface) = data;
        script().append(interface);
    }
}

} // namespace corvane::test

QList<QNetworkInterface> QNetworkInterface::allInterfaces()
{
    return corvane::test::script();
}
