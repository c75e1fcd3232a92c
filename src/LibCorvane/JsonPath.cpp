#include "JsonPath_p.h"

#include <QStringRef>
#include <QVector>

namespace corvane {
namespace {

constexpr QChar kSeparator = u'.';

void setFrom(int depth, QJsonObject &object, const QStringList &keys, const QJsonValue &value)
{
    const QString &key = keys.at(depth);
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

QStringList jsonPathKeys(const QString &path)
{
    return path.split(kSeparator, Qt::SkipEmptyParts);
}

QJsonValue jsonValueAt(const QJsonObject &object, const QString &path)
{
    if (path.isEmpty())
        return object;
    QVector<QStringRef> steps = path.splitRef(kSeparator, Qt::SkipEmptyParts);
    if (steps.isEmpty())
        return QJsonValue::Undefined;
    const QStringRef last = steps.takeLast();
    QJsonObject current = object;
    for (const QStringRef &step : qAsConst(steps)) {
        const QJsonValue next = current.value(step);
        if (!next.isObject())
            return QJsonValue::Null;
        current = next.toObject();
    }
    return current.value(last);
}

void setJsonValueAt(QJsonObject &object, const QStringList &keys, const QJsonValue &value)
{
    if (!keys.isEmpty())
        setFrom(0, object, keys, value);
}

} // namespace corvane
