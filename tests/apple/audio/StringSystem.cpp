#include "StringSystem.h"

#include <cstring>

using corvane::test::StringSystem;

namespace {

void note(const char *function, CFStringEncoding encoding)
{
    StringSystem::instance().calls
        << QByteArray(function) + (encoding == kCFStringEncodingUTF8 ? "" : " in another encoding");
}

} // namespace

StringSystem &StringSystem::instance()
{
    static StringSystem system;
    return system;
}

CFIndex CFStringGetLength(CFStringRef theString)
{
    note("CFStringGetLength", kCFStringEncodingUTF8);
    return theString->text.size();
}

const char *CFStringGetCStringPtr(CFStringRef theString, CFStringEncoding encoding)
{
    note("CFStringGetCStringPtr", encoding);
    return theString->hasDirectPointer ? theString->utf8.constData() : nullptr;
}

Boolean CFStringGetCString(CFStringRef theString, char *buffer, CFIndex bufferSize,
                           CFStringEncoding encoding)
{
    note("CFStringGetCString", encoding);
    StringSystem::instance().buffer = buffer;
    StringSystem::instance().bufferSize = bufferSize;
    if (bufferSize < 1)
        return false;
    // A failed conversion leaves what it has come to.
    const bool fits = theString->utf8.size() < bufferSize;
    std::memset(buffer, 'x', std::size_t(bufferSize));
    if (!theString->converts || !fits)
        return false;
    std::memcpy(buffer, theString->utf8.constData(), std::size_t(theString->utf8.size()) + 1);
    return true;
}

CFIndex CFStringGetMaximumSizeForEncoding(CFIndex length, CFStringEncoding encoding)
{
    note("CFStringGetMaximumSizeForEncoding", encoding);
    constexpr CFIndex kMostUtf8BytesOfAUnit = 3;
    const CFIndex scripted = StringSystem::instance().maximumSize;
    return scripted ? scripted : length * kMostUtf8BytesOfAUnit;
}
