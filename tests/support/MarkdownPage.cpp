#include "MarkdownPage.h"

#include <QFile>

#include <algorithm>

namespace corvane::test {

QVector<QByteArray> fencedBlocks(const QString &path)
{
    QFile page(path);
    if (!page.open(QIODevice::ReadOnly))
        qFatal("There is no page %s", qUtf8Printable(path));
    QVector<QByteArray> blocks;
    bool isInside = false;
    while (!page.atEnd()) {
        const QByteArray line = page.readLine();
        const bool isFence = line.startsWith("```");
        if (isFence && !isInside)
            blocks.append(QByteArray());
        else if (isInside && !isFence)
            blocks.last() += line;
        isInside = isInside != isFence;
    }
    return blocks;
}

QByteArray blockThatBegins(const QVector<QByteArray> &blocks, const QByteArray &text)
{
    const auto found = std::find_if(blocks.begin(), blocks.end(), [&text](const QByteArray &block) {
        return block.startsWith(text);
    });
    if (found == blocks.end())
        qFatal("No block of the page begins with %s", text.constData());
    return *found;
}

} // namespace corvane::test
