#include <CLI/CLI.hpp>
#include <filesystem>
#include <memory>

#include "host/command_line/call_options.h"
#include "host/command_line/page_options.h"
#include "host/command_line/raw_options.h"
#include "host/commands/commands.h"
#include "host/dsp/tuning_record.h"
#include "host/program/exit_codes.h"
#include "host/program/messages.h"
#include "host/program/output_file.h"
#include "host/program/output_folder.h"
#include "host/report/burst_output.h"
#include "host/report/burst_page.h"
#include "host/report/overlay.h"
#include "host/report/settings_origin.h"
#include "host/report/truth_scores.h"

namespace eishost {

namespace {

struct BurstArguments {
    std::vector<std::string> inputs;
    std::string folder;
    RawOptions raw;
    bool force = false;
    bool denoise = false;
    int isoRow = 5;
    std::string tuning;
    PageOptions page;
    bool json = false;
    CallStreams show;
};

struct NamedPicture {
    std::string name;  // the path, with #k for the k-th picture of a file that holds several
    std::size_t file;  // from 0
    Picture picture;
};

// All pictures of all files, one at a time.
class BurstReader {
  public:
    BurstReader(const std::vector<std::string>& paths, FrameSource& source) : paths_(paths), source_(source) {}

    std::optional<NamedPicture> next() {
        for (; file_ < paths_.size(); ++file_, reader_.reset()) {
            const std::string& path = paths_[file_];
            if (!reader_) {
                reader_ = std::make_unique<PictureReader>(path, source_.raw());
                noteInterlacing(*reader_, path);
                index_ = 0;
            }
            if (std::optional<Picture> picture = reader_->next()) {
                const std::string name = index_ == 0 ? path : path + '#' + std::to_string(index_);
                ++index_;
                return NamedPicture{name, file_, source_.fit(std::move(*picture), name)};
            }
        }
        return std::nullopt;
    }

  private:
    const std::vector<std::string>& paths_;
    FrameSource& source_;
    std::size_t file_ = 0;
    std::unique_ptr<PictureReader> reader_;
    int index_ = 0;
};

void saveResult(const std::string& path, const nlohmann::json& result) {
    saveFile(path, jsonText(result, 2) + '\n');
}

// Tells the page, unless it is null, where the settings are from.
std::optional<BurstDenoiser> makeDenoiser(const BurstArguments& arguments, const Picture* clean, BurstPage* page) {
    if (!arguments.denoise) return std::nullopt;
    DenoiseOptions options;
    options.trace = arguments.show.trace;
    options.log = arguments.show.log;
    const std::string file = arguments.tuning.empty() ? shippedTuningFile() : arguments.tuning;
    DenoiseSettings settings;
    takeRow(settings, file, arguments.isoRow, options.trace, options.log);
    noteSettings(settings);
    if (page != nullptr) page->setSettings(settingsOrigins(settings, {file, arguments.isoRow, {}}));
    return BurstDenoiser(settings, options, clean);
}

// The pictures of the frame with this number, named in its report.
void saveFrame(FrameReport& report, const PreparedFrame& reference, const std::optional<BurstDenoiser>& denoiser,
               const OutputFolder& folder, std::size_t number) {
    report.alignedFile = folder.picture("aligned", number);
    report.overlayFile = folder.picture("overlay", number);
    savePicture(report.alignedFile, report.outcome.aligned);
    saveOverlay(report.overlayFile, report, std::filesystem::path(reference.name).filename().string());
    if (denoiser) {
        report.denoised =
            denoiser->run(report.outcome.aligned, report.area, report.scored, folder.picture("denoised", number));
    }
}

void runBurst(const BurstArguments& arguments) {
    RegistrationOptions options;
    options.trace = arguments.show.trace;
    options.log = arguments.show.log;

    const OutputFolder folder(arguments.folder, "result.json", {"aligned", "overlay", "denoised"}, arguments.force,
                              arguments.inputs);
    BurstOutput output(arguments.json, arguments.inputs.size(), arguments.show.areQuiet());
    output.at(0, arguments.inputs.front());
    FrameSource source(arguments.raw);
    BurstReader reader(arguments.inputs, source);
    std::optional<NamedPicture> first = reader.next();
    if (!first) throw HostError(kExitUnreadable, arguments.inputs.front() + ": holds no picture");
    const PreparedFrame reference(first->name, std::move(first->picture));
    reference.refuseBlank();
    std::optional<NamedPicture> next = reader.next();
    if (!next) throw HostError(kExitUsage, "a burst needs a reference and at least one frame");
    const TruthScorer truth(reference.name, source);
    if (source.cutRows() > 0) note(source.note());
    std::optional<BurstPage> page;
    if (!arguments.page.folder.empty()) page.emplace(arguments.page, reference, truth.clean());
    const std::optional<BurstDenoiser> denoiser = makeDenoiser(arguments, truth.clean(), page ? &*page : nullptr);
    folder.open();

    nlohmann::json result = {{"reference", reference.name},        {"width", reference.picture.width},
                             {"height", reference.picture.height}, {"rowsCut", source.cutRows()},
                             {"frames", nlohmann::json::array()},  {"error", "the burst was interrupted"}};
    // What is about to be written is named first, so that an interrupted run leaves nothing that no list names.
    const auto announce = [&](std::initializer_list<const char*> kinds, std::size_t number) {
        for (const char* const kind : kinds) result["inWork"].push_back(folder.picture(kind, number));
        saveResult(folder.list(), result);
    };
    if (denoiser) {
        announce({"denoised"}, 0);
        DenoiseReport denoised = denoiser->run(reference.picture, std::nullopt, {}, folder.picture("denoised", 0));
        result["referenceDenoised"] = denoised;
        output.reference(reference.name, denoised);
        if (page) page->setDenoised(std::move(denoised.picture));
    }
    try {
        for (; next; next = reader.next()) {
            output.at(next->file, next->name);
            const PreparedFrame frame(next->name, std::move(next->picture));
            FrameReport report = reportFrame(reference, frame, options);
            truth.score(report, frame.name, frame.picture);
            const std::size_t number = result["frames"].size() + 1;
            announce({"aligned", "overlay", "denoised"}, number);
            saveFrame(report, reference, denoiser, folder, number);
            if (page) page->addFrame(report);
            result["frames"].push_back(report);
            result.erase("inWork");
            output.frame(report);
        }
        result.erase("error");
        if (page) page->finish(result);
    } catch (const std::exception& error) {
        // The frames that are done stand in the result, with the reason why there are no more.
        result["error"] = error.what();
        saveResult(folder.list(), result);
        throw;
    }
    result.erase("inWork");
    saveResult(folder.list(), result);
    output.finish(arguments.folder);
    if (page && !arguments.json) std::printf("the page is %s\n", page->file().c_str());
}

}  // namespace

void addBurstCommand(CLI::App& app) {
    auto arguments = std::make_shared<BurstArguments>();
    CLI::App* command = app.add_subcommand("burst", "Aligns the frames of a burst with the first one");
    command
        ->add_option("INPUTS", arguments->inputs,
                     "Reference, then frames of the same size: PNG, JPEG, Y4M, raw with --raw-size.\n"
                     "A Y4M or raw file may hold several")
        ->required();
    command->add_option("--out", arguments->folder, "Folder for aligned_NN.png, overlay_NN.png and result.json")
        ->required();
    command->add_flag("--force", arguments->force, "Remove what an earlier run left in the folder");
    addRawOptions(*command, arguments->raw);
    CLI::Option* denoise = command->add_flag("--denoise", arguments->denoise,
                                             "Then denoise each frame, to denoised_NN.png, 00 the reference");
    command->add_option("--iso-row", arguments->isoRow, "Row of the tuning file to denoise with, 1 to 8")
        ->check(CLI::Range(1, int{kTuningIsoLevels}))
        ->needs(denoise)
        ->capture_default_str();
    command->add_option("--tuning", arguments->tuning, "Tuning file; the default is the one that comes with the tools")
        ->needs(denoise);
    addPageOptions(*command, arguments->page);
    command->add_flag("--json", arguments->json, "Print one line of JSON a frame instead of the table");
    addCallStreams(*command, arguments->show);
    command->footer(
        "Each frame is one call of Ransac_Regis_AcoreAPI_EIS with idx 1. A frame that the library refuses, a blank "
        "one\n"
        "among them, is delivered unaligned and listed with its reason; the exit code stays 0. An input that cannot "
        "be\n"
        "read or has another size ends the burst; result.json then holds the frames before it, and the reason as\n"
        "\"error\".\n"
        "With a truth.json of eis-host synth beside the frames the table also shows the corner error in pixels, and\n"
        "the PSNR of luma against the clean reference inside the filled rectangle: unaligned, aligned, and aligned by\n"
        "the true homography. An object of synth --mover is left out of these, and has a figure of its own.\n\n"
        "  eis-host burst IMG_01.jpg IMG_02.jpg IMG_03.jpg --out aligned\n"
        "  eis-host synth photo.jpg --frames 4 --noise medium --out b && eis-host burst b/frame_*.png --out b/aligned");
    command->callback([arguments] { runBurst(*arguments); });
}

}  // namespace eishost
