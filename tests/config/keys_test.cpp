// The table of keys: no two alike, none over another's bytes, and the page of the documentation that is made from it.
#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "config/tuning_keys.h"
#include "tests/harness/files.h"

namespace eis::test {
namespace {

size_t bytesOf(const TuningKey& key) {
    return key.count * (key.type == TuningType::int16Array ? sizeof(int16_t) : sizeof(int32_t));
}

TEST(TuningKeys, FillTheRecordOnce) {
    std::set<std::string> paths;
    std::vector<int> writers(sizeof(ST_CONFIG_XML), 0);
    for (const TuningKey& key : kTuningKeys) {
        EXPECT_TRUE(paths.insert(key.path).second) << key.path;
        ASSERT_LE(key.offset + bytesOf(key), writers.size()) << key.path;
        for (size_t i = 0; i < bytesOf(key); ++i) ++writers[key.offset + i];
    }
    size_t reserved = 0;
    for (const int count : writers) {
        EXPECT_LE(count, 1);
        reserved += count == 0 ? 1 : 0;
    }
    EXPECT_EQ(reserved, 16u + 8 * 4);
    EXPECT_EQ(stagedTuningKeys().size() + sfTuningKeys().size(), kTuningKeys.size());
}

const char* nameOf(TuningType type) {
    switch (type) {
        case TuningType::int32:
            return "signed 32-bit";
        case TuningType::float32:
            return "32-bit float";
        case TuningType::uint32Array:
            return "unsigned 32-bit";
        case TuningType::int16Array:
            return "signed 16-bit";
    }
    return "";
}

// The row of a key and of the same key at the other levels.
std::string rowOf(const TuningKey& key) {
    std::ostringstream row;
    row << "| `" << key.name << "` | " << nameOf(key.type);
    if (key.count > 1) row << ", " << key.count << " of them";
    row << " | " << key.offset;
    std::set<double> defaults;
    std::ostringstream list;
    for (const TuningKey& level : kTuningKeys) {
        if (std::string(key.section) != level.section || std::string(key.name) != level.name) continue;
        if (level.iso == 2) row << " + " << level.offset - key.offset;
        defaults.insert(level.defaultValue);
        list << (level.iso > 1 ? ", " : "") << level.defaultValue;
    }
    row << " | ";
    if (defaults.size() > 1) {
        row << list.str();
    } else {
        row << key.defaultValue;
    }
    row << " | ";
    if (key.isClamped()) row << key.lowest << " to " << key.highest;
    row << " |\n";
    return row.str();
}

std::string keysPage() {
    std::ostringstream page;
    page << R"(# Keys of the tuning file

The keys of `multiframe.xml` and where their values go in `ST_CONFIG_XML`. Names compare without case, the first of two
equal ones counts, and a key that is missing or holds no number has its default. In a section with levels the keys stand
in `ISO1` to `ISO8`; the offset is that of `ISO1` plus the step for each further level. A range means that values are
clamped to it; other integers stop at the limits of their type.

A table ends at the first thing that is no number, which is stored as 0, and at the first number beyond its type, which
is stored as the nearest limit. What a short `chromaNrLUT` does not reach keeps what the load before left; what a short
`alphaLUT` does not reach is 0.

This page is made from the table in `config/tuning_keys.cpp`; a test compares the two.
)";
    std::string section;
    for (const TuningKey& key : kTuningKeys) {
        if (key.iso > 1) continue;
        if (section != key.section) {
            section = key.section;
            page << "\n## /Config/" << section << (key.iso > 0 ? "/ISOn" : "")
                 << "\n\n| Key | Type | Offset | Default | Range |\n|---|---|---|---|---|\n";
        }
        page << rowOf(key);
    }
    return page.str();
}

TEST(TuningKeys, PageIsCurrent) {
    const std::string page = EIS_TEST_FOLDER "/../../docs/tuning-keys.md";
    const std::string made = keysPage();
    if (readFile(page) == made) return;
    writeFile("tuning-keys.md", made);
    ADD_FAILURE()
        << "docs/tuning-keys.md differs from the table of keys: replace it by tuning-keys.md, just written here";
}

}  // namespace
}  // namespace eis::test
