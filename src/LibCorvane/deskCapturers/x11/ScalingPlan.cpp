#include "ScalingPlan_p.h"

#include <algorithm>
#include <cmath>

namespace corvane {
namespace {

constexpr qint64 kMaxFirstStepPixels = 1 << 20;
constexpr std::size_t kMaxParts = 8;

struct Span {
    int begin;
    int end;
};

// A pixel is made of the source pixels on both sides of its centre; one more on either side covers
// the rounding.
Span affectedSpan(Span part, int source, int scaled)
{
    const double ratio = double(source) / scaled;
    const int begin = static_cast<int>(std::floor((part.begin - 1) / ratio - 0.5));
    const int end = static_cast<int>(std::ceil((part.end + 1) / ratio - 0.5)) + 1;
    return {std::clamp(begin, 0, scaled), std::clamp(end, 0, scaled)};
}

qint64 pixels(QSize size)
{
    return qint64(size.width()) * size.height();
}

// Twice as fine along the axis that is reduced more, if it still fits.
QSize finer(QSize size, QSize source)
{
    const QSize wider(size.width() * 2, size.height());
    const QSize higher(size.width(), size.height() * 2);
    const bool widerFits = wider.width() <= source.width();
    const bool higherFits = higher.height() <= source.height();
    const bool wideIsCoarser =
        qint64(source.width()) * size.height() >= qint64(source.height()) * size.width();
    if (widerFits && (wideIsCoarser || !higherFits))
        return wider;
    return higherFits ? higher : size;
}

QSize finestMultiple(QSize target, QSize source)
{
    for (;;) {
        const QSize next = finer(target, source);
        if (next == target || pixels(next) > kMaxFirstStepPixels)
            return target;
        target = next;
    }
}

// A sample sees four pixels, but not evenly: on each axis the two that it lies between are worth
// 1.5 on the average, and 2 when it lies in the middle. It does in blocks of an even size, so that
// blocks larger by up to 4 / 3 see as much.
int withEvenBlocks(int source, int scaled)
{
    const int block = (source + 2 * scaled - 1) / (2 * scaled) * 2;
    const bool skipsPixels = source > 2 * scaled;
    const bool seesAsMuch = qint64(block) * 3 * scaled <= qint64(source) * 4;
    return skipsPixels && seesAsMuch && source % block == 0 ? source / block : scaled;
}

} // namespace

std::vector<QSize> scalingSteps(QSize source, QSize target)
{
    if (source.isEmpty() || target.isEmpty())
        return {};
    const QSize last = target.boundedTo(source);
    std::vector<QSize> steps{finestMultiple(last, source)};
    while (steps.back() != last) {
        const QSize size = steps.back();
        steps.emplace_back(std::max(size.width() / 2, last.width()),
                           std::max(size.height() / 2, last.height()));
    }
    QSize &first = steps.front();
    if (first.width() > last.width())
        first.setWidth(withEvenBlocks(source.width(), first.width()));
    if (first.height() > last.height())
        first.setHeight(withEvenBlocks(source.height(), first.height()));
    return steps;
}

int fixedPointRatio(int source, int scaled)
{
    return static_cast<int>((qint64(source) << 16) / scaled);
}

QRect affectedPart(const QRect &sourcePart, QSize source, QSize scaled)
{
    if (sourcePart.isEmpty())
        return {};
    const Span x = affectedSpan({sourcePart.left(), sourcePart.left() + sourcePart.width()},
                                source.width(), scaled.width());
    const Span y = affectedSpan({sourcePart.top(), sourcePart.top() + sourcePart.height()},
                                source.height(), scaled.height());
    return {x.begin, y.begin, x.end - x.begin, y.end - y.begin};
}

std::vector<QRect> partsWithin(const QRect &frame, const std::vector<QRect> &parts)
{
    std::vector<QRect> inside;
    QRect bounds;
    for (const QRect &part : parts) {
        const QRect visible = part.intersected(frame).translated(-frame.topLeft());
        if (visible.isEmpty())
            continue;
        inside.push_back(visible);
        bounds |= visible;
    }
    if (inside.size() > kMaxParts)
        return {bounds};
    return inside;
}

} // namespace corvane
