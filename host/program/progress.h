// How far a long command has come, on standard error.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <string>
#include <thread>

namespace eishost {

// A line below the output: "[######......] 4 of 8 done, about 12 s left: frame_04.png". It is for a terminal alone,
// comes up when the work has taken two seconds, and goes with the object. A thread of its own keeps it fresh while a
// step runs, so that a step may be of any length.
class Progress {
  public:
    // `total` steps to do; 0 when that is not known, then the line tells the time so far, and `current` what is left.
    // Unless `wanted`, as where other lines go to standard error all the time, it does nothing.
    explicit Progress(std::size_t total, bool wanted = true);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // `done` steps are done, and `current` is at work. Fewer than before begin a new count, by `total` steps.
    void at(std::size_t done, const std::string& current);
    void at(std::size_t done, std::size_t total, const std::string& current);

    // Takes the line away until the next at(), so that others can print.
    void hide();

  private:
    using Clock = std::chrono::steady_clock;

    std::string text() const;
    void run(const std::stop_token& stop);
    void draw();
    void erase();

    std::mutex mutex_;
    std::condition_variable_any changed_;
    std::size_t total_;
    std::size_t done_ = 0;
    std::string current_;
    std::size_t firstDone_ = 0;  // where this count began, at firstTime_
    Clock::time_point start_ = Clock::now();
    Clock::time_point firstTime_ = start_;
    Clock::time_point lastTime_ = start_;  // when done_ came about
    bool counting_ = false;                // at() was called
    bool shown_ = false;                   // between at() and hide()
    std::string drawn_;                    // what stands on the terminal
    std::jthread drawer_;                  // last, so that it ends first
};

}  // namespace eishost
