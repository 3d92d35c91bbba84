/* The part of the sibling library libeis_huefuse_acore that this library calls. */
#ifndef EIS_PLATFORM_HUEFUSE_PEER_API_H
#define EIS_PLATFORM_HUEFUSE_PEER_API_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Each takes over one callback of the host; the signatures are those of acore_api.h. */
void peerSetIO2VAConverter(void* (*converter)(uint32_t deviceAddress));
void peerSetGraphicBufferInvalidater(void (*invalidater)(void* address));
void peerSetGraphicBufferFlusher(void (*flusher)(void* address));

#ifdef __cplusplus
}
#endif

#endif
