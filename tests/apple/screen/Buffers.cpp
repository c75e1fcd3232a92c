#include "Buffers.h"

using corvane::test::Simulation;

namespace {

Simulation &simulation()
{
    return Simulation::instance();
}

} // namespace

opaqueCMSampleBuffer corvane::test::sampleOf(const SimulatedPicture *picture)
{
    opaqueCMSampleBuffer sample;
    if (picture)
        sample.image = std::make_unique<__CVBuffer>(__CVBuffer{*picture});
    return sample;
}

CMTime CMTimeMake(int64_t value, int32_t timescale)
{
    return {value, timescale, kCMTimeFlags_Valid, 0};
}

CVImageBufferRef CMSampleBufferGetImageBuffer(CMSampleBufferRef sbuf)
{
    simulation().call("CMSampleBufferGetImageBuffer");
    return sbuf->image.get();
}

CVReturn CVPixelBufferLockBaseAddress(CVPixelBufferRef pixelBuffer,
                                      CVPixelBufferLockFlags lockFlags)
{
    const int status =
        simulation().call("CVPixelBufferLockBaseAddress", QString::number(lockFlags));
    if (status == kCVReturnSuccess)
        ++pixelBuffer->locks;
    return status;
}

CVReturn CVPixelBufferUnlockBaseAddress(CVPixelBufferRef pixelBuffer,
                                        CVPixelBufferLockFlags unlockFlags)
{
    simulation().call("CVPixelBufferUnlockBaseAddress", QString::number(unlockFlags));
    if (pixelBuffer->locks == 0)
        return kCVReturnInvalidArgument;
    --pixelBuffer->locks;
    return kCVReturnSuccess;
}

size_t CVPixelBufferGetWidth(CVPixelBufferRef pixelBuffer)
{
    simulation().call("CVPixelBufferGetWidth");
    return static_cast<size_t>(pixelBuffer->picture.width);
}

size_t CVPixelBufferGetHeight(CVPixelBufferRef pixelBuffer)
{
    simulation().call("CVPixelBufferGetHeight");
    return static_cast<size_t>(pixelBuffer->picture.height);
}

size_t CVPixelBufferGetBytesPerRow(CVPixelBufferRef pixelBuffer)
{
    simulation().call("CVPixelBufferGetBytesPerRow");
    return pixelBuffer->picture.bytesPerRow;
}

// A buffer that is not locked has no address.
void *CVPixelBufferGetBaseAddress(CVPixelBufferRef pixelBuffer)
{
    simulation().call("CVPixelBufferGetBaseAddress");
    return pixelBuffer->locks > 0 ? pixelBuffer->picture.bytes.data() : nullptr;
}

OSType CVPixelBufferGetPixelFormatType(CVPixelBufferRef pixelBuffer)
{
    simulation().call("CVPixelBufferGetPixelFormatType");
    return pixelBuffer->picture.pixelFormat;
}
