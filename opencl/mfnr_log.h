// The log of the GPU path's set-up, under a tag of its own.
#pragma once

#include <android/log.h>

#define MFNR_LOG_INFO(...) __android_log_print(ANDROID_LOG_INFO, "MFNR_AP", __VA_ARGS__)
#define MFNR_LOG_ERROR(...) __android_log_print(ANDROID_LOG_ERROR, "MFNR_AP", __VA_ARGS__)
