#include "host/program/progress.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace eishost {

namespace {

using Seconds = std::chrono::duration<double>;

constexpr Seconds kPatience{2};
constexpr std::chrono::milliseconds kRefresh{500};
constexpr std::size_t kCells = 20;

std::string duration(double seconds) {
    constexpr double kMinutesFrom = 100;
    const bool minutes = seconds >= kMinutesFrom;
    return std::to_string(std::lround(minutes ? seconds / 60 : seconds)) + (minutes ? " min" : " s");
}

// A line that is longer than the terminal is wide could not be taken back.
std::size_t terminalWidth() {
    winsize size{};
    constexpr std::size_t kUsual = 80;
    return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : kUsual;
}

}  // namespace

Progress::Progress(std::size_t total, bool wanted) : total_(total) {
    if (wanted && isatty(STDERR_FILENO) != 0)
        drawer_ = std::jthread([this](const std::stop_token& stop) { run(stop); });
}

Progress::~Progress() {
    drawer_ = {};
    erase();
}

void Progress::at(std::size_t done, const std::string& current) {
    at(done, total_, current);
}

void Progress::at(std::size_t done, std::size_t total, const std::string& current) {
    const std::lock_guard lock(mutex_);
    if (done != done_ || !counting_) lastTime_ = Clock::now();
    if (done < done_ || !counting_) {
        firstDone_ = done;
        firstTime_ = lastTime_;
    }
    counting_ = true;
    done_ = done;
    total_ = total;
    current_ = current;
    shown_ = true;
}

void Progress::hide() {
    const std::lock_guard lock(mutex_);
    shown_ = false;
    erase();
}

std::string Progress::text() const {
    if (total_ == 0) {
        const std::string count = done_ > 0 ? std::to_string(done_) + " done, " : "";
        return count + duration(Seconds(Clock::now() - start_).count()) + " so far: " + current_;
    }
    const std::size_t filled = kCells * std::min(done_, total_) / total_;
    std::string text = "[";
    text.append(filled, '#').append(kCells - filled, '.').append("] ");
    text += std::to_string(done_) + " of " + std::to_string(total_) + " done";
    if (done_ > firstDone_ && total_ > done_) {
        const double each = Seconds(lastTime_ - firstTime_).count() / static_cast<double>(done_ - firstDone_);
        const double left = each * static_cast<double>(total_ - done_) - Seconds(Clock::now() - lastTime_).count();
        if (left >= 1) text += ", about " + duration(left) + " left";
    }
    return text + ": " + current_;
}

void Progress::run(const std::stop_token& stop) {
    std::unique_lock lock(mutex_);
    while (!stop.stop_requested()) {
        if (shown_ && Clock::now() - start_ >= kPatience) draw();
        changed_.wait_for(lock, stop, kRefresh, [] { return false; });
    }
}

void Progress::draw() {
    const std::string line = text().substr(0, terminalWidth() - 1);
    if (line == drawn_) return;
    std::fprintf(stderr, "\r\033[K%s\r", line.c_str());  // whatever else is printed meanwhile begins its line
    std::fflush(stderr);
    drawn_ = line;
}

void Progress::erase() {
    if (drawn_.empty()) return;
    std::fputs("\r\033[K", stderr);
    std::fflush(stderr);
    drawn_.clear();
}

}  // namespace eishost
