#include "PixelUnpacking_p.h"

#include <QtAlgorithms>

#include <cstring>

namespace corvane {
namespace {

// One channel of a pixel as the mask in its value tells.
class Channel {
public:
    explicit Channel(uint32_t mask)
        : m_mask(mask)
        , m_shift(mask ? static_cast<int>(qCountTrailingZeroBits(mask)) : 0)
        , m_bits(static_cast<int>(qPopulationCount(mask)))
    {
    }

    uint8_t of(uint32_t pixel) const
    {
        const uint32_t value = (pixel & m_mask) >> m_shift;
        if (m_bits >= 8)
            return static_cast<uint8_t>(value >> (m_bits - 8));
        const uint32_t high = value << (8 - m_bits);
        return static_cast<uint8_t>(high | high >> m_bits);
    }

private:
    uint32_t m_mask;
    int m_shift;
    int m_bits;
};

template <typename Pixel>
void unpackRow(const uint8_t *row, const PixelLayout &layout, int width, uint8_t *bgra)
{
    const Channel red(layout.redMask);
    const Channel green(layout.greenMask);
    const Channel blue(layout.blueMask);
    for (int x = 0; x < width; ++x, row += sizeof(Pixel), bgra += 4) {
        Pixel pixel;
        std::memcpy(&pixel, row, sizeof pixel);
        bgra[0] = blue.of(pixel);
        bgra[1] = green.of(pixel);
        bgra[2] = red.of(pixel);
        bgra[3] = 255;
    }
}

} // namespace

bool isBgr(const PixelLayout &layout)
{
    return layout.bitsPerPixel == 32 && layout.redMask == 0xff0000 && layout.greenMask == 0xff00
        && layout.blueMask == 0xff;
}

bool canUnpack(const PixelLayout &layout)
{
    return layout.bitsPerPixel == 16 || layout.bitsPerPixel == 32;
}

void unpack(const uint8_t *pixels, const PixelLayout &layout, int width, int height,
            std::vector<uint8_t> &bgra)
{
    const std::size_t rowBytes = static_cast<std::size_t>(width) * 4;
    bgra.resize(rowBytes * static_cast<std::size_t>(height));
    const auto unpackOne = layout.bitsPerPixel == 16 ? unpackRow<uint16_t> : unpackRow<uint32_t>;
    uint8_t *target = bgra.data();
    for (int y = 0; y < height; ++y, target += rowBytes, pixels += layout.bytesPerLine(width))
        unpackOne(pixels, layout, width, target);
}

} // namespace corvane
