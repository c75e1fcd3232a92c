#ifndef CORVANE_TESTS_APPLE_BUFFERS_H
#define CORVANE_TESTS_APPLE_BUFFERS_H

#include "Simulation.h"

#include <CoreMedia/CoreMedia.h>

#include <memory>

/// The pixels are a copy, which ends with the buffer: whoever reads them later is caught.
struct __CVBuffer {
    corvane::test::SimulatedPicture picture;
    int locks = 0;
};

struct opaqueCMSampleBuffer {
    std::unique_ptr<__CVBuffer> image; // none in a sample that is not of a picture
};

namespace corvane::test {

/// A sample with the picture; without one when it is null.
opaqueCMSampleBuffer sampleOf(const SimulatedPicture *picture);

} // namespace corvane::test

#endif
