// A stand-in for the closed sibling library: it takes the callbacks and does nothing with them.
#include "libCore/core/source/frame/peer_api.h"

#define PEER_EXPORT __attribute__((visibility("default")))

extern "C" {
PEER_EXPORT void peerSetIO2VAConverter(void* (*)(uint32_t)) {}
PEER_EXPORT void peerSetGraphicBufferInvalidater(void (*)(void*)) {}
PEER_EXPORT void peerSetGraphicBufferFlusher(void (*)(void*)) {}
}
