#include "host/dsp/control_tables.h"

#include <cstring>

#include "host/dsp/dsp_arena.h"
#include "host/dsp/entry_call.h"
#include "host/program/exit_codes.h"

namespace eishost {

namespace {

constexpr TableLayout kFastTables[] = {
    {"luma", "luma", kFastLuma, 241, 120, 32},
    {"lumaGain", "luma with gain", kFastLumaGain, 241, 120, 32},
    {"chroma", "chroma", kFastChroma, 256, 0, 32},
    {"chromaSoft", "chroma x 0.6", kFastChromaSoft, 256, 0, 32},
    {"shading", "shading", kFastShading, 256, 0, 32},
    {"shadingSoft", "shading x 0.6", kFastShadingSoft, 256, 0, 32},
    {"threshold", "threshold", kFastThreshold, 256, 128, 1},
    {"tail", "tail", kFastTail, 256, 128, 1},
};
constexpr TableLayout kShrinkLayouts[] = {
    {"shrink0", "shrink 0", kShrinkTables, 1024, 512, 1},
    {"shrink1", "shrink 1", kShrinkTables + kShrinkTableEntries, 1024, 512, 1},
    {"shrink2", "shrink 2", kShrinkTables + 2 * kShrinkTableEntries, 1024, 512, 1},
    {"luma", "luma", kShrinkLuma, 241, 120, 32},
    {"lumaGain", "luma with gain", kShrinkLumaGain, 241, 120, 32},
};

}  // namespace

std::span<const TableLayout> tableLayouts(TableKind kind) {
    if (kind == TableKind::kFast) return kFastTables;
    return kShrinkLayouts;
}

ControlTables computeTables(const ControlSettings& settings, std::ostream* trace, std::ostream* log) {
    const bool fast = settings.kind == TableKind::kFast;
    ControlTables tables;
    tables.entry = fast ? "CalcFastDn2dControl_AcoreAPI" : "CalcShrinkLUTDnCoef";
    tables.block.resize(fast ? kFastEntries : kShrinkEntries);
    const std::size_t bytes = fast ? eisSizeOfFastTables() : eisSizeOfShrinkTables();

    DspArena arena(trace);
    const DeviceAddress address = arena.allocate(bytes, fast ? "iDnCoefs" : "iLutCoefs");
    EntryOutcome outcome;
    if (fast) {
        ST_FAST_DN2D_CONTROL block = fastBlock(settings, address);
        outcome = callEntry(arena, CalcFastDn2dControl_AcoreAPI, &block, log);
    } else {
        ST_SHRINK_LUT_CONTROL block = shrinkBlock(settings, address);
        outcome = callEntry(arena, CalcShrinkLUTDnCoef, &block, log);
    }
    tables.milliseconds = outcome.milliseconds;
    if (outcome.status != retStsOK) {
        throw HostError(kExitLibrary, std::string(tables.entry) + " returned " + std::to_string(outcome.status));
    }
    std::memcpy(tables.block.data(), arena.dspSide(address), bytes);
    return tables;
}

}  // namespace eishost
