#ifndef CORVANE_TESTS_APPLE_CAPTURE_H
#define CORVANE_TESTS_APPLE_CAPTURE_H

#include "Dispatch.h"

#include <QString>

#include <mutex>
#include <vector>

#import <AVFoundation/AVFoundation.h>

namespace corvane::test {

using Delegate = id<AVCaptureVideoDataOutputSampleBufferDelegate>;

/// Whom an output hands its samples to, and where.
struct Receiver {
    AVCaptureOutput *output;
    Delegate delegate;
    dispatch_queue_t queue;
};

/// One whose delegate was taken away and is kept all the same; owns what it refers to.
struct FormerReceiver {
    Reference<AVCaptureOutput *> output;
    Reference<Delegate> delegate;
    Reference<dispatch_queue_t> queue;
};

/// Guards what calls of the library and deliveries share: what sessions and outputs hold, and the
/// former receivers.
std::mutex &sharedState();
std::vector<FormerReceiver> &formerReceivers();

/// Notes a message to an object. Whether it succeeds.
BOOL sent(const char *message, const QString &arguments = {});

QString text(NSObject *object);
/// "nil" when there is no object.
QString className(id object);

} // namespace corvane::test

@interface AVCaptureScreenInput ()
- (CGDirectDisplayID)display;
@end

@interface AVCaptureVideoDataOutput ()
/// Where frames go; only while sharedState() is locked.
- (corvane::test::Receiver)receiver;
@end

#endif
