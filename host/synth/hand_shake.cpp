#include "host/synth/hand_shake.h"

#include <cmath>

#include "host/synth/synth_seed.h"

namespace eishost {

namespace {

constexpr double kLowest = 0.25;  // Hz
constexpr double kHighest = 12;
constexpr double kSway = 1;
constexpr double kTremor = 8;
constexpr int kWavesAnOctave = 4;

double amplitudeAt(double frequency) {
    if (frequency < kSway) return 1;
    if (frequency < kTremor) return kSway / frequency;
    return kSway / kTremor * std::pow(kTremor / frequency, 3);
}

}  // namespace

HandShake::HandShake(std::uint64_t seed, double acceleration, cv::Size frame)
    : centre_(frame.width / 2.0, frame.height / 2.0) {
    // What a turn or a zoom of 1 moves content by, root mean square over the frame.
    const double reach = std::sqrt(centre_.dot(centre_) / 3);
    // A hand shifts more than it turns, and hardly moves along the line of sight.
    const std::array<double, kAxes> shares{1, 1, 0.25 / reach, 0.06 / reach};
    double energy = 0;
    for (int axis = 0; axis < kAxes; ++axis) {
        cv::RNG random(mixSeed(seed, static_cast<std::uint64_t>(axis)));
        const double leverage = axis == kTurn || axis == kZoom ? reach : 1;
        const double spacing = std::exp2(1.0 / kWavesAnOctave);
        for (double low = kLowest; low * spacing <= kHighest; low *= spacing) {
            const double frequency = low * std::pow(spacing, random.uniform(0.0, 1.0));
            const double step = 2 * CV_PI * frequency / kRate;
            const Wave wave{shares[axis] * amplitudeAt(frequency), step, random.uniform(0.0, 2 * CV_PI)};
            // The second difference of a sine is the sine itself, this much larger.
            const double difference = 4 * std::pow(std::sin(step / 2), 2);
            energy += std::pow(leverage * wave.amplitude * difference, 2) / 2;
            waves_[axis].push_back(wave);
        }
    }
    for (std::vector<Wave>& waves : waves_) {
        for (Wave& wave : waves) wave.amplitude *= acceleration / std::sqrt(energy);
    }
}

cv::Matx33d HandShake::at(int index) const {
    std::array<double, kAxes> pose{};
    for (int axis = 0; axis < kAxes; ++axis) {
        for (const Wave& wave : waves_[axis]) pose[axis] += wave.amplitude * std::sin(wave.step * index + wave.phase);
    }
    const double c = std::exp(pose[kZoom]) * std::cos(pose[kTurn]);
    const double s = std::exp(pose[kZoom]) * std::sin(pose[kTurn]);
    // About the frame's centre.
    return {c, -s, centre_.x - c * centre_.x + s * centre_.y + pose[kX],  //
            s, c,  centre_.y - s * centre_.x - c * centre_.y + pose[kY],  //
            0, 0,  1};
}

}  // namespace eishost
