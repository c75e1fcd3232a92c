#ifndef CORVANE_TESTS_APPLE_BLOCKS_RUNTIME_H
#define CORVANE_TESTS_APPLE_BLOCKS_RUNTIME_H

// GNUstep asks for this header, which the runtime of GNU Objective-C lacks; libBlocksRuntime has
// the functions.

#ifdef __cplusplus
extern "C" {
#endif

void *_Block_copy(const void *block);
void _Block_release(const void *block);

#ifdef __cplusplus
}
#endif

#define Block_copy(block) ((__typeof__(block))_Block_copy((const void *)(block)))
#define Block_release(block) _Block_release((const void *)(block))

#endif
