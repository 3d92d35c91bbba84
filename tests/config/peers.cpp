#include "tests/config/peers.h"

#include "libCore/core/source/slots.h"
#include "platform/huefuse/peer_api.h"
#include "tests/harness/calls.h"

namespace eis::test {

namespace {

void note(const char* event, bool isInstalled) {
    const OwnWork own;
    recordCallback(isInstalled ? event : std::string(event) + " strange");
}

}  // namespace

Events peerCalls() {
    return {"peer converter", "peer invalidater", "peer flusher"};
}

}  // namespace eis::test

extern "C" {

void peerSetIO2VAConverter(void* (*converter)(uint32_t)) {
    eis::test::note("peer converter", converter == eis::g_convert2Addr.load());
}
void peerSetGraphicBufferInvalidater(void (*invalidater)(void*)) {
    eis::test::note("peer invalidater", invalidater == eis::g_invalidBuff.load());
}
void peerSetGraphicBufferFlusher(void (*flusher)(void*)) {
    eis::test::note("peer flusher", flusher == eis::g_flushBuff.load());
}
}
