// The seam at which a build can attach a resource tracer: both functions are empty here and stand alone in their unit,
// so that a static link can replace them.
//
// After the tag come the source unit and the enclosing function's signature (texts), the line and the kind (ints); then
// for memory 0 (int), the pointer and the size (size_t), for a thread its handle. A release has size 0.
#pragma once

namespace eis {

inline constexpr char kTraceTag[] = "AP_EIS";
inline constexpr int kTraceMemory = 0;
inline constexpr int kTraceThread = 4;

// Called after each allocation and each thread start.
void traceAcquire(const char* tag, ...);
// Called just before each free and just after each join.
void traceRelease(const char* tag, ...);

}  // namespace eis
