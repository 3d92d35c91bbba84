// Frames and a stand-in for the host's address space, for the timings.
#pragma once

#include <cstdint>
#include <vector>

#include "include/acore_types.h"

namespace eisbench {

// A planar YUV 4:2:0 frame with the padded pitches of planes that come from the DSP. The second chroma plane stands
// right behind the first.
class Frame {
  public:
    Frame(int width, int height);

    int width() const { return width_; }
    int height() const { return height_; }
    int stride() const { return (width_ + 127) & ~127; }
    int chromaStride() const { return (width_ / 2 + 127) & ~127; }
    uint8_t* plane(int i) { return bytes_.data() + offset(i); }
    const std::vector<uint8_t>& bytes() const { return bytes_; }
    std::vector<uint8_t>& bytes() { return bytes_; }

    // Smooth shapes with edges and some noise, from a seed.
    void fill(uint64_t seed);

  private:
    int64_t offset(int plane) const {
        const int64_t luma = int64_t{stride()} * height_;
        return plane == 0 ? 0 : luma + int64_t{plane - 1} * chromaStride() * (height_ / 2);
    }

    int width_;
    int height_;
    std::vector<uint8_t> bytes_;
};

// Makes memory reachable by a device address for the rest of the run.
DeviceAddress deviceAddress(void* memory);
// Installs converter and maintainers; the maintainers do nothing, as on a coherent machine.
void installCallbacks();

}  // namespace eisbench
