#ifndef LIBCORVANE_JSONPATH_P_H
#define LIBCORVANE_JSONPATH_P_H

#include <QJsonObject>
#include <QJsonValue>
#include <QString>
#include <QStringView>
#include <QVarLengthArray>

namespace corvane {

/// The keys that lead to a member of nested objects, the outermost first. They are views: the texts
/// must outlive them. Nothing is allocated for paths of the usual length.
using JsonKeys = QVarLengthArray<QStringView, 8>;

/// The keys of a dotted path. Empty segments vanish: "a..b", ".a.b" and "a.b." are all a, b.
JsonKeys jsonPathKeys(QStringView path);

/// The value at a dotted path; the whole object for the empty path.
///
/// A step on the way that is missing or no object gives Null, a missing last member Undefined, and
/// so does a path made of dots only. Nothing is copied but references to shared data.
QJsonValue jsonValueAt(const QJsonObject &object, const QString &path);

/// Sets the value at the keys, in place. What stands in the way and is no object is replaced by
/// one; members beside the way are kept. An empty key list changes nothing, and an Undefined value
/// removes the last member, as QJsonObject::insert() does.
///
/// Objects on the way are changed where they are, unless somebody else shares their data.
void setJsonValueAt(QJsonObject &object, const JsonKeys &keys, const QJsonValue &value);

/// The digits of the first "[" digits "]" anywhere in a text; empty when there is none. Only 0 to 9
/// are digits. The text may be any sequence of UTF-16 units, halves of surrogate pairs included.
QStringView arrayIndexDigits(QStringView text);

} // namespace corvane

#endif
