// The ground truth beside the frames of a synthetic burst: truth.json.
//
//   {"photo": "...", "seed": 1, "noise": "medium", "width": W, "height": H, "options": {...},
//    "frames": [{"frame": "frame_00.png", "clean": "clean_00.png", "homography": [nine numbers, row-major],
//                "noiseSigma": {"y": s, "u": s, "v": s}, "mover": [x, y, width, height],
//                "moverMask": "mover_00.png"}, ...]}
//
// A homography maps a position of the first frame to its position in the frame at hand; the first is the reference
// and has the identity. "mover" is there only if an object moves: the box of the ellipse that it fills, in positions of
// the reference. "moverMask" is a picture of it, 255 on 0, in the same positions.
#pragma once

#include <nlohmann/json.hpp>
#include <opencv2/core.hpp>
#include <optional>
#include <string>
#include <vector>

namespace eishost {

struct FrameTruth {
    std::string frame;  // file names, beside truth.json
    std::string clean;
    cv::Matx33d homography = cv::Matx33d::eye();
    cv::Vec3d noiseSigma{0, 0, 0};  // of Y, U, V in levels, frame minus clean
    std::optional<cv::Rect> mover;
    std::string moverMask;  // a file name; empty without an object
};

struct BurstTruth {
    std::string photo;
    std::uint64_t seed = 0;
    std::string noise;
    int width = 0;
    int height = 0;
    nlohmann::json options = nlohmann::json::object();  // how the burst was asked for, for the reader
    std::vector<FrameTruth> frames;

    // The truth of the frame with this path's file name, or null.
    const FrameTruth* find(const std::string& path) const;
};

// Writes folder/truth.json; HostError(kExitUnwritable).
void saveTruth(const std::string& folder, const BurstTruth& truth);

// Reads folder/truth.json: nothing if there is none, HostError(kExitUnreadable) for one that is damaged.
std::optional<BurstTruth> loadTruth(const std::string& folder);

// Maps a position of `reference` to its position in `frame`, both of one burst; element 8 is 1.
cv::Matx33d homographyBetween(const FrameTruth& reference, const FrameTruth& frame);

// Where the object is in `frame` or in `reference`, in positions of the reference: 255 on 0, read from the masks in
// `folder`. Masks that are higher than `size` by less than 8 rows are cut to it. Empty when nothing moves by itself.
// HostError for masks that cannot be read or have another size.
cv::Mat moverArea(const std::string& folder, const FrameTruth& reference, const FrameTruth& frame, cv::Size size);

}  // namespace eishost
