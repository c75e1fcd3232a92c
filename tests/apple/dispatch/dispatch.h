#ifndef CORVANE_TESTS_APPLE_DISPATCH_H
#define CORVANE_TESTS_APPLE_DISPATCH_H

// The part of libdispatch that the library calls, as Objective-C sees it: queues are objects.

#import <Foundation/Foundation.h>

@protocol OS_dispatch_object <NSObject>
@end
@protocol OS_dispatch_queue <OS_dispatch_object>
@end
@protocol OS_dispatch_queue_attr <OS_dispatch_object>
@end

typedef NSObject<OS_dispatch_queue> *dispatch_queue_t;
typedef NSObject<OS_dispatch_queue_attr> *dispatch_queue_attr_t;
typedef void (^dispatch_block_t)(void);

#define DISPATCH_QUEUE_SERIAL NULL

#ifdef __cplusplus
extern "C" {
#endif

dispatch_queue_t dispatch_queue_create(const char *label, dispatch_queue_attr_t attr);
const char *dispatch_queue_get_label(dispatch_queue_t queue);
void dispatch_sync(dispatch_queue_t queue, dispatch_block_t block);

#ifdef __cplusplus
}
#endif

#endif
