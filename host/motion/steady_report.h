// What is told of a steadied clip.
#pragma once

#include <nlohmann/json.hpp>

#include "host/motion/shake.h"
#include "host/motion/stabilizer.h"
#include "host/program/cpu_time.h"

namespace eishost {

// {"frame": .., "motion": [9 numbers, row by row], "correction": [..], "reliable": .., "cut": .., "refused": ..,
// "border": ..}
nlohmann::ordered_json frameJson(const SteadyFrame& frame);

// Of all frames so far.
class SteadySummary {
  public:
    SteadySummary(cv::Size frame, double zoom) : frame_(frame), zoom_(zoom), before_(frame), after_(frame) {}

    void add(const SteadyFrame& frame);
    nlohmann::ordered_json json(const StabilizerTimes& times) const;
    std::string text(const StabilizerTimes& times) const;
    std::size_t frames() const { return frames_; }

  private:
    double each(double milliseconds) const;

    cv::Size frame_;
    double zoom_;
    ShakeMeter before_;
    ShakeMeter after_;
    std::size_t frames_ = 0;
    std::size_t cuts_ = 0;
    std::size_t unreliable_ = 0;
    std::size_t refused_ = 0;
    double border_ = 0;
    double mostBorder_ = 0;
    double start_ = cpuMilliseconds();
};

}  // namespace eishost
