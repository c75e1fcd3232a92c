#ifndef CORVANE_TESTS_APPLE_TESTPICTURES_H
#define CORVANE_TESTS_APPLE_TESTPICTURES_H

#include "Simulation.h"

#include <QColor>

#include <memory>

namespace corvane::test {

/// A picture in blue, green, red, alpha. Rows are apart by padding bytes, which are 0xEE.
inline std::shared_ptr<SimulatedPicture> pictureOf(int width, int height, std::size_t padding,
                                                   const std::function<QColor(int, int)> &colourAt)
{
    auto picture = std::make_shared<SimulatedPicture>();
    picture->width = width;
    picture->height = height;
    picture->bytesPerRow = 4 * static_cast<std::size_t>(width) + padding;
    picture->bytes.assign(picture->bytesPerRow * static_cast<std::size_t>(height), 0xEE);
    for (int y = 0; y < height; ++y) {
        auto *row = picture->bytes.data() + picture->bytesPerRow * static_cast<std::size_t>(y);
        for (int x = 0; x < width; ++x, row += 4) {
            const QColor colour = colourAt(x, y);
            row[0] = static_cast<unsigned char>(colour.blue());
            row[1] = static_cast<unsigned char>(colour.green());
            row[2] = static_cast<unsigned char>(colour.red());
            row[3] = static_cast<unsigned char>(colour.alpha());
        }
    }
    return picture;
}

inline std::shared_ptr<SimulatedPicture> plainPicture(const QColor &colour, int width = 320,
                                                      int height = 180, std::size_t padding = 0)
{
    return pictureOf(width, height, padding, [&](int, int) { return colour; });
}

} // namespace corvane::test

#endif
