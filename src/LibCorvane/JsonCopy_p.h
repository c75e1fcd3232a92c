#ifndef LIBCORVANE_JSONCOPY_P_H
#define LIBCORVANE_JSONCOPY_P_H

#include <QJsonObject>

namespace corvane {

/// The same members in data of its own, on all levels. Objects of Qt 5 never give back the room of
/// texts that were replaced and of names that were removed; a fresh copy takes just what it needs.
QJsonObject freshCopy(const QJsonObject &object);

} // namespace corvane

#endif
