#include "JsonPath_p.h"

#include <algorithm>

namespace corvane {
namespace {

constexpr QChar kSeparator = u'.';

bool isDigit(QChar c)
{
    return c >= u'0' && c <= u'9';
}

void setFrom(int depth, QJsonObject &object, const JsonKeys &keys, const QJsonValue &value)
{
    const QStringView key = keys.at(depth);
    if (depth == keys.size() - 1) {
        object.insert(key, value);
        return;
    }
    QJsonValueRef member = object[key];
    QJsonObject child = member.toObject();
    // While the member holds the child too, the change below would copy all of the child's members.
    member = QJsonValue::Null;
    setFrom(depth + 1, child, keys, value);
    member = child;
}

} // namespace

JsonKeys jsonPathKeys(QStringView path)
{
    JsonKeys keys;
    for (auto from = path.begin();;) {
        const auto to = std::find(from, path.end(), kSeparator);
        if (to != from)
            keys.append(QStringView(from, to));
        if (to == path.end())
            return keys;
        from = to + 1;
    }
}

QJsonValue jsonValueAt(const QJsonObject &object, const QString &path)
{
    if (path.isEmpty())
        return object;
    const JsonKeys keys = jsonPathKeys(path);
    if (keys.isEmpty())
        return QJsonValue::Undefined;
    QJsonObject current = object;
    for (int i = 0; i < keys.size() - 1; ++i) {
        const QJsonValue next = current.value(keys.at(i));
        if (!next.isObject())
            return QJsonValue::Null;
        current = next.toObject();
    }
    return current.value(keys.last());
}

void setJsonValueAt(QJsonObject &object, const JsonKeys &keys, const QJsonValue &value)
{
    if (!keys.isEmpty())
        setFrom(0, object, keys, value);
}

QStringView arrayIndexDigits(QStringView text)
{
    const auto end = text.end();
    for (auto open = std::find(text.begin(), end, u'['); open != end;) {
        const auto first = open + 1;
        const auto last = std::find_if_not(first, end, isDigit);
        if (last != first && last != end && *last == u']')
            return {first, last};
        open = std::find(last, end, u'[');
    }
    return {};
}

} // namespace corvane
