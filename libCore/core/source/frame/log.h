// The platform log. A message's text and priority are part of the system's definition: one call for each message.
#pragma once

#include <android/log.h>

#define EIS_LOG_INFO(...) __android_log_print(ANDROID_LOG_INFO, "EIS_AP", __VA_ARGS__)
#define EIS_LOG_ERROR(...) __android_log_print(ANDROID_LOG_ERROR, "EIS_AP", __VA_ARGS__)
// The GPU path's set-up has a tag of its own.
#define MFNR_LOG_INFO(...) __android_log_print(ANDROID_LOG_INFO, "MFNR_AP", __VA_ARGS__)
#define MFNR_LOG_ERROR(...) __android_log_print(ANDROID_LOG_ERROR, "MFNR_AP", __VA_ARGS__)

namespace eis {

// "%s" of a null pointer is undefined; the log shows this in its place.
inline const char* printable(const char* text) {
    return text != nullptr ? text : "(null)";
}

}  // namespace eis
