#ifndef CORVANE_PREVIEW_THEME_H
#define CORVANE_PREVIEW_THEME_H

#include <QColor>

// The preview's colours: a dark, quiet ground, one hue for each channel.
namespace theme {

constexpr QRgb kGround = 0xff12151b;
constexpr QRgb kPanel = 0xff191d25;
constexpr QRgb kMonitor = 0xff07080b;
constexpr QRgb kLine = 0xff272d38;
constexpr QRgb kText = 0xffe4e8ef;
constexpr QRgb kQuietText = 0xff7f8a9c;
constexpr QRgb kLeft = 0xff3fd0c0;
constexpr QRgb kRight = 0xff8c88ff;
constexpr QRgb kMeter = 0xffa9bcdc;
constexpr QRgb kMeterHigh = 0xfff0b35a;

constexpr int kPanelRadius = 12;

} // namespace theme

#endif
