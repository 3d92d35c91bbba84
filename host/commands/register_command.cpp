#include <CLI/CLI.hpp>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <memory>

#include "acore_types.h"
#include "host/command_line/call_options.h"
#include "host/command_line/raw_options.h"
#include "host/commands/commands.h"
#include "host/match/frame_source.h"
#include "host/program/exit_codes.h"
#include "host/program/messages.h"
#include "host/program/progress.h"
#include "host/report/frame_report.h"
#include "host/report/overlay.h"
#include "host/report/truth_scores.h"

namespace eishost {

namespace {

struct RegisterArguments {
    std::string reference;
    std::string frame;
    std::string aligned;
    std::string overlay;
    RawOptions raw;
    bool lumaOnly = false;
    bool json = false;
    CallStreams show;
};

void printTruth(std::FILE* to, const TruthScores& scores) {
    if (scores.corners) {
        std::fprintf(to, "truth       corner error %.3f px at most, %.3f px on average\n", scores.corners->largest,
                     scores.corners->mean);
    }
    std::fprintf(to, "            luma PSNR against the clean reference: unaligned %s dB",
                 psnrText(scores.psnrUnaligned.value_or(0)).c_str());
    if (scores.psnrAligned) {
        std::fprintf(to, ", aligned %s dB, by the true homography %s dB", psnrText(*scores.psnrAligned).c_str(),
                     psnrText(scores.psnrTrueHomography.value_or(0)).c_str());
    }
    std::fprintf(to, "\n");
    if (scores.psnrMover) {
        std::fprintf(to, "            the moving object is left out; in its area, then and in the reference: %.2f dB\n",
                     *scores.psnrMover);
    }
}

void printReport(std::FILE* to, const FrameReport& report) {
    const RegistrationOutcome& outcome = report.outcome;
    std::fprintf(to, "status      %d, %s\n", outcome.status, outcome.status == retStsOK ? "aligned" : "refused");
    if (report.refusal) {
        std::fprintf(to, "reason      %s\nlog line    %s\n", report.refusal->reason.c_str(),
                     report.refusal->logLine.c_str());
    }
    std::fprintf(to, "pairs       %d in, %zu kept, on %.0f%% of the frame\n", report.matches.entries(),
                 outcome.keptRef.size(), 100 * report.coverage);
    if (report.area) {
        std::fprintf(to, "rectangle   %dx%d at (%d, %d), the rest is mirrored\n", report.area->width,
                     report.area->height, report.area->x, report.area->y);
    }
    if (report.homography) {
        const cv::Matx33d& h = *report.homography;
        std::fprintf(to, "homography  %.7f %.7f %.4f / %.7f %.7f %.4f / %.4g %.4g 1\n", h(0, 0), h(0, 1), h(0, 2),
                     h(1, 0), h(1, 1), h(1, 2), h(2, 0), h(2, 1));
        std::fprintf(to, "            the tool's fit to the kept pairs, residual %.3f px\n", report.residual);
    }
    const auto stage = [](const std::optional<double>& milliseconds) {
        char text[32];
        std::snprintf(text, sizeof text, milliseconds ? "%.0f ms" : "not logged", milliseconds.value_or(0));
        return std::string(text);
    };
    std::fprintf(to, "time        matching %.0f ms; library: pairs and RANSAC %s, fit and warp %s, flush %s\n",
                 report.matchMs, stage(outcome.ransacMs).c_str(), stage(outcome.registrationMs).c_str(),
                 stage(outcome.flushMs).c_str());
    if (report.truth) printTruth(to, *report.truth);
}

void runRegister(const RegisterArguments& arguments) {
    if (!arguments.aligned.empty()) requirePictureOutput(arguments.aligned);
    if (!arguments.overlay.empty()) requireBgrOutput(arguments.overlay);
    Progress progress(4, arguments.show.areQuiet());
    progress.at(0, "reading " + arguments.reference);
    FrameSource source(arguments.raw);
    const PreparedFrame reference(arguments.reference, source.load(arguments.reference));
    progress.at(1, "reading " + arguments.frame);
    const PreparedFrame frame(arguments.frame, source.load(arguments.frame));
    reference.refuseBlank();
    frame.refuseBlank();
    const TruthScorer truth(arguments.reference, source);
    progress.hide();
    if (source.cutRows() > 0) note(source.note());

    RegistrationOptions options;
    options.lumaOnly = arguments.lumaOnly;
    options.trace = arguments.show.trace;
    options.log = arguments.show.log;
    progress.at(2, "registering");
    FrameReport report = reportFrame(reference, frame, options);
    truth.score(report, arguments.frame, frame.picture);

    progress.at(3, "writing");
    if (!arguments.aligned.empty()) {
        savePicture(arguments.aligned, report.outcome.aligned, arguments.raw);
        report.alignedFile = arguments.aligned;
    }
    if (!arguments.overlay.empty()) {
        report.overlayFile = arguments.overlay;
        saveOverlay(arguments.overlay, report, std::filesystem::path(arguments.reference).filename().string());
    }
    progress.hide();
    std::FILE* const to = arguments.aligned == "-" ? stderr : stdout;
    if (arguments.json) {
        std::fprintf(to, "%s\n", jsonText(report, 2).c_str());
    } else {
        printReport(to, report);
    }
    if (!report.cornersHeld()) {
        note("kept pairs cover " + std::to_string(std::lround(100 * report.coverage)) +
             "% of the frame; under half of it the corners are not held");
    }
}

}  // namespace

void addRegisterCommand(CLI::App& app) {
    auto arguments = std::make_shared<RegisterArguments>();
    CLI::App* command =
        app.add_subcommand("register", "Aligns one frame with a reference through Ransac_Regis_AcoreAPI_EIS");
    command->add_option("REF", arguments->reference, "Reference: PNG, JPEG, Y4M, raw with --raw-size")->required();
    command->add_option("FRAME", arguments->frame, "Frame to align, of the same size")->required();
    command->add_option(
        "--out", arguments->aligned,
        "Write the aligned picture: .png, .jpg, .y4m, .yuv, .nv12, .nv21; - for Y4M to a pipe, the report then goes\n"
        "to stderr");
    command->add_option("--overlay", arguments->overlay,
                        "Write a picture of the matches, the filled rectangle and the mirrored margin: .png, .jpg");
    command->add_flag("--luma-only", arguments->lumaOnly, "Align luma alone; chroma of the result is grey");
    addRawOptions(*command, arguments->raw, RawUse::kReadAndWrite);
    command->add_flag("--json", arguments->json, "Print the report as JSON");
    addCallStreams(*command, arguments->show);
    command->footer(
        "A refusal is a result: exit code 0, status 3, the reason in words, and the frame copied unaligned.\n"
        "The rectangle is read off the mirrored margin of the aligned picture. With a truth.json of\n"
        "eis-host synth beside the reference the report also scores the result against it.\n\n"
        "  eis-host register ref.jpg next.jpg --out aligned.png --overlay matches.png\n"
        "  eis-host register ref.nv21 next.nv21 --raw-size 4000x3000 --raw-stride 4096 --json\n"
        "  eis-host register ref.png next.png --trace --log 2>&1 | less");
    command->callback([arguments] { runRegister(*arguments); });
}

}  // namespace eishost
