// The default EGL display.
#pragma once

#include <EGL/egl.h>

namespace eis {

// Opens and initialises the default display: 1 with the display stored and *outContext zero, or 0 with a log line. The
// OpenCL set-up does not depend on it.
int InitEglDisplay(EGLDisplay* outDisplay, EGLContext* outContext);

}  // namespace eis
