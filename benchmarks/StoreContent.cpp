#include "StoreContent.h"

#include <QString>

namespace corvane::bench {
namespace {

QString memberName(int i)
{
    return QStringLiteral("member%1").arg(i, 6, 10, QLatin1Char('0'));
}

/// Numbers and texts in turn. A new key of "member5" sorts between the two halves.
QJsonObject members(int count)
{
    QJsonObject object;
    for (int i = 0; i < count; ++i) {
        const QString name = memberName(i < count / 2 ? i : 600000 + i);
        object.insert(name, i % 2 == 0 ? QJsonValue(i) : QJsonValue("text of " + name));
    }
    return object;
}

} // namespace

QJsonObject settings(Shape shape, int count)
{
    QJsonObject options = shape == Shape::LastStep ? members(count) : QJsonObject();
    options.insert("mode", kValue);
    QJsonObject all = shape == Shape::FirstStep ? members(count) : QJsonObject();
    all.insert("options", options);
    if (shape == Shape::OtherBranch)
        all.insert("other", members(count));
    return all;
}

QJsonObject globalSettings(Shape shape, int count)
{
    if (shape != Shape::FirstStep)
        return {{"runtime", settings(shape, count)}};
    QJsonObject all = members(count);
    all.insert("runtime", QJsonObject{{"options", QJsonObject{{"mode", kValue}}}});
    return all;
}

QJsonObject document()
{
    QJsonObject all;
    for (int i = 0; i < 260; ++i)
        all.insert(memberName(i), members(100));
    all.insert("mode", kValue);
    return all;
}

} // namespace corvane::bench
