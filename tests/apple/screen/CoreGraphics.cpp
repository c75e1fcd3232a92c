#include "Simulation.h"

#include <CoreGraphics/CoreGraphics.h>

#include <cmath>

using corvane::test::Simulation;

namespace {

Simulation &simulation()
{
    return Simulation::instance();
}

} // namespace

// As documented, sides that are negative count in the other direction.
CGFloat CGRectGetWidth(CGRect rect)
{
    return std::abs(rect.size.width);
}

CGFloat CGRectGetHeight(CGRect rect)
{
    return std::abs(rect.size.height);
}

CGDirectDisplayID CGMainDisplayID()
{
    simulation().call("CGMainDisplayID");
    const auto displays = simulation().displays();
    return displays.empty() ? 0 : displays.front();
}

// An unknown display has no extent.
CGRect CGDisplayBounds(CGDirectDisplayID display)
{
    simulation().call("CGDisplayBounds", QString::number(display));
    const QRectF bounds = simulation().bounds(display).value_or(QRectF());
    return CGRectMake(bounds.x(), bounds.y(), bounds.width(), bounds.height());
}

bool CGPreflightScreenCaptureAccess()
{
    simulation().call("CGPreflightScreenCaptureAccess");
    return simulation().isPermissionGranted();
}

bool CGRequestScreenCaptureAccess()
{
    simulation().call("CGRequestScreenCaptureAccess");
    return simulation().grantedOnRequest();
}
