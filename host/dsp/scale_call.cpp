#include "host/dsp/scale_call.h"

#include "host/dsp/device_picture.h"
#include "host/dsp/entry_call.h"
#include "host/dsp/library_log.h"
#include "host/program/exit_codes.h"

namespace eishost {

ScaleOutcome scalePicture(const Picture& source, const Area& crop, PictureSize size, std::ostream* trace,
                          std::ostream* log) {
    DspArena arena(trace);
    const int pitch = eisPitch(source.width);
    const int chromaPitch = eisPitch(pitch / 2);

    // Luma is cropped by pointing into the whole picture.
    const DeviceAddress luma = arena.allocate(eisSizeOfScaleLuma(pitch, source.height), "Yin");
    copyRows(arena.dspSide(luma), pitch, source.planes[0].data(), source.width, source.width, source.height);

    // Chroma cannot be: the entry looks for the second plane behind the rows of the crop, not those of the picture.
    const int chromaRows = crop.height / 2;
    const std::size_t chromaBytes = eisSizeOfScaleChroma(pitch, crop.height) / 2;
    const DeviceAddress chroma = arena.allocate(2 * chromaBytes, "Uvin");
    for (int plane = 1; plane <= 2; ++plane) {
        const std::size_t first = static_cast<std::size_t>(crop.y / 2) * source.chromaWidth() + crop.x / 2;
        copyRows(arena.dspSide(chroma) + (plane - 1) * chromaBytes, chromaPitch, source.planes[plane].data() + first,
                 source.chromaWidth(), crop.width / 2, chromaRows);
    }

    const int outPitch = eisPitch(size.width);
    const int outChromaPitch = eisPitch(outPitch / 2);
    const std::size_t outChromaBytes = eisSizeOfScaleChroma(outPitch, size.height) / 2;

    ST_SCALE_BLOCK block{};
    block.dstWidth = size.width;
    block.dstHeight = size.height;
    block.dstStride = outPitch;
    block.srcWidth = crop.width;
    block.srcHeight = crop.height;
    block.srcStride = pitch;
    block.border = 2;
    block.Yin = luma + static_cast<DeviceAddress>(crop.y) * pitch + crop.x;
    block.Uvin = chroma;
    block.Yout = arena.allocate(eisSizeOfScaleLuma(outPitch, size.height), "Yout");
    block.Uvout = arena.allocate(2 * outChromaBytes, "Uvout");

    const ret_status status = callEntry(arena, Scale_Bilinear_AcoreAPI, &block, log).status;
    const auto lines = libraryLog();
    if (status != retStsOK) {
        throw HostError(kExitLibrary, "Scale_Bilinear_AcoreAPI returned " + std::to_string(status) +
                                          (lines.empty() ? "" : ": " + lines.back().text));
    }

    ScaleOutcome outcome{Picture(size.width, size.height), loggedMilliseconds(lines, "[SCALE_C]").value_or(0)};
    outcome.picture.range = source.range;
    copyRows(outcome.picture.planes[0].data(), size.width, arena.dspSide(block.Yout), outPitch, size.width,
             size.height);
    for (int plane = 1; plane <= 2; ++plane) {
        copyRows(outcome.picture.planes[plane].data(), size.width / 2,
                 arena.dspSide(block.Uvout) + (plane - 1) * outChromaBytes, outChromaPitch, size.width / 2,
                 size.height / 2);
    }
    return outcome;
}

}  // namespace eishost
