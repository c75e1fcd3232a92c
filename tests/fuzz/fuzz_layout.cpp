// The layout of a strip of any dimensions against the tests' own. A line each: height, width and
// bottom count.

#include "../ControllerLayoutReference.h"
#include "Fuzzing.h"

using namespace corvane;
using namespace corvane::fuzz;

namespace {

/// Enough for every turn of the strip, few enough for many runs.
constexpr qint64 kMostKeys = 700;

/// A text beyond int counts with its lowest bits.
int dimension(const QByteArray &text)
{
    return int(uint(text.toLongLong()));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    Input input(data, size);
    const int height = dimension(input.line());
    const int width = dimension(input.line());
    const int bottom = dimension(input.line());
    const ControllerStrip strip{height, width, bottom};
    if (strip.keyCount() > kMostControllerKeys)
        require(controllerLayout(strip).isEmpty(), "a strip beyond the limit has no layout");
    else if (strip.keyCount() <= kMostKeys)
        require(test::layoutOf(strip) == test::LayoutReference(strip).layout(),
                "a layout is that of the reference");
    return 0;
}
