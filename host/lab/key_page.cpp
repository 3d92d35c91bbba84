#include "host/lab/key_page.h"

#include <set>
#include <sstream>

#include "host/dsp/key_meanings.h"

namespace eislab {

namespace {

constexpr char kHead[] = R"(# Keys of the tuning file

The keys of `multiframe.xml`, what they mean, and where their values go in `ST_CONFIG_XML`. Names compare without case,
the first of two equal ones counts, and a key that is missing or holds no number has its default. In a section with
levels the keys stand in `ISO1` to `ISO8`; the offset is that of `ISO1` plus the step for each further level.

A value outside its useful range loads as it is, unless the range is marked as one that values are clamped to; integers
stop at the limits of their type. `eis-lab tuning lint` and `eis-host denoise` tell what is outside. The DSP chooses
between a plain key and those that end in `_M` or `_BN`, and decides what the keys marked as its own do.

A table ends at the first thing that is no number, which is stored as 0, and at the first number beyond its type, which
is stored as the nearest limit. What a short `chromaNrLUT` does not reach keeps what the load before left; what a short
`alphaLUT` does not reach is 0.

This page is written by `eis-lab tuning keys`.
)";

constexpr const char* kTypeNames[] = {"signed 32-bit", "32-bit float", "unsigned 32-bit", "signed 16-bit"};

std::string meaningText(const char* name, const eishost::KeyMeaning& meaning) {
    const eishost::KeySet set = eishost::keySet(name);
    return set.ending.empty() ? meaning.meaning : "as `" + std::string(set.name) + "`";
}

// The row of a key and of the same key at the other levels.
std::string rowOf(const eis::TuningKey& key) {
    const eishost::KeyMeaning& meaning = eishost::meaningOf(key.section, key.name);
    std::ostringstream row;
    row << "| `" << key.name << "` | " << meaningText(key.name, meaning) << " | " << meaning.unit << " | "
        << meaning.range() << (key.isClamped() ? ", clamped" : "") << " | " << kTypeNames[static_cast<int>(key.type)];
    if (key.count > 1) row << ", " << key.count << " of them";
    std::set<double> defaults;
    std::ostringstream list;
    int step = 0;
    for (const eis::TuningKey& level : eis::kTuningKeys) {
        if (std::string_view(key.section) != level.section || std::string_view(key.name) != level.name) continue;
        if (level.iso == 2) step = level.offset - key.offset;
        defaults.insert(level.defaultValue);
        list << (level.iso > 1 ? ", " : "") << level.defaultValue;
    }
    row << " | ";
    if (defaults.size() > 1) {
        row << list.str();
    } else {
        row << key.defaultValue;
    }
    row << " | " << key.offset;
    if (step > 0) row << " + " << step;
    row << " |\n";
    return row.str();
}

}  // namespace

std::string keyPage() {
    std::string page = kHead;
    std::string_view section;
    for (const eis::TuningKey& key : eis::kTuningKeys) {
        if (key.iso > 1) continue;
        if (section != key.section) {
            section = key.section;
            page.append("\n## /Config/").append(section).append(key.iso > 0 ? "/ISOn" : "");
            page +=
                "\n\n| Key | Meaning | Unit | Useful range | Type | Default | Offset "
                "|\n|---|---|---|---|---|---|---|\n";
        }
        page += rowOf(key);
    }
    page +=
        "\n## In no file\n\nParameters of a denoise call, which `eis-host denoise` takes as `KEY=VALUE`.\n\n"
        "| Key | Meaning | Unit | Useful range |\n|---|---|---|---|\n";
    for (const eishost::KeyMeaning& meaning : eishost::keyMeanings()) {
        if (std::string_view(meaning.section) != eishost::kCallSection) continue;
        page += "| `" + std::string(meaning.name) + "` | " + meaning.meaning + " | " + meaning.unit + " | " +
                meaning.range() + " |\n";
    }
    return page;
}

}  // namespace eislab
