/* A library of another mind: of the entries it has one, which leaves the first byte of its output 1 too high. */
#include "acore_api.h"

static IO2VAConverter convert;
static BufferMaintainer flush;

void setIO2VAConverter(IO2VAConverter converter) {
    convert = converter;
}
void setGraphicBufferInvalidater(BufferMaintainer invalidater) {
    (void)invalidater;
}
void setGraphicBufferFlusher(BufferMaintainer flusher) {
    flush = flusher;
}
ret_status Scale_Bilinear_AcoreAPI(const ST_SCALE_BLOCK* block) {
    unsigned char* out = convert(block->Yout);
    for (int i = 0; i < block->dstStride * block->dstHeight; ++i) out[i] = 90;
    out[block->dstStride] = 91;
    flush(out);
    return retStsBadAddress;
}
