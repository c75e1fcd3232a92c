#include "CoreFoundationString.h"

#include <CoreFoundation/CoreFoundation.h>

#include <vector>

QString cfStringToQString(const __CFString *string)
{
    if (!string)
        return {};
    // Only strings that are kept in this encoding have their bytes at hand.
    if (const char *direct = CFStringGetCStringPtr(string, kCFStringEncodingUTF8))
        return QString::fromUtf8(direct);

    const CFIndex size =
        CFStringGetMaximumSizeForEncoding(CFStringGetLength(string), kCFStringEncodingUTF8) + 1;
    std::vector<char> buffer(static_cast<std::size_t>(size));
    if (!CFStringGetCString(string, buffer.data(), size, kCFStringEncodingUTF8))
        return {};
    return QString::fromUtf8(buffer.data());
}
