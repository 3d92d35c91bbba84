// The one macro behind every exported function.
#pragma once

#define EIS_EXPORT extern "C" __attribute__((visibility("default")))
