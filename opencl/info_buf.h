// The one buffer that all OpenCL information queries share. The GPU path is for one thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace eis {

inline constexpr size_t kInfoBufSize = 128;
alignas(8) inline char infoBuf[kInfoBufSize];

// The value that the last query left.
template <class T>
T infoValue() {
    T value;
    std::memcpy(&value, infoBuf, sizeof value);
    return value;
}

// The text that the last query left, cut to the buffer.
inline const char* infoText() {
    infoBuf[kInfoBufSize - 1] = '\0';
    return infoBuf;
}

}  // namespace eis
