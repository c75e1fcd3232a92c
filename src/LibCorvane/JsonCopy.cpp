#include "JsonCopy_p.h"

#include <QJsonArray>
#include <QJsonValue>

namespace corvane {
namespace {

QJsonArray freshCopy(const QJsonArray &array);

// A text is copied where it is inserted.
QJsonValue freshCopy(const QJsonValue &value)
{
    if (value.isObject())
        return corvane::freshCopy(value.toObject());
    if (value.isArray())
        return freshCopy(value.toArray());
    return value;
}

QJsonArray freshCopy(const QJsonArray &array)
{
    QJsonArray copy;
    for (const QJsonValue value : array)
        copy.append(freshCopy(value));
    return copy;
}

} // namespace

QJsonObject freshCopy(const QJsonObject &object)
{
    QJsonObject copy;
    for (auto member = object.begin(); member != object.end(); ++member)
        copy.insert(member.key(), freshCopy(member.value()));
    return copy;
}

} // namespace corvane
