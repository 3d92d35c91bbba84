#include "host/report/burst_output.h"

#include <cmath>
#include <cstdio>
#include <filesystem>

namespace eishost {

namespace {

std::string number(double value, const char* format) {
    char text[32];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

}  // namespace

BurstOutput::BurstOutput(bool json, std::size_t files, bool withProgress)
    : json_(json), progress_(files, withProgress) {}

void BurstOutput::frame(const FrameReport& report) {
    progress_.hide();
    if (json_) {
        std::printf("%s\n", jsonText(report).c_str());
        std::fflush(stdout);
        return;
    }
    if (!headed_) {
        std::printf("%-22s %6s %6s %7s %10s %29s %15s\n", "frame", "pairs", "kept", "status", "corner err",
                    "luma PSNR before > after (true)", "ms match + lib");
        headed_ = true;
    }
    const TruthScores scores = report.truth.value_or(TruthScores{});
    const std::string corners = scores.corners ? number(scores.corners->largest, "%.3f px") : "-";
    const auto figure = [](const std::optional<double>& value) { return value ? psnrText(*value) : "-"; };
    std::string psnr = figure(scores.psnrUnaligned);
    if (psnr != "identical" || figure(scores.psnrAligned) != psnr) {
        psnr += " > " + figure(scores.psnrAligned) + " (" + figure(scores.psnrTrueHomography) + ")";
    }
    const std::string time = number(report.matchMs, "%.0f") + " + " + number(report.libraryMs, "%.0f");
    std::printf("%-22s %6d %6zu %7d %10s %31s %15s\n", std::filesystem::path(report.frame).filename().c_str(),
                report.matches.entries(), report.outcome.keptRef.size(), report.outcome.status, corners.c_str(),
                psnr.c_str(), time.c_str());
    if (scores.psnrMover) {
        std::printf("    the mover's area, then and in the reference, is left out; inside it: %s dB aligned\n",
                    psnrText(*scores.psnrMover).c_str());
    }
    if (report.refusal) std::printf("    refused, copied unaligned: %s\n", report.refusal->reason.c_str());
    if (!report.cornersHeld() && !report.refusal) {
        std::printf("    kept pairs cover %ld%% of the frame; under half of it the corners are not held\n",
                    std::lround(100 * report.coverage));
    }
    if (report.denoised) std::printf("    denoised: %s\n", describe(*report.denoised).c_str());
    std::fflush(stdout);
}

void BurstOutput::reference(const std::string& name, const DenoiseReport& denoised) {
    if (json_) return;
    progress_.hide();
    std::printf("%s, the reference, denoised: %s\n", std::filesystem::path(name).filename().c_str(),
                describe(denoised).c_str());
}

void BurstOutput::finish(const std::string& folder) {
    progress_.hide();
    if (!json_) std::printf("pictures and result.json are in %s\n", folder.c_str());
}

}  // namespace eishost
