#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>

#include "host/command_line/call_options.h"
#include "host/command_line/raw_options.h"
#include "host/commands/commands.h"
#include "host/dsp/scale_call.h"
#include "host/program/exit_codes.h"
#include "host/program/messages.h"
#include "host/program/progress.h"
#include "host/video/picture_stream.h"
#include "host/video/y4m_stream.h"

namespace eishost {

namespace {

struct ScaleArguments {
    std::string input;
    std::string output;
    std::string size;
    std::string crop;
    RawOptions raw;
    CallStreams show;
};

Area parseCrop(const std::string& text, const Picture& picture) {
    if (text.empty()) return {0, 0, picture.width, picture.height};
    Area area;
    char rest = 0;
    if (std::sscanf(text.c_str(), "%d,%d,%d,%d%c", &area.x, &area.y, &area.width, &area.height, &rest) != 4) {
        throw HostError(kExitUsage, "--crop '" + text + "': want x,y,w,h in luma pixels, like 640,480,1280,960");
    }
    if (((area.x | area.y | area.width | area.height) & 1) != 0) {
        throw HostError(kExitUsage, "--crop '" + text + "': all four numbers must be even, chroma has half the size");
    }
    const auto outside = [](int first, int length, int side) {
        return first < 0 || length < 2 || first > side - length;
    };
    if (outside(area.x, area.width, picture.width) || outside(area.y, area.height, picture.height)) {
        throw HostError(kExitUnsuitable, "--crop '" + text + "' is not inside the picture of " +
                                             std::to_string(picture.width) + "x" + std::to_string(picture.height));
    }
    return area;
}

void runScale(const ScaleArguments& arguments) {
    const PictureSize size = parseSize(arguments.size);
    if (((size.width | size.height) & 1) != 0) {
        throw HostError(kExitUsage, "--size '" + arguments.size + "': both sides must be even");
    }
    const Picture limits(size.width, size.height);  // refuses what no picture can have before any input is read

    PictureReader reader(arguments.input, arguments.raw);
    PictureWriter writer(arguments.output, arguments.raw, reader.clipFormat());
    std::size_t count = 0;
    double milliseconds = 0;
    Progress progress(0, arguments.show.areQuiet());
    progress.at(0, "reading " + arguments.input + ", then scaling and writing");
    Area crop;
    streamPictures(reader, writer, [&](const Picture& picture) {
        progress.at(count, "scaling, then writing");
        crop = parseCrop(arguments.crop, picture);
        const ClipFormat* const clip = reader.clipFormat();
        if (count == 0 && clip != nullptr && clip->interlaced() && crop.height != size.height) {
            note(arguments.input + ": is interlaced, and scaling its height mixes the rows of both fields");
        }
        ScaleOutcome outcome = scalePicture(picture, crop, size, arguments.show.trace, arguments.show.log);
        milliseconds += outcome.milliseconds;
        progress.at(++count, "writing " + arguments.output);
        return std::move(outcome.picture);
    });
    progress.hide();
    // Standard output may be the picture.
    std::fprintf(arguments.output == "-" ? stderr : stdout,
                 "%dx%d+%d+%d -> %dx%d, %zu picture%s, %.1f ms in the library\n", crop.width, crop.height, crop.x,
                 crop.y, size.width, size.height, count, count == 1 ? "" : "s", milliseconds);
}

}  // namespace

void addScaleCommand(CLI::App& app) {
    auto arguments = std::make_shared<ScaleArguments>();
    CLI::App* command = app.add_subcommand("scale", "Crops and scales a picture with Scale_Bilinear_AcoreAPI");
    command->add_option("IN", arguments->input, "Picture: PNG, JPEG, Y4M, raw with --raw-size, - for a pipe")
        ->required();
    command->add_option("OUT", arguments->output, "Result: .png, .jpg, .y4m, .yuv, .nv12, .nv21; - for Y4M to a pipe")
        ->required();
    command->add_option("--size", arguments->size, "Size of the result in luma pixels, WxH, both even")->required();
    command->add_option("--crop", arguments->crop, "Part of the picture to scale, x,y,w,h in luma pixels, all even");
    addRawOptions(*command, arguments->raw, RawUse::kReadAndWrite);
    addCallStreams(*command, arguments->show);
    command->footer(
        "Bilinear with 12-bit weights and without a filter in front: below half size it aliases.\n"
        "A Y4M or raw file with several pictures is scaled picture by picture. A Y4M keeps its frame rate, aspect,\n"
        "interlacing and colour tags.\n\n"
        "  eis-host scale photo.jpg half.png --size 1632x1224\n"
        "  eis-host scale clip.y4m - --size 1280x720 --crop 320,180,1920,1080 | ffplay -");
    command->callback([arguments] { runScale(*arguments); });
}

}  // namespace eishost
