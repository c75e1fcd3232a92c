#ifndef CORVANE_TESTS_FUZZ_JSONTEXT_H
#define CORVANE_TESTS_FUZZ_JSONTEXT_H

#include <QByteArray>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>
#include <QVariant>

#include <algorithm>
#include <cmath>

namespace corvane::fuzz {

constexpr char kByteOrderMark[] = "\xef\xbb\xbf";

/// A value out of its JSON text; Undefined when it is none.
inline QJsonValue valueOf(const QByteArray &json)
{
    return QJsonDocument::fromJson('[' + json + ']').array().at(0);
}

/// What Qt keeps of a value that is set in an array or object: of an integer, what a double tells.
inline QJsonValue asKept(const QJsonValue &value)
{
    return value.isUndefined() ? value : QJsonArray{value}.at(0);
}

/// What Qt makes of a file that is read as text, carriage returns left out.
inline QJsonObject settingsIn(QByteArray bytes)
{
    return QJsonDocument::fromJson(bytes.replace('\r', QByteArray())).object();
}

/// Whether a JSON text brings a text back: Qt takes a byte order mark at the start for none of it.
inline bool isReadBack(const QString &text)
{
    return !text.startsWith(QChar(QChar::ByteOrderMark));
}

/// The same of a text within JSON, which Qt keeps with the mark that it then leaves out.
inline bool isReadBack(const QByteArray &json)
{
    return json.lastIndexOf(kByteOrderMark) <= 0;
}

/// Whether Qt writes a number as it is: integers only as far as a double tells them apart, and what
/// is not finite as null.
inline bool isExact(const QJsonValue &number)
{
    constexpr qint64 limit = qint64(1) << 53;
    const QVariant variant = number.toVariant();
    const bool isInteger = variant.userType() == QMetaType::LongLong;
    const qint64 integer = variant.toLongLong();
    return isInteger ? -limit <= integer && integer <= limit : std::isfinite(number.toDouble());
}

/// Whether a file can hold a value as it is. Qt writes half of a surrogate pair as "?", and does
/// not read again what lies deeper.
inline bool isStorable(const QJsonValue &value, int levels = 1000)
{
    const auto isStorableBelow = [levels](const QJsonValue &below) {
        return isStorable(below, levels - 1);
    };
    if (value.isDouble())
        return isExact(value);
    if (value.isString())
        return isReadBack(value.toString());
    if (value.isArray()) {
        const QJsonArray array = value.toArray();
        return levels > 0 && std::all_of(array.begin(), array.end(), isStorableBelow);
    }
    if (!value.isObject())
        return true;
    const QJsonObject object = value.toObject();
    const QStringList keys = object.keys();
    return levels > 0
        && std::all_of(keys.begin(), keys.end(), [](const QString &key) { return isReadBack(key); })
        && std::all_of(object.begin(), object.end(), isStorableBelow);
}

} // namespace corvane::fuzz

#endif
