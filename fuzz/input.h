// What a target makes of its bytes: numbers, and memory between protected pages that is kept from run to run.
#pragma once

#include <sys/mman.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <utility>

#include "fuzz/check.h"

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#include <sanitizer/asan_interface.h>
#endif
#if __has_feature(memory_sanitizer)
#include <sanitizer/msan_interface.h>
#endif
#endif
#ifndef ASAN_POISON_MEMORY_REGION
#define ASAN_POISON_MEMORY_REGION(address, size) ((void)(address), (void)(size))
#define ASAN_UNPOISON_MEMORY_REGION(address, size) ((void)(address), (void)(size))
#endif
#ifndef MSAN_INTERFACE_H
#define __msan_allocated_memory(address, size) ((void)(address), (void)(size))
#endif

namespace eisfuzz {

// Numbers from the front of the bytes; behind their end all are 0.
class Input {
  public:
    Input(const uint8_t* data, size_t size) : data_(data), size_(size) {}

    template <class T>
    T take() {
        T value{};
        const size_t count = std::min(sizeof value, size_);
        std::memcpy(&value, data_, count);
        data_ += count;
        size_ -= count;
        return value;
    }
    int in(int low, int high) { return low + take<uint16_t>() % (high - low + 1); }
    // 1 to `most`, small ones often.
    int side(int most) {
        const int product = take<uint8_t>() * take<uint8_t>();
        return 1 + product * most / 65026;
    }
    bool oneIn(int n) { return take<uint8_t>() % n == 1; }
    template <class T, size_t n>
    T of(const T (&values)[n]) {
        return values[take<uint8_t>() % n];
    }

    const uint8_t* data() const { return data_; }
    size_t size() const { return size_; }
    std::string text() const { return {reinterpret_cast<const char*>(data_), size_}; }

  private:
    const uint8_t* data_;
    size_t size_;
};

class Random {
  public:
    explicit Random(uint64_t seed) : state_(seed * 0x9E3779B97F4A7C15u | 1) {}
    uint64_t bits() {
        state_ ^= state_ << 13;
        state_ ^= state_ >> 7;
        state_ ^= state_ << 17;
        return state_ * 0x2545F4914F6CDD1Du;
    }
    int64_t in(int64_t low, int64_t high) {
        return low + static_cast<int64_t>((bits() >> 32) * (high - low + 1) >> 32);
    }

  private:
    uint64_t state_;
};

// Blocks that end at a protected page, and are poisoned ahead of their first byte.
class Memory {
  public:
    // From here on the blocks are free again, and the contents of new ones follow from the seed and what is left of the
    // input.
    void begin(uint32_t seed, const Input& input) {
        used_ = 0;
        seed_ = seed;
        input_ = input;
    }

    // Of any content.
    template <class T>
    T* empty(size_t count) {
        FUZZ_CHECK(used_ < kBlocks && count * sizeof(T) <= kBlockBytes - 8);
        Block& block = blocks_[used_++];
        if (block.end == nullptr) map(block);
        const size_t before = std::exchange(block.bytes, count * sizeof(T));
        uint8_t* data = block.end - block.bytes;
        // Eight bytes have one mark: those that the block begins in have another one now.
        if (block.bytes < before) ASAN_POISON_MEMORY_REGION(block.end - before - 8, before - block.bytes + 8);
        ASAN_UNPOISON_MEMORY_REGION(data, block.bytes);
        __msan_allocated_memory(data, block.bytes);
        return reinterpret_cast<T*>(data);
    }
    template <class T>
    T* of(const T& value) {
        T* to = empty<T>(1);
        std::memcpy(static_cast<void*>(to), &value, sizeof value);
        return to;
    }
    // Noise, a level, extremes in turn, a ramp with noise, or sparse extremes, with the input's rest laid over its
    // start.
    uint8_t* bytes(size_t count) {
        static const Bank bank;
        uint8_t* to = empty<uint8_t>(count);
        Random random(seed_ + used_);
        const auto& content = bank.contents[random.in(0, 7) % bank.contents.size()];
        std::memcpy(to, content.data() + random.in(0, 4095), count);
        if (random.in(0, 1) == 0 && count > 0) std::memcpy(to, input_.data(), std::min(count, input_.size()));
        return to;
    }
    // From `low` to `high`, which now and then are most of them.
    template <class T>
    T* numbers(size_t count, int64_t low, int64_t high) {
        T* to = empty<T>(count);
        Random random(seed_ + used_);
        const bool extremes = random.in(0, 3) == 0;
        for (size_t i = 0; i < count; ++i) {
            const bool extreme = extremes && random.in(0, 3) != 0;
            to[i] = static_cast<T>(extreme ? random.in(0, 1) == 0 ? low : high : random.in(low, high));
        }
        return to;
    }

    // Whether the blocks hold the same bytes, one by one.
    bool operator==(const Memory& other) const {
        if (used_ != other.used_) return false;
        for (int i = 0; i < used_; ++i) {
            const Block& a = blocks_[i];
            const Block& b = other.blocks_[i];
            if (a.bytes != b.bytes || std::memcmp(a.end - a.bytes, b.end - b.bytes, a.bytes) != 0) return false;
        }
        return true;
    }

  private:
    static constexpr int kBlocks = 32;
    static constexpr size_t kBlockBytes = 256 << 10;
    static constexpr size_t kPage = 4096;

    struct Block {
        uint8_t* end = nullptr;
        size_t bytes = 0;
    };
    struct Bank {
        std::array<std::array<uint8_t, kBlockBytes + kPage>, 5> contents;
        Bank() {
            Random random(1);
            for (size_t i = 0; i < contents[0].size(); ++i) {
                const auto noise = static_cast<uint8_t>(random.bits() >> 56);
                const uint8_t values[] = {noise, static_cast<uint8_t>(i >> 10), static_cast<uint8_t>(i % 2 * 255),
                                          static_cast<uint8_t>((i / 5 + noise % 16) & 255),
                                          static_cast<uint8_t>(noise < 20 ? 255 : 0)};
                for (size_t k = 0; k < contents.size(); ++k) contents[k][i] = values[k];
            }
        }
    };

    static void map(Block& block) {
        void* area = mmap(nullptr, kBlockBytes + 2 * kPage, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        FUZZ_CHECK(area != MAP_FAILED);
        uint8_t* start = static_cast<uint8_t*>(area) + kPage;
        FUZZ_CHECK(mprotect(start, kBlockBytes, PROT_READ | PROT_WRITE) == 0);
        ASAN_POISON_MEMORY_REGION(start, kBlockBytes);
        block.end = start + kBlockBytes;
    }

    Block blocks_[kBlocks];
    int used_ = 0;
    uint32_t seed_ = 0;
    Input input_{nullptr, 0};
};

}  // namespace eisfuzz
