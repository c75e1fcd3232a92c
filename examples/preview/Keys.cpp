#include "Keys.h"

namespace keys {
namespace {

struct Key {
    const char *key;
    const char *meaning;
};

constexpr Key kKeys[] = {
    {kFollowScreen, "let the screen light the strip"},
    {kFollowSound, "let the sound light the strip"},
    {kDisplay, "choose the display"},
    {kDevice, "choose the sound device"},
    {kFullScreen, "fill the screen, or do so no longer"},
    {kHelp, "tell the keys and the version"},
    {kQuit, "quit"},
};

constexpr int kColumn = 8;

} // namespace

QString list()
{
    QString lines;
    for (const Key &key : kKeys)
        lines += QStringLiteral("  ") + QString::fromLatin1(key.key).leftJustified(kColumn)
            + QString::fromLatin1(key.meaning) + QLatin1Char('\n');
    return lines;
}

} // namespace keys
