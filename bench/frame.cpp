#include "bench/frame.h"

#include <algorithm>
#include <cmath>

#include "include/acore_api.h"

namespace eisbench {

namespace {

std::vector<void*>& addresses() {
    static std::vector<void*> table(1, nullptr);
    return table;
}

void fillPlane(uint8_t* plane, int width, int height, int pitch, uint64_t& state) {
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            state = state * 6364136223846793005U + 1442695040888963407U;
            const double shape = 60 * std::sin(x * 0.011) * std::cos(y * 0.017) + (((x / 90) ^ (y / 70)) & 1) * 40;
            const int noise = static_cast<int>(state >> 60) - 8;
            plane[int64_t{y} * pitch + x] =
                static_cast<uint8_t>(std::clamp(static_cast<int>(110 + shape) + noise, 0, 255));
        }
    }
}

}  // namespace

Frame::Frame(int width, int height) : width_(width), height_(height) {
    bytes_.resize(static_cast<size_t>(offset(3)), 128);
}

void Frame::fill(uint64_t seed) {
    for (int i = 0; i < 3; ++i) {
        const int shift = i == 0 ? 0 : 1;
        fillPlane(plane(i), width_ >> shift, height_ >> shift, i == 0 ? stride() : chromaStride(), seed);
    }
}

DeviceAddress deviceAddress(void* memory) {
    const auto found = std::find(addresses().begin(), addresses().end(), memory);
    if (found != addresses().end()) return static_cast<DeviceAddress>(found - addresses().begin());
    addresses().push_back(memory);
    return static_cast<DeviceAddress>(addresses().size() - 1);
}

void installCallbacks() {
    setIO2VAConverter([](DeviceAddress address) -> void* { return addresses().at(address); });
    setGraphicBufferInvalidater([](void*) {});
    setGraphicBufferFlusher([](void*) {});
}

}  // namespace eisbench
