#include "host/merge/merge_report.h"

#include <sys/resource.h>

#include <cmath>
#include <filesystem>

namespace eishost {

namespace {

using nlohmann::ordered_json;

const char* const kPlanes[] = {"y", "u", "v"};

ordered_json framesJson(const BurstInput& input) {
    ordered_json frames = ordered_json::array();
    for (const BurstMember& member : input.members()) {
        ordered_json one = {{"frame", member.name},
                            {"reference", &member == &input.referenceMember()},
                            {"leftOut", member.leftOut.empty() ? ordered_json() : ordered_json(member.leftOut)},
                            {"registration", nullptr}};
        if (member.report) one["registration"] = nlohmann::json(*member.report);
        frames.push_back(one);
    }
    return frames;
}

// By brightness, so that a plot can be drawn: before, of one frame; after, of the merged picture.
ordered_json noiseJson(const Combined& combined) {
    ordered_json noise = {{"brightness", ordered_json::array()}};
    for (int level = 0; level < PlaceMap::kLevels; ++level) {
        noise["brightness"].push_back((level + 0.5) * PlaceMap::kLevelStep);
    }
    for (int plane = 0; plane < 3; ++plane) {
        std::array<double, PlaceMap::kLevels> left{};
        std::array<double, PlaceMap::kLevels> count{};
        for (int row = 0; row < combined.held.rows; ++row) {
            for (int q = 0; q < combined.held.cols; ++q) {
                const int level = combined.kinds.places.level(row, q);
                left[level] +=
                    combined.leftOfReference[plane].ptr<float>(row)[q] + combined.leftOfMean[plane].ptr<float>(row)[q];
                count[level] += 1;
            }
        }
        ordered_json& one = noise[kPlanes[plane]];
        one = {{"sigma", std::sqrt(combined.planes[plane].meanNoise)},
               {"before", ordered_json::array()},
               {"merged", ordered_json::array()}};
        for (int level = 0; level < PlaceMap::kLevels; ++level) {
            const bool seen = count[level] > 0;
            one["before"].push_back(seen ? ordered_json(std::sqrt(combined.planes[plane].noise[level]))
                                         : ordered_json());
            one["merged"].push_back(seen ? ordered_json(std::sqrt(left[level] / count[level])) : ordered_json());
        }
    }
    return noise;
}

ordered_json filtersJson(const Combined& combined) {
    ordered_json filters;
    for (int plane = 0; plane < 3; ++plane) {
        ordered_json classes = ordered_json::array();
        for (int one = 0; one < kActivityClasses; ++one) {
            classes.push_back({{"coefficients", combined.planes[plane].filters[one]},
                               {"error", std::sqrt(combined.planes[plane].error[one])}});
        }
        filters[kPlanes[plane]] = classes;
    }
    return filters;
}

std::string rowOrigin(const MergeReport& report, const MergeResult& result) {
    if (report.rowGiven) return "as given";
    return result.combined ? "by the noise measured" : "the usual one, for a frame alone tells no noise";
}

ordered_json denoiseJson(const MergeReport& report, const MergeResult& result) {
    ordered_json json = {{"tuningFile", report.tuningFile},
                         {"row", *result.row},
                         {"rowFrom", rowOrigin(report, result)},
                         {"settings", result.settings},
                         {"milliseconds", result.milliseconds}};
    if (!result.residue) return json;
    for (int plane = 0; plane < 3; ++plane) {
        json["effect"][kPlanes[plane]] = {{"share", result.residue->share[plane]},
                                          {"removedOfOneFrame", result.residue->onReference[plane].removed},
                                          {"lossOfOneFrame", result.residue->onReference[plane].loss},
                                          {"removedOfMerged", result.residue->onMean[plane].removed},
                                          {"lossOfMerged", result.residue->onMean[plane].loss}};
    }
    return json;
}

std::string mergedOf(const BurstInput& input) {
    return std::to_string(input.mergeable() + 1) + " of " + std::to_string(input.members().size());
}

double peakBytesPerPixel(const Picture& picture) {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return 1024.0 * static_cast<double>(usage.ru_maxrss) / picture.width / picture.height;
}

}  // namespace

nlohmann::ordered_json mergeJson(const MergeReport& report, const BurstInput& input, const MergeResult& result) {
    const Picture& reference = input.reference();
    ordered_json json = {{"output", report.output},
                         {"weightMap", report.weightMap.empty() ? ordered_json() : ordered_json(report.weightMap)},
                         {"width", reference.width},
                         {"height", reference.height},
                         {"rowsCut", input.source().cutRows()},
                         {"reference", input.referenceMember().name},
                         {"frames", mergedOf(input)},
                         {"merged", input.mergeable() + 1},
                         {"given", input.members().size()},
                         {"weights", report.weights},
                         {"held", cv::mean(result.held)[0]},
                         {"members", framesJson(input)}};
    json["noise"] = result.combined ? noiseJson(*result.combined) : ordered_json();
    json["filters"] = result.combined ? filtersJson(*result.combined) : ordered_json();
    json["denoise"] = result.row ? denoiseJson(report, result) : ordered_json();
    json["cpuMilliseconds"] = result.cpu;
    json["cpuMilliseconds"]["firstReadingMeasure"] = report.measureCpu;
    json["peakBytesPerPixel"] = peakBytesPerPixel(reference);
    if (!report.scores.empty()) {
        for (const auto& [name, scores] : report.scores) json["truth"][name] = scores;
    }
    return json;
}

void printMerge(std::FILE* to, const MergeReport& report, const BurstInput& input, const MergeResult& result) {
    for (const BurstMember& member : input.members()) {
        const std::string name = std::filesystem::path(member.name).filename().string();
        if (&member == &input.referenceMember()) {
            std::fprintf(to, "%-22s reference\n", name.c_str());
        } else if (member.leftOut.empty()) {
            std::fprintf(to, "%-22s merged, %zu of %d pairs kept\n", name.c_str(),
                         member.report->outcome.keptRef.size(), member.report->matches.entries());
        } else {
            std::fprintf(to, "%-22s left out: %s\n", name.c_str(), member.leftOut.c_str());
        }
    }
    const Picture& reference = input.reference();
    std::fprintf(to, "%dx%d, frames %s, %.2f held a pixel\n", reference.width, reference.height,
                 mergedOf(input).c_str(), cv::mean(result.held)[0]);
    if (result.combined) {
        const auto sigma = [&](int plane) { return std::sqrt(result.combined->planes[plane].meanNoise); };
        std::fprintf(to, "noise of one frame: Y %.2f U %.2f V %.2f levels\n", sigma(0), sigma(1), sigma(2));
    }
    if (result.row) {
        std::fprintf(to, "denoised with row %.2f of %s, %s\n", *result.row, report.tuningFile.c_str(),
                     rowOrigin(report, result).c_str());
    }
    if (report.scores.empty()) return;
    std::fprintf(to, "%-10s %40s\n", "PSNR, dB", "Y outside mover / Y in its area / U / V");
    for (const auto& [name, scores] : report.scores) {
        std::fprintf(to, "%-10s %13.2f / ", name.c_str(), scores.lumaOutside);
        scores.lumaInside ? std::fprintf(to, "%13.2f", *scores.lumaInside) : std::fprintf(to, "%13s", "-");
        std::fprintf(to, " / %.2f / %.2f\n", scores.everywhere.psnr[1], scores.everywhere.psnr[2]);
    }
}

}  // namespace eishost
