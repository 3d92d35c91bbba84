#include "host/command_line/raw_options.h"

#include <CLI/CLI.hpp>

namespace eishost {

void addRawOptions(CLI::App& command, RawOptions& raw, RawUse use) {
    constexpr int kLongestStride = 1 << 20;
    CLI::Option* const size = command.add_option_function<std::string>(
        "--raw-size", [&raw](const std::string& text) { raw.size = parseSize(text); }, "Raw input has this size, WxH");
    size->type_name("WxH");
    command
        .add_option_function<RawFormat>(
            "--raw-format", [&raw](RawFormat format) { raw.format = format; },
            "Format of raw input, i420, nv12, nv21 or p010 (10 bits are rounded to 8), and of a .yuv output;\n"
            "the extensions .i420, .nv12, .nv21 and .p010 tell it, .yuv and pipes are i420 by default")
        ->transform(CLI::CheckedTransformer(std::map<std::string, RawFormat>{{"i420", RawFormat::kI420},
                                                                             {"nv12", RawFormat::kNv12},
                                                                             {"nv21", RawFormat::kNv21},
                                                                             {"p010", RawFormat::kP010}},
                                            CLI::ignore_case)
                        .description(""));
    command
        .add_option_function<int>(
            "--raw-stride", [&raw](int stride) { raw.stride = stride; },
            "Bytes from row to row of raw input, of luma (i420 chroma has half of it)")
        ->check(CLI::Range(1, kLongestStride).description(""))
        ->needs(size);
    if (use == RawUse::kRead) return;
    command
        .add_option_function<int>(
            "--out-stride", [&raw](int stride) { raw.outputStride = stride; },
            "Bytes from row to row of a raw output; by default there is nothing between the rows")
        ->check(CLI::Range(1, kLongestStride).description(""));
}

}  // namespace eishost
