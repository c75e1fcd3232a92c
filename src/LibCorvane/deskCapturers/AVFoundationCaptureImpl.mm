#include "AVFoundationCaptureImpl.h"

#include "LatestFrame_p.h"

#include <QDebug>

#include <memory>
#include <utility>

#import <AVFoundation/AVFoundation.h>
#import <AppKit/AppKit.h>
#import <CoreGraphics/CoreGraphics.h>
#import <CoreMedia/CoreMedia.h>
#import <CoreVideo/CoreVideo.h>
#import <Foundation/Foundation.h>
#import <dispatch/dispatch.h>

// References are counted by hand: this file is compiled without ARC.

/// Takes the frames of one record on the serial queue of its output. Nothing of it may be touched
/// elsewhere once the session runs.
@interface VideoFrameReceiver : NSObject <AVCaptureVideoDataOutputSampleBufferDelegate> {
    AVFoundationCaptureImpl *impl; // not owned
}
- (instancetype)initWithContext:(AVFoundationCaptureImpl *)context;
/// Forgets the record: frames that still come are dropped.
- (void)detach;
@end

namespace {

constexpr int kFramesPerSecond = 25;
constexpr const char *kQueueLabel = "com.corvane.runtime.avfoundationCaptureReceive";

/// Owns one reference to an Objective-C object.
template <typename Object>
class Retained {
public:
    Retained() = default;
    /// Takes over a reference that the caller owns, such as that of a new object.
    explicit Retained(Object object)
        : m_object(object)
    {
    }
    Retained(Retained &&other) noexcept
        : m_object(std::exchange(other.m_object, nil))
    {
    }
    Retained &operator=(Retained &&other) noexcept
    {
        std::swap(m_object, other.m_object);
        return *this;
    }
    ~Retained() { [m_object release]; }

    Object get() const { return m_object; }

private:
    Object m_object = nil;
};

/// Keeps a pixel buffer's memory readable.
class PixelLock {
public:
    explicit PixelLock(CVPixelBufferRef buffer)
        : m_buffer(buffer)
        , m_isLocked(CVPixelBufferLockBaseAddress(buffer, kCVPixelBufferLock_ReadOnly)
                     == kCVReturnSuccess)
    {
    }
    PixelLock(const PixelLock &) = delete;
    PixelLock &operator=(const PixelLock &) = delete;
    ~PixelLock()
    {
        if (m_isLocked)
            CVPixelBufferUnlockBaseAddress(m_buffer, kCVPixelBufferLock_ReadOnly);
    }

    bool isLocked() const { return m_isLocked; }

private:
    CVPixelBufferRef m_buffer;
    bool m_isLocked;
};

} // namespace

// NOLINTNEXTLINE(bugprone-reserved-identifier): the facade's name on every system
struct _AVFoundationCaptureImpl {
    _AVFoundationCaptureImpl(CGFloat width, CGFloat height)
        : frame(corvane::originSize(width, height), corvane::workingSize(width, height))
    {
    }

    Retained<AVCaptureSession *> session;
    Retained<AVCaptureScreenInput *> input;
    Retained<AVCaptureVideoDataOutput *> output;
    Retained<VideoFrameReceiver *> receiver;
    Retained<dispatch_queue_t> queue;
    corvane::LatestFrame frame;
};

namespace {

corvane::BgraPixels pixelsOf(CVPixelBufferRef buffer)
{
    return {static_cast<const uchar *>(CVPixelBufferGetBaseAddress(buffer)),
            static_cast<int>(CVPixelBufferGetWidth(buffer)),
            static_cast<int>(CVPixelBufferGetHeight(buffer)), CVPixelBufferGetBytesPerRow(buffer)};
}

/// Whether every row holds as many bytes as its pixels need. The format was asked for and is not
/// checked, but memory of another buffer must not be read.
bool hasWholeRows(const corvane::BgraPixels &pixels)
{
    return pixels.width > 0 && pixels.bytesPerLine / 4 >= static_cast<std::size_t>(pixels.width);
}

void deliver(CMSampleBufferRef sample, corvane::LatestFrame &frame)
{
    CVPixelBufferRef buffer = CMSampleBufferGetImageBuffer(sample);
    if (!buffer)
        return;
    const PixelLock lock(buffer);
    if (!lock.isLocked())
        return;
    const corvane::BgraPixels pixels = pixelsOf(buffer);
    if (hasWholeRows(pixels))
        frame.deliver(pixels, corvane::Alpha::Keep);
}

} // namespace

@implementation VideoFrameReceiver

- (instancetype)initWithContext:(AVFoundationCaptureImpl *)context
{
    self = [super init];
    if (self)
        impl = context;
    return self;
}

- (void)captureOutput:(AVCaptureOutput *)output
    didOutputSampleBuffer:(CMSampleBufferRef)sampleBuffer
           fromConnection:(AVCaptureConnection *)connection
{
    if (impl)
        deliver(sampleBuffer, impl->frame);
}

- (void)detach
{
    impl = nullptr;
}

@end

namespace {

Retained<AVCaptureSession *> newSession()
{
    Retained<AVCaptureSession *> session([[AVCaptureSession alloc] init]);
    if ([session.get() canSetSessionPreset:AVCaptureSessionPresetLow])
        [session.get() setSessionPreset:AVCaptureSessionPresetLow];
    return session;
}

/// AVFoundation does the scaling where it costs least. A display that has no width, because it came
/// or went this moment, is left as it is.
CGFloat scaleFactor(CGFloat width)
{
    return width > 0 ? corvane::kWorkingWidth / width : 1;
}

void addInput(AVCaptureSession *session, AVCaptureScreenInput *input, CGFloat width)
{
    if (![session canAddInput:input])
        return;
    [input setMinFrameDuration:CMTimeMake(1, kFramesPerSecond)];
    [input setScaleFactor:scaleFactor(width)];
    [session addInput:input];
}

void setBgra(AVCaptureVideoDataOutput *output)
{
    NSString *const key = (NSString *)kCVPixelBufferPixelFormatTypeKey;
    [output setVideoSettings:@{key: @(kCVPixelFormatType_32BGRA)}];
}

void addOutput(AVCaptureSession *session, AVCaptureVideoDataOutput *output)
{
    if ([session canAddOutput:output])
        [session addOutput:output];
}

/// Makes the record the receiver of the session's frames and lets them come.
void startCapture(AVFoundationCaptureImpl &record)
{
    AVCaptureVideoDataOutput *const output = record.output.get();
    setBgra(output);
    record.receiver =
        Retained<VideoFrameReceiver *>([[VideoFrameReceiver alloc] initWithContext:&record]);
    [output setSampleBufferDelegate:record.receiver.get() queue:record.queue.get()];
    addOutput(record.session.get(), output);
    [record.session.get() startRunning];
}

/// No frame reaches the record afterwards. One may be in the receiver, and more may wait in the
/// queue: AVFoundation stops without waiting for them. The queue is serial, so a block that has run
/// on it comes after all of these; and it is there, where frames are received, that the receiver
/// forgets the record, so one that comes later still, while AVFoundation keeps the receiver, finds
/// no record.
void stopCapture(const AVFoundationCaptureImpl &record)
{
    [record.session.get() stopRunning];
    [record.output.get() setSampleBufferDelegate:nil queue:nil];
    VideoFrameReceiver *const receiver = record.receiver.get();
    dispatch_sync(record.queue.get(), ^{ [receiver detach]; });
}

} // namespace

AVFoundationCaptureImpl *allocAVFoundationCapture(uint32_t displayId)
{
    @autoreleasepool {
        const CGDirectDisplayID display = displayId == 0 ? CGMainDisplayID() : displayId;
        auto session = newSession();
        const CGRect bounds = CGDisplayBounds(display);
        const CGFloat width = CGRectGetWidth(bounds);
        const CGFloat height = CGRectGetHeight(bounds);
        Retained<AVCaptureScreenInput *> input(
            [[AVCaptureScreenInput alloc] initWithDisplayID:display]);
        if (!input.get()) {
            qCritical() << "[AVFoundationCaptureImpl]: Failed to init AVCaptureScreenInput "
                           "instance";
            return nullptr;
        }
        [input.get() setCropRect:CGRectMake(0, 0, width, height)];
        addInput(session.get(), input.get(), width);
        Retained<AVCaptureVideoDataOutput *> output([[AVCaptureVideoDataOutput alloc] init]);
        Retained<dispatch_queue_t> queue(dispatch_queue_create(kQueueLabel, DISPATCH_QUEUE_SERIAL));

        auto record = std::make_unique<AVFoundationCaptureImpl>(width, height);
        record->session = std::move(session);
        record->input = std::move(input);
        record->output = std::move(output);
        record->queue = std::move(queue);
        startCapture(*record);
        return record.release();
    }
}

void freeAVFoundationCapture(AVFoundationCaptureImpl *record)
{
    if (!record)
        return;
    @autoreleasepool {
        stopCapture(*record);
        delete record;
    }
}

void AVCaptureSetOutputSize(AVFoundationCaptureImpl *record, const QSize &size)
{
    record->frame.setOutputSize(size);
}

QSize AVCaptureOriginSize(AVFoundationCaptureImpl *record)
{
    return record->frame.originSize();
}

// Not the size of the frames: hosts rely on the display's.
QSize AVCaptureOutputSize(AVFoundationCaptureImpl *record)
{
    return record->frame.originSize();
}

QImage AVCaptureNextFrame(AVFoundationCaptureImpl *record)
{
    return record->frame.image();
}

QList<unsigned int> availableDisplayIDs()
{
    __block QList<unsigned int> ids;
    @autoreleasepool {
        [[NSScreen screens] enumerateObjectsUsingBlock:^(NSScreen *screen, NSUInteger, BOOL *) {
            NSNumber *number = [[screen deviceDescription] objectForKey:@"NSScreenNumber"];
            if (number)
                ids.append([number unsignedIntValue]);
        }];
    }
    return ids;
}
