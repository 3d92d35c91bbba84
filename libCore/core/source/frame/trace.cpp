#include "libCore/core/source/frame/trace.h"

namespace eis {

void traceAcquire(const char* /*tag*/, ...) {}
void traceRelease(const char* /*tag*/, ...) {}

}  // namespace eis
