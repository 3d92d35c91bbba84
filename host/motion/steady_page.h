// The page of a steadied clip.
#pragma once

#include <deque>
#include <nlohmann/json.hpp>
#include <opencv2/core.hpp>
#include <string>
#include <vector>

#include "host/motion/shake.h"
#include "host/motion/stabilizer.h"
#include "host/report/page_file.h"
#include "host/video/video_file.h"

namespace eishost {

// Shows both clips side by side, the camera's path before and after, and the frames that something is to be told of.
// Frames come as they do in the Stabilizer; of those between input and output small pictures are kept. All throw
// HostError(kExitUnwritable) for what cannot be written.
class SteadyPage {
  public:
    struct About {
        std::string title;
        std::string rate;  // frames a second, as "30/1"
        cv::Size frame;
        double zoom = 1;
    };

    // Also for a folder that has a page of someone else.
    SteadyPage(const std::string& folder, About about);

    void addInput(const Picture& picture);
    // What the oldest input became.
    void addOutput(const SteadyFrame& frame);

    // Writes the page, with what --json prints of the whole.
    void write(const nlohmann::json& summary);

    const std::string& path() const { return file_.path(); }

  private:
    enum Measure { kAcross, kDown, kTurn, kZoom, kShake, kMeasures };

    // A clip's path, a value a frame.
    struct Path {
        explicit Path(cv::Size frame) : shake(frame) {}

        std::vector<double> measures[kMeasures];
        ShakeMeter shake;
    };

    struct Still {
        std::size_t frame;
        Picture before;
        Picture after;
    };

    struct Note {
        std::size_t frame;
        std::string text;
    };

    void addPath(Path& path, const SteadyFrame& frame, const cv::Matx33d& correction, double zoom);
    void addStill(std::size_t frame, const Picture& before, const Picture& after);
    void addNote(const SteadyFrame& frame);
    nlohmann::json plots() const;
    nlohmann::json saveStills() const;
    nlohmann::json facts(const nlohmann::json& summary) const;

    About about_;
    PagePictures pictures_;
    PageFile file_;
    VideoFile video_;
    std::deque<Picture> waiting_;  // inputs, made small
    // Of every stillStep_ th frame, which grows so that there are always few.
    std::vector<Still> stills_;
    std::size_t stillStep_ = 1;
    cv::Matx33d fromScene_ = cv::Matx33d::eye();  // from the scene's first frame to the last one
    std::vector<std::size_t> scenes_;             // their first frames
    Path before_;
    Path after_;
    std::vector<Note> notes_;
    std::size_t moreNotes_ = 0;
};

}  // namespace eishost
