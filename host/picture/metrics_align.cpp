#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>

#include "host/picture/metrics.h"

namespace eishost {

namespace {

constexpr int kGroup = 8;  // columns that share one reciprocal
constexpr int kFractionOne = 128;

// The library's rows lie so far apart, and its reads run on from one row into the next.
std::int64_t libraryPitch(int width) {
    return (width + 127) & ~127;
}

struct PaddedPlane {
    explicit PaddedPlane(const cv::Mat& plane) : pitch(libraryPitch(plane.cols)), samples(pitch * plane.rows) {
        for (int row = 0; row < plane.rows; ++row)
            std::copy_n(plane.ptr(row), plane.cols, samples.begin() + row * pitch);
    }
    int at(std::int64_t offset) const {
        return samples[std::clamp<std::int64_t>(offset, 0, static_cast<std::int64_t>(samples.size()) - 1)];
    }

    std::int64_t pitch;
    std::vector<std::uint8_t> samples;
};

// A position of the frame, as a whole part and 1/128ths.
struct Position {
    explicit Position(float coordinate) {
        constexpr float kFar = 1 << 24;
        const float bounded = std::clamp(coordinate, -kFar, kFar);
        whole = static_cast<int>(bounded);
        fraction = std::max(0, static_cast<int>(bounded * kFractionOne) - whole * kFractionOne);
    }
    int whole;
    int fraction;
};

// Where the pixels of a group come from: a luma offset for each column, a chroma offset for each second one.
struct GroupSource {
    std::array<std::int64_t, kGroup> luma;
    std::array<std::int64_t, kGroup / 2> chroma;
    std::array<int, kGroup / 2> fractionX;
    std::array<int, kGroup / 2> fractionY;
};

GroupSource locate(const float* h, float inverse, int x, int y, std::int64_t pitch, std::int64_t chromaPitch) {
    GroupSource source{};
    const auto row = static_cast<float>(y);
    std::int64_t steps = 0;
    for (int j = 0; j < kGroup / 2; ++j) {
        const auto column = static_cast<float>(x + 2 * j);
        const Position atX(std::fma(column, h[0], std::fma(row, h[1], h[2])) * inverse);
        const Position atY(std::fma(column, h[3], std::fma(row, h[4], h[5])) * inverse);
        source.luma[2 * j] = atX.whole + atY.whole * pitch;
        source.luma[2 * j + 1] = source.luma[2 * j] + 1;
        source.chroma[j] = ((atX.whole + 1) >> 1) + ((atY.whole + 1) >> 1) * chromaPitch;
        source.fractionX[j] = atX.fraction;
        source.fractionY[j] = atY.fraction;
        steps += std::clamp<std::int64_t>(source.luma[2 * j] - source.luma[0], -32768, 32767);
    }
    // Steps that add up to those of neighbours make the library read neighbours, even if they differ.
    if (steps == 0 + 2 + 4 + 6) {
        std::iota(source.luma.begin(), source.luma.end(), source.luma[0]);
        std::iota(source.chroma.begin(), source.chroma.end(), source.chroma[0]);
    }
    return source;
}

}  // namespace

Picture alignByHomography(const Picture& frame, const cv::Matx33d& homography, const cv::Rect& area) {
    float h[9];
    std::copy_n(homography.val, 9, h);
    const PaddedPlane luma(frame.mat(0));
    const PaddedPlane chroma[2] = {PaddedPlane(frame.mat(1)), PaddedPlane(frame.mat(2))};
    Picture out(frame.width, frame.height);
    out.range = frame.range;
    cv::Mat outPlanes[3] = {out.mat(0), out.mat(1), out.mat(2)};

    for (int y = area.y; y < area.y + area.height; y += 2) {
        std::uint8_t* const rows[2] = {outPlanes[0].ptr(y), outPlanes[0].ptr(y + 1)};
        float divisor = std::fma(static_cast<float>(y), h[7], std::fma(h[6], static_cast<float>(area.x), 1.0F));
        for (int x = area.x; x < area.x + area.width; x += kGroup, divisor += h[6] * kGroup) {
            const GroupSource source = locate(h, 1 / divisor, x, y, luma.pitch, chroma[0].pitch);
            for (int k = 0; k < kGroup; ++k) {
                const int fx = source.fractionX[k / 2];
                const int fy = source.fractionY[k / 2];
                int across[3];
                for (int line = 0; line < 3; ++line) {
                    const std::int64_t left = source.luma[k] + line * luma.pitch;
                    across[line] = (luma.at(left) * (kFractionOne - fx) + luma.at(left + 1) * fx + 32) >> 6;
                }
                for (int line = 0; line < 2; ++line)
                    rows[line][x + k] = static_cast<std::uint8_t>(
                        (across[line] * (kFractionOne - fy) + across[line + 1] * fy + 128) >> 8);
            }
            for (int plane = 0; plane < 2; ++plane)
                for (int j = 0; j < kGroup / 2; ++j)
                    outPlanes[plane + 1].ptr(y / 2)[x / 2 + j] =
                        static_cast<std::uint8_t>(chroma[plane].at(source.chroma[j]));
        }
    }
    return out;
}

}  // namespace eishost
