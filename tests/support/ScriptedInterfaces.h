#ifndef CORVANE_TESTS_SCRIPTEDINTERFACES_H
#define CORVANE_TESTS_SCRIPTEDINTERFACES_H

#include <QMetaType>
#include <QNetworkInterface>
#include <QString>
#include <QVector>

namespace corvane::test {

struct ScriptedInterface {
    /// As Qt writes it, "AA:BB:CC:DD:EE:FF"; may be empty.
    QString address;
    QNetworkInterface::InterfaceFlags flags = QNetworkInterface::IsUp;
};

/// A loop-back interface as systems have it.
ScriptedInterface loopBack();

/// The network interfaces that this program has from now on; none at first. The unit's
/// QNetworkInterface::allInterfaces() stands before Qt's own.
void setInterfaces(const QVector<ScriptedInterface> &interfaces);

} // namespace corvane::test

Q_DECLARE_METATYPE(corvane::test::ScriptedInterface)

#endif
