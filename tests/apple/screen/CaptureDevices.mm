#include "Capture.h"
#include "LiveObjects.h"
#include "Simulation.h"

#include <QStringList>

using corvane::test::className;
using corvane::test::Delegate;
using corvane::test::formerReceivers;
using corvane::test::noteDeallocated;
using corvane::test::Receiver;
using corvane::test::Reference;
using corvane::test::sent;
using corvane::test::sharedState;
using corvane::test::Simulation;
using corvane::test::text;

const CFStringRef kCVPixelBufferPixelFormatTypeKey = (CFStringRef) @"PixelFormatType";

namespace {

Simulation &simulation()
{
    return Simulation::instance();
}

QString settingsText(NSDictionary *settings)
{
    QStringList entries;
    for (NSString *key in settings) {
        const uint value = [[settings objectForKey:key] unsignedIntValue];
        entries << QString("%1=0x%2").arg(text(key)).arg(value, 8, 16, QChar('0'));
    }
    return entries.join(' ');
}

} // namespace

std::mutex &corvane::test::sharedState()
{
    static std::mutex mutex;
    return mutex;
}

std::vector<corvane::test::FormerReceiver> &corvane::test::formerReceivers()
{
    static std::vector<FormerReceiver> receivers;
    return receivers;
}

BOOL corvane::test::sent(const char *message, const QString &arguments)
{
    return simulation().call(QLatin1String(message), arguments) == 0;
}

QString corvane::test::text(NSObject *object)
{
    return QString::fromUtf8([[object description] UTF8String]);
}

QString corvane::test::className(id object)
{
    return object ? QString::fromUtf8([NSStringFromClass([object class]) UTF8String]) : "nil";
}

@implementation AVCaptureInput
@end

@implementation AVCaptureOutput
@end

@implementation AVCaptureConnection
@end

@implementation AVCaptureScreenInput

CORVANE_COUNT_ALLOCATIONS

- (void)dealloc
{
    noteDeallocated(self);
    [super dealloc];
}

- (instancetype)initWithDisplayID:(CGDirectDisplayID)displayID
{
    self = [super init];
    if (!sent("-[AVCaptureScreenInput initWithDisplayID:]", QString::number(displayID))
        || !simulation().bounds(displayID)) {
        [self release];
        return nil;
    }
    m_display = displayID;
    m_scaleFactor = 1;
    return self;
}

- (CGDirectDisplayID)display
{
    return m_display;
}

- (CMTime)minFrameDuration
{
    return m_minFrameDuration;
}

- (void)setMinFrameDuration:(CMTime)duration
{
    sent("-[AVCaptureScreenInput setMinFrameDuration:]",
         QString("%1/%2").arg(duration.value).arg(duration.timescale));
    m_minFrameDuration = duration;
}

- (CGRect)cropRect
{
    return m_cropRect;
}

- (void)setCropRect:(CGRect)rect
{
    sent("-[AVCaptureScreenInput setCropRect:]",
         QString("%1 %2 %3 %4")
             .arg(rect.origin.x)
             .arg(rect.origin.y)
             .arg(rect.size.width)
             .arg(rect.size.height));
    m_cropRect = rect;
}

- (CGFloat)scaleFactor
{
    return m_scaleFactor;
}

- (void)setScaleFactor:(CGFloat)factor
{
    sent("-[AVCaptureScreenInput setScaleFactor:]", QString::number(factor, 'g', 17));
    m_scaleFactor = factor;
}

@end

@implementation AVCaptureVideoDataOutput

CORVANE_COUNT_ALLOCATIONS

- (instancetype)init
{
    self = [super init];
    sent("-[AVCaptureVideoDataOutput init]");
    return self;
}

- (void)dealloc
{
    noteDeallocated(self);
    [m_queue release];
    [m_videoSettings release];
    [super dealloc];
}

- (void)setSampleBufferDelegate:(Delegate)delegate queue:(dispatch_queue_t)queue
{
    const QString label = queue ? dispatch_queue_get_label(queue) : "nil";
    sent("-[AVCaptureVideoDataOutput setSampleBufferDelegate:queue:]",
         className(delegate) + ' ' + label);
    [queue retain];
    const std::lock_guard lock(sharedState());
    if (m_delegate && simulation().keepsFormerDelegates())
        formerReceivers().push_back({Reference<AVCaptureOutput *>(self),
                                     Reference<Delegate>(m_delegate),
                                     Reference<dispatch_queue_t>(m_queue)});
    [m_queue release];
    m_delegate = delegate;
    m_queue = queue;
}

- (Receiver)receiver
{
    return {self, m_delegate, m_queue};
}

- (Delegate)sampleBufferDelegate
{
    return m_delegate;
}

- (dispatch_queue_t)sampleBufferCallbackQueue
{
    return m_queue;
}

- (NSDictionary<NSString *, id> *)videoSettings
{
    return m_videoSettings;
}

- (void)setVideoSettings:(NSDictionary<NSString *, id> *)settings
{
    sent("-[AVCaptureVideoDataOutput setVideoSettings:]", settingsText(settings));
    NSDictionary *copy = [settings copy];
    [m_videoSettings release];
    m_videoSettings = copy;
}

@end
