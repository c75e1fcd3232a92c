#ifndef CORVANE_TESTS_APPLE_APPKIT_H
#define CORVANE_TESTS_APPLE_APPKIT_H

// The part of AppKit that the library calls.

#import <Foundation/Foundation.h>

typedef NSString *NSDeviceDescriptionKey;

@interface NSScreen : NSObject {
@private
    NSDictionary *m_description;
}
@property (class, readonly, copy) NSArray<NSScreen *> *screens;
@property (readonly, copy) NSDictionary<NSDeviceDescriptionKey, id> *deviceDescription;
@end

#endif
