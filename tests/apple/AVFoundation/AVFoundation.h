#ifndef CORVANE_TESTS_APPLE_AVFOUNDATION_H
#define CORVANE_TESTS_APPLE_AVFOUNDATION_H

// The part of AVFoundation that the library calls.

#import <CoreGraphics/CoreGraphics.h>
#import <CoreMedia/CoreMedia.h>
#import <CoreVideo/CoreVideo.h>
#import <Foundation/Foundation.h>
#import <dispatch/dispatch.h>

typedef NSString *AVCaptureSessionPreset;
#ifdef __cplusplus
extern "C" {
#endif
extern AVCaptureSessionPreset const AVCaptureSessionPresetLow;
#ifdef __cplusplus
}
#endif

@interface AVCaptureInput : NSObject
@end

@interface AVCaptureOutput : NSObject
@end

@interface AVCaptureConnection : NSObject
@end

@interface AVCaptureSession : NSObject {
@private
    NSString *m_preset;
    NSMutableArray *m_inputs;
    NSMutableArray *m_outputs;
    BOOL m_isRunning;
}
- (BOOL)canSetSessionPreset:(AVCaptureSessionPreset)preset;
@property (nonatomic, copy) AVCaptureSessionPreset sessionPreset;
@property (nonatomic, readonly) NSArray<__kindof AVCaptureInput *> *inputs;
- (BOOL)canAddInput:(AVCaptureInput *)input;
- (void)addInput:(AVCaptureInput *)input;
@property (nonatomic, readonly) NSArray<__kindof AVCaptureOutput *> *outputs;
- (BOOL)canAddOutput:(AVCaptureOutput *)output;
- (void)addOutput:(AVCaptureOutput *)output;
@property (nonatomic, readonly, getter=isRunning) BOOL running;
- (void)startRunning;
- (void)stopRunning;
@end

@interface AVCaptureScreenInput : AVCaptureInput {
@private
    CGDirectDisplayID m_display;
    CMTime m_minFrameDuration;
    CGRect m_cropRect;
    CGFloat m_scaleFactor;
}
- (instancetype)initWithDisplayID:(CGDirectDisplayID)displayID;
@property (nonatomic) CMTime minFrameDuration;
@property (nonatomic) CGRect cropRect;
@property (nonatomic) CGFloat scaleFactor;
@end

@protocol AVCaptureVideoDataOutputSampleBufferDelegate <NSObject>
@optional
- (void)captureOutput:(AVCaptureOutput *)output
    didOutputSampleBuffer:(CMSampleBufferRef)sampleBuffer
           fromConnection:(AVCaptureConnection *)connection;
- (void)captureOutput:(AVCaptureOutput *)output
    didDropSampleBuffer:(CMSampleBufferRef)sampleBuffer
         fromConnection:(AVCaptureConnection *)connection;
@end

@interface AVCaptureVideoDataOutput : AVCaptureOutput {
@private
    id<AVCaptureVideoDataOutputSampleBufferDelegate> m_delegate; // as documented, not owned
    dispatch_queue_t m_queue;
    NSDictionary *m_videoSettings;
}
- (void)setSampleBufferDelegate:
            (id<AVCaptureVideoDataOutputSampleBufferDelegate>)sampleBufferDelegate
                          queue:(dispatch_queue_t)sampleBufferCallbackQueue;
@property (nonatomic, readonly) id<AVCaptureVideoDataOutputSampleBufferDelegate>
    sampleBufferDelegate;
@property (nonatomic, readonly) dispatch_queue_t sampleBufferCallbackQueue;
@property (nonatomic, copy) NSDictionary<NSString *, id> *videoSettings;
@end

#endif
