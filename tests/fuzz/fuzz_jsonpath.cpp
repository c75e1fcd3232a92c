// Dotted paths and key lists against a model that keeps every member, however deep, in one flat
// map. Lines: "s" path, "l" keys parted by "/", each followed by a line with the value; "r" path
// to read; "i" text with an array index.

#include "Fuzzing.h"
#include "JsonText.h"

#include <LibCorvane/ConfigurationManager.h>

#include <QStringList>

#include <limits>
#include <map>

using namespace corvane::fuzz;

namespace {

/// An object stands here as an empty one, and its members beside it.
using Members = std::map<QStringList, QJsonValue>;

void add(Members &members, const QStringList &keys, const QJsonValue &value)
{
    if (!value.isObject()) {
        members[keys] = asKept(value);
        return;
    }
    members[keys] = QJsonObject();
    const QJsonObject object = value.toObject();
    for (auto it = object.begin(); it != object.end(); ++it)
        add(members, keys + QStringList(it.key()), it.value());
}

void remove(Members &members, const QStringList &keys)
{
    auto it = members.lower_bound(keys);
    while (it != members.end() && it->first.mid(0, keys.size()) == keys)
        it = members.erase(it);
}

bool isObject(const Members &members, const QStringList &keys)
{
    const auto it = members.find(keys);
    return it != members.end() && it->second.isObject();
}

void set(Members &members, const QStringList &keys, const QJsonValue &value)
{
    for (int depth = 1; depth < keys.size(); ++depth) {
        const QStringList way = keys.mid(0, depth);
        if (isObject(members, way))
            continue;
        remove(members, way);
        members[way] = QJsonObject();
    }
    remove(members, keys);
    if (!value.isUndefined())
        add(members, keys, value);
}

Members membersOf(const QJsonObject &object)
{
    Members members;
    add(members, {}, object);
    return members;
}

QStringList keysOf(const QString &path)
{
    QStringList keys = path.split('.');
    keys.removeAll(QString());
    return keys;
}

void requireSame(const QJsonValue &value, const Members &members, const QStringList &keys)
{
    Members expected;
    for (auto it = members.lower_bound(keys);
         it != members.end() && it->first.mid(0, keys.size()) == keys; ++it)
        expected[it->first.mid(keys.size())] = it->second;
    Members actual;
    add(actual, {}, value);
    require(actual == expected, "a read value is the one that was set");
}

void read(const QJsonObject &object, const Members &members, const QString &path)
{
    const QJsonValue value = ConfigurationManager::valWithXPath(object, path);
    const QStringList keys = keysOf(path);
    if (keys.isEmpty() && !path.isEmpty()) {
        require(value.isUndefined(), "dots only give Undefined");
        return;
    }
    for (int depth = 1; depth < keys.size(); ++depth) {
        if (isObject(members, keys.mid(0, depth)))
            continue;
        require(value.isNull(), "a missing step on the way gives Null");
        return;
    }
    if (members.count(keys) == 0)
        require(value.isUndefined(), "a missing last member gives Undefined");
    else
        requireSame(value, members, keys);
}

bool isDigit(QChar c)
{
    return c >= u'0' && c <= u'9';
}

/// The digits of the first "[" digits "]"; empty when there is none.
QString indexDigits(const QString &text)
{
    for (int start = text.indexOf('['); start >= 0; start = text.indexOf('[', start + 1)) {
        int end = start + 1;
        while (end < text.size() && isDigit(text[end]))
            ++end;
        if (end > start + 1 && end < text.size() && text[end] == u']')
            return text.mid(start + 1, end - start - 1);
    }
    return {};
}

void checkArrayIndex(const QString &text)
{
    constexpr int before = -7;
    int index = before;
    const bool isIndex = isArrayIndex(text, index);
    const QString digits = indexDigits(text);
    if (digits.isEmpty()) {
        require(!isIndex && index == before, "without an index the number is left alone");
        return;
    }
    double number = 0;
    for (const QChar digit : digits)
        number = 10 * number + digit.digitValue();
    const bool fits = number <= std::numeric_limits<int>::max();
    require(isIndex == fits, "an index that fits is one");
    require(index == (fits ? int(number) : 0), "an index is the number of its digits");
}

/// Without marks: Qt tells names apart by one that it does not show, as the model cannot.
QJsonValue valueIn(Input &input)
{
    return valueOf(input.line().replace(kByteOrderMark, ""));
}

void step(Input &input, QJsonObject &object, Members &members)
{
    const QByteArray line = input.line();
    const QString text = textOf(line.mid(1));
    switch (line.isEmpty() ? '\0' : line[0]) {
    case 's': {
        const QJsonValue value = valueIn(input);
        ConfigurationManager::setValWithXPath(object, text, value);
        if (const QStringList keys = keysOf(text); !keys.isEmpty())
            set(members, keys, value);
        break;
    }
    case 'l': {
        const QJsonValue value = valueIn(input);
        const QStringList keys = text.split('/');
        const QJsonValue changed = ConfigurationManager::setValWithXPath(object, keys, value);
        require(changed == QJsonValue(object), "the changed object is returned");
        set(members, keys, value);
        break;
    }
    case 'r':
        read(object, members, text);
        break;
    case 'i':
        checkArrayIndex(text);
        break;
    default:
        break;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    Input input(data, size);
    QJsonObject object;
    Members members = membersOf(object);
    while (!input.isAtEnd())
        step(input, object, members);
    require(membersOf(object) == members, "only what was set has changed");
    return 0;
}
