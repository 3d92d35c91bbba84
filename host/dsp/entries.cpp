#include "host/dsp/entries.h"

#include <algorithm>
#include <stdexcept>

namespace eishost {

namespace {

template <class Block>
Entry entry(const char* name, ret_status (*function)(Block*), bool usesFilesByName = false) {
    return {name, sizeof(Block),
            [](void* symbol, void* block) {
                return reinterpret_cast<ret_status (*)(Block*)>(symbol)(static_cast<Block*>(block));
            },
            reinterpret_cast<void*>(function), usesFilesByName};
}

#define EIS_ENTRY(name, ...) entry(#name, name, ##__VA_ARGS__)

}  // namespace

std::span<const Entry> blockEntries() {
    static const Entry entries[] = {
        EIS_ENTRY(ivp_fread, true),           EIS_ENTRY(ivp_fwrite, true),
        EIS_ENTRY(ivp_fread_align, true),     EIS_ENTRY(ivp_fwrite_align, true),
        EIS_ENTRY(ParseXML_AcoreAPI_EIS),     EIS_ENTRY(RansacEst_AcoreAPI_EIS),
        EIS_ENTRY(Ransac_Regis_AcoreAPI_EIS), EIS_ENTRY(Scale_Bilinear_AcoreAPI),
        EIS_ENTRY(SpatialNrHLMain_ACoreApi),  EIS_ENTRY(ChromaLowLevelMainCall_2),
        EIS_ENTRY(ChromaHighLevelMainCall_2), EIS_ENTRY(CalcFastDn2dControl_AcoreAPI),
        EIS_ENTRY(CalcShrinkLUTDnCoef),
    };
    return entries;
}

const Entry& entryAt(void* symbol) {
    const auto entries = blockEntries();
    const auto found = std::ranges::find_if(entries, [&](const Entry& each) { return symbol == each.linked; });
    if (found == entries.end()) throw std::logic_error("no entry that takes a block");
    return *found;
}

const Entry* findEntry(std::string_view name) {
    const auto entries = blockEntries();
    const auto found = std::ranges::find_if(entries, [&](const Entry& each) { return name == each.name; });
    return found == entries.end() ? nullptr : &*found;
}

}  // namespace eishost
