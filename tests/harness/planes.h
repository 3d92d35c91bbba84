// Memory that ends or begins at a protected page, and planes in it.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>
#include <utility>

namespace eis::test {

// Where a block stands between its two protected pages.
struct Placement {
    enum Side { kAtEnd, kAtStart } side = kAtEnd;
    int shift = 0;  // bytes between the block and the protected page: moves its alignment, kAtStart from a page's start
};

// A block between protected pages, on which a stray access dies. Bytes that are not protected are filled with a
// position-dependent canary, the block included.
class GuardedMemory {
  public:
    explicit GuardedMemory(size_t bytes, Placement placement = {});
    GuardedMemory(GuardedMemory&& other) noexcept
        : region_(std::exchange(other.region_, nullptr)),
          regionBytes_(other.regionBytes_),
          data_(other.data_),
          bytes_(other.bytes_) {}
    GuardedMemory& operator=(GuardedMemory&&) = delete;
    ~GuardedMemory();

    uint8_t* data() const { return data_; }
    size_t size() const { return bytes_; }

    // Whether the bytes around the block still are the canary.
    testing::AssertionResult surroundingsIntact() const;
    // Whether a part of the block still is.
    bool isCanary(size_t offset, size_t bytes) const;

  private:
    uint8_t* region_;
    size_t regionBytes_;
    uint8_t* data_;
    size_t bytes_;
};

// Rows of `pitch` samples of which `width` are the plane's; the rest is padding and starts as canary, as the samples
// do. A tight plane ends with its last sample, without padding of the last row.
template <class T>
class Plane {
    static_assert(std::is_trivially_copyable_v<T>);

  public:
    Plane(int width, int height, int pitch, Placement placement = {}, bool tight = false)
        : width_(width),
          height_(height),
          pitch_(pitch),
          memory_(sizeof(T) * (static_cast<size_t>(pitch) * height - (tight && height > 0 ? pitch - width : 0)),
                  placement) {}
    Plane(int width, int height) : Plane(width, height, width) {}

    int width() const { return width_; }
    int height() const { return height_; }
    int pitch() const { return pitch_; }
    T* data() const { return reinterpret_cast<T*>(memory_.data()); }
    size_t size() const { return memory_.size() / sizeof(T); }
    T* row(int y) const { return data() + static_cast<ptrdiff_t>(y) * pitch_; }
    T& at(int x, int y) const { return row(y)[x]; }

    // Makes the whole buffer, padding included, equal to another of the same shape.
    void copyFrom(const Plane& other) const { std::memcpy(data(), other.data(), memory_.size()); }

    // Whether samples and padding are as they were at the start.
    bool isUntouched() const { return memory_.isCanary(0, memory_.size()); }

    // Whether padding and surroundings are as they were at the start.
    testing::AssertionResult paddingIntact() const {
        for (int y = 0; y < height_; ++y) {
            const size_t begin = sizeof(T) * (static_cast<size_t>(y) * pitch_ + width_);
            const size_t end = std::min(memory_.size(), sizeof(T) * (static_cast<size_t>(y) + 1) * pitch_);
            if (begin < end && !memory_.isCanary(begin, end - begin)) {
                return testing::AssertionFailure() << "padding of row " << y << " was written";
            }
        }
        return memory_.surroundingsIntact();
    }

  private:
    int width_;
    int height_;
    int pitch_;
    GuardedMemory memory_;
};

// Equal over the whole buffer, padding included.
template <class T>
testing::AssertionResult samePlanes(const Plane<T>& a, const Plane<T>& b) {
    if (a.size() != b.size() || a.pitch() != b.pitch()) return testing::AssertionFailure() << "shapes differ";
    for (size_t i = 0; i < a.size(); ++i) {
        if (std::memcmp(a.data() + i, b.data() + i, sizeof(T)) == 0) continue;
        return testing::AssertionFailure()
               << "first difference at x " << i % a.pitch() << ", y " << i / a.pitch() << ": "
               << testing::PrintToString(a.data()[i]) << " and " << testing::PrintToString(b.data()[i]);
    }
    return testing::AssertionSuccess();
}

}  // namespace eis::test
