#include "host/synth/synth_truth.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <opencv2/imgproc.hpp>

#include "host/picture/picture.h"
#include "host/program/exit_codes.h"
#include "host/program/output_file.h"

namespace eishost {

namespace {

using nlohmann::json;

std::string truthPath(const std::string& folder) {
    return (std::filesystem::path(folder) / "truth.json").string();
}

json toJson(const FrameTruth& frame) {
    json out{{"frame", frame.frame},
             {"clean", frame.clean},
             {"homography", std::vector<double>(frame.homography.val, frame.homography.val + 9)},
             {"noiseSigma", {{"y", frame.noiseSigma[0]}, {"u", frame.noiseSigma[1]}, {"v", frame.noiseSigma[2]}}}};
    if (frame.mover) out["mover"] = {frame.mover->x, frame.mover->y, frame.mover->width, frame.mover->height};
    if (!frame.moverMask.empty()) out["moverMask"] = frame.moverMask;
    return out;
}

FrameTruth frameFromJson(const json& in) {
    FrameTruth frame;
    frame.frame = in.at("frame");
    frame.clean = in.at("clean");
    const auto elements = in.at("homography").get<std::array<double, 9>>();
    frame.homography = cv::Matx33d(elements.data());
    const json& sigma = in.at("noiseSigma");
    frame.noiseSigma = {sigma.at("y"), sigma.at("u"), sigma.at("v")};
    if (in.contains("mover")) {
        const auto box = in.at("mover").get<std::array<int, 4>>();
        frame.mover = cv::Rect(box[0], box[1], box[2], box[3]);
    }
    frame.moverMask = in.value("moverMask", "");
    return frame;
}

}  // namespace

const FrameTruth* BurstTruth::find(const std::string& path) const {
    const std::string name = std::filesystem::path(path).filename().string();
    const auto found =
        std::find_if(frames.begin(), frames.end(), [&](const auto& entry) { return entry.frame == name; });
    return found == frames.end() ? nullptr : &*found;
}

void saveTruth(const std::string& folder, const BurstTruth& truth) {
    json frames = json::array();
    for (const FrameTruth& frame : truth.frames) frames.push_back(toJson(frame));
    const json out{{"photo", truth.photo},   {"seed", truth.seed},       {"noise", truth.noise}, {"width", truth.width},
                   {"height", truth.height}, {"options", truth.options}, {"frames", frames}};
    saveFile(truthPath(folder), out.dump(2) + '\n');
}

std::optional<BurstTruth> loadTruth(const std::string& folder) {
    std::ifstream file(truthPath(folder));
    if (!file) return std::nullopt;
    try {
        const json in = json::parse(file);
        BurstTruth truth;
        truth.photo = in.at("photo");
        truth.seed = in.at("seed");
        truth.noise = in.at("noise");
        truth.width = in.at("width");
        truth.height = in.at("height");
        truth.options = in.at("options");
        for (const json& frame : in.at("frames")) truth.frames.push_back(frameFromJson(frame));
        return truth;
    } catch (const json::exception&) {
        throw HostError(kExitUnreadable, truthPath(folder) + ": damaged");
    }
}

cv::Mat moverArea(const std::string& folder, const FrameTruth& reference, const FrameTruth& frame, cv::Size size) {
    if (reference.moverMask.empty() || frame.moverMask.empty()) return {};
    const auto load = [&](const std::string& name) {
        const std::string path = (std::filesystem::path(folder) / name).string();
        const Picture picture = loadPicture(path);
        if (picture.width != size.width || picture.height < size.height || picture.height >= size.height + 8) {
            throw HostError(kExitUnsuitable, path + ": its size differs from the frame's");
        }
        return picture.mat(0).clone();
    };
    cv::Mat area = load(reference.moverMask) | load(frame.moverMask);
    if (reference.homography != cv::Matx33d::eye()) {
        cv::warpPerspective(area, area, reference.homography, area.size(), cv::INTER_LINEAR);
    }
    return area(cv::Rect(cv::Point(), size)) > 127;
}

cv::Matx33d homographyBetween(const FrameTruth& reference, const FrameTruth& frame) {
    const cv::Matx33d product = frame.homography * reference.homography.inv();
    return product * (1 / product(2, 2));
}

}  // namespace eishost
