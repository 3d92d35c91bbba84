#include "opencl/egl_display.h"

#include "libCore/core/source/frame/export.h"
#include "libCore/core/source/frame/log.h"

namespace eis {

EIS_KEEP int InitEglDisplay(EGLDisplay* outDisplay, EGLContext* outContext) {
    const EGLDisplay display = eglGetDisplay(EGL_DEFAULT_DISPLAY);
    if (display == EGL_NO_DISPLAY) {
        MFNR_LOG_ERROR("eglGetDisplay FAILED.\n");
        return 0;
    }
    if (eglInitialize(display, nullptr, nullptr) == EGL_FALSE) {
        MFNR_LOG_ERROR("eglInitialize FAILED.\n");
        return 0;
    }
    *outDisplay = display;
    *outContext = nullptr;
    return 1;
}

}  // namespace eis
