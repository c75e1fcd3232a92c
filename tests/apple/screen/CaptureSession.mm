#include "Buffers.h"
#include "Capture.h"
#include "LiveObjects.h"
#include "Simulation.h"

#include <algorithm>
#include <memory>

#import <objc/runtime.h>

using corvane::test::className;
using corvane::test::Delegate;
using corvane::test::FormerReceiver;
using corvane::test::formerReceivers;
using corvane::test::noteDeallocated;
using corvane::test::prepareArrays;
using corvane::test::Receiver;
using corvane::test::Reference;
using corvane::test::runLater;
using corvane::test::sampleOf;
using corvane::test::sent;
using corvane::test::sharedState;
using corvane::test::SimulatedPicture;
using corvane::test::text;

using Picture = std::shared_ptr<const SimulatedPicture>;

AVCaptureSessionPreset const AVCaptureSessionPresetLow = @"AVCaptureSessionPresetLow";

@interface AVCaptureSession ()
- (BOOL)captures:(CGDirectDisplayID)display;
@end

namespace {

std::vector<AVCaptureSession *> &allSessions()
{
    static std::vector<AVCaptureSession *> sessions;
    return sessions;
}

AVFoundationCaptureImpl *recordOf(Delegate delegate)
{
    void *record = nullptr;
    object_getInstanceVariable(delegate, "impl", &record);
    return static_cast<AVFoundationCaptureImpl *>(record);
}

/// Hands the picture to the delegate on the queue, which all live until then.
void deliverLater(const Receiver &receiver, const Picture &picture)
{
    const Reference<AVCaptureOutput *> output(receiver.output);
    const Reference<Delegate> delegate(receiver.delegate);
    runLater(receiver.queue, [output, delegate, picture] {
        auto sample = sampleOf(picture.get());
        AVCaptureConnection *connection = [[[AVCaptureConnection alloc] init] autorelease];
        [delegate.get() captureOutput:output.get()
                didOutputSampleBuffer:&sample
                       fromConnection:connection];
    });
}

} // namespace

@implementation AVCaptureSession

CORVANE_COUNT_ALLOCATIONS

- (instancetype)init
{
    self = [super init];
    sent("-[AVCaptureSession init]");
    prepareArrays();
    m_inputs = [[NSMutableArray alloc] init];
    m_outputs = [[NSMutableArray alloc] init];
    const std::lock_guard lock(sharedState());
    allSessions().push_back(self);
    return self;
}

- (void)dealloc
{
    noteDeallocated(self);
    {
        const std::lock_guard lock(sharedState());
        auto &sessions = allSessions();
        sessions.erase(std::find(sessions.begin(), sessions.end(), self));
    }
    [m_preset release];
    [m_inputs release];
    [m_outputs release];
    [super dealloc];
}

- (BOOL)canSetSessionPreset:(AVCaptureSessionPreset)preset
{
    return sent("-[AVCaptureSession canSetSessionPreset:]", text(preset));
}

- (AVCaptureSessionPreset)sessionPreset
{
    return m_preset;
}

- (void)setSessionPreset:(AVCaptureSessionPreset)preset
{
    sent("-[AVCaptureSession setSessionPreset:]", text(preset));
    NSString *copy = [preset copy];
    [m_preset release];
    m_preset = copy;
}

- (NSArray<__kindof AVCaptureInput *> *)inputs
{
    return m_inputs;
}

- (BOOL)canAddInput:(AVCaptureInput *)input
{
    return sent("-[AVCaptureSession canAddInput:]", className(input));
}

- (void)addInput:(AVCaptureInput *)input
{
    sent("-[AVCaptureSession addInput:]", className(input));
    const std::lock_guard lock(sharedState());
    [m_inputs addObject:input];
}

- (NSArray<__kindof AVCaptureOutput *> *)outputs
{
    return m_outputs;
}

- (BOOL)canAddOutput:(AVCaptureOutput *)output
{
    return sent("-[AVCaptureSession canAddOutput:]", className(output));
}

- (void)addOutput:(AVCaptureOutput *)output
{
    sent("-[AVCaptureSession addOutput:]", className(output));
    const std::lock_guard lock(sharedState());
    [m_outputs addObject:output];
}

- (BOOL)isRunning
{
    return m_isRunning;
}

- (void)startRunning
{
    sent("-[AVCaptureSession startRunning]");
    const std::lock_guard lock(sharedState());
    m_isRunning = YES;
}

// As with the real one, what is in the output's queue stays there.
- (void)stopRunning
{
    sent("-[AVCaptureSession stopRunning]");
    const std::lock_guard lock(sharedState());
    m_isRunning = NO;
}

- (BOOL)captures:(CGDirectDisplayID)display
{
    if (!m_isRunning)
        return NO;
    for (AVCaptureScreenInput *input in m_inputs) {
        if ([input display] == display)
            return YES;
    }
    return NO;
}

@end

int corvane::test::deliverFrame(unsigned int display, const Picture &picture)
{
    @autoreleasepool {
        int receivers = 0;
        const std::lock_guard lock(sharedState());
        for (AVCaptureSession *session : allSessions()) {
            if (![session captures:display])
                continue;
            for (AVCaptureVideoDataOutput *output in [session outputs]) {
                const Receiver receiver = [output receiver];
                if (!receiver.delegate)
                    continue;
                deliverLater(receiver, picture);
                ++receivers;
            }
        }
        return receivers;
    }
}

int corvane::test::deliverLateFrame(const Picture &picture)
{
    @autoreleasepool {
        const std::lock_guard lock(sharedState());
        for (const FormerReceiver &former : formerReceivers())
            deliverLater({former.output.get(), former.delegate.get(), former.queue.get()}, picture);
        return static_cast<int>(formerReceivers().size());
    }
}

std::vector<AVFoundationCaptureImpl *> corvane::test::runningRecords()
{
    @autoreleasepool {
        std::vector<AVFoundationCaptureImpl *> records;
        const std::lock_guard lock(sharedState());
        for (AVCaptureSession *session : allSessions()) {
            for (AVCaptureVideoDataOutput *output in [session outputs])
                records.push_back(recordOf([output receiver].delegate));
        }
        return records;
    }
}

void corvane::test::forgetFormerDelegates()
{
    std::vector<FormerReceiver> former;
    const std::lock_guard lock(sharedState());
    former.swap(formerReceivers());
}
