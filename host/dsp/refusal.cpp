#include "host/dsp/refusal.h"

#include <algorithm>

namespace eishost {

namespace {

constexpr int kErrorPriority = 6;

struct KnownRefusal {
    const char* logged;
    const char* reason;
};

constexpr KnownRefusal kKnownRefusals[] = {
    {"IMG_REGISTRATION: not enough keypoints", "fewer than 8 matches agree on one motion"},
    {"IMG_REGISTRATION: Incorrect h!", "the perspective changes too much between the frames"},
    {"IMG_REGISTRATION: the global motion between two frames is too large!",
     "the frames are too far apart, over 300 pixels of width or height would be lost"},
    {"IMG_REGISTRATION: calculate motion area error",
     "the frames share no area of more than half the width and half the height"},
};

}  // namespace

std::optional<Refusal> findRefusal(const std::vector<LogLine>& log) {
    for (const LogLine& line : log) {
        if (line.priority < kErrorPriority) continue;
        for (const KnownRefusal& known : kKnownRefusals) {
            if (line.text.rfind(known.logged, 0) == 0) return Refusal{line.text, known.reason};
        }
    }
    return std::nullopt;
}

}  // namespace eishost
