// The table of keys beside its rows in the documentation.
#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <string>

#include "config/tuning_keys.h"
#include "tests/harness/files.h"

namespace eis::test {
namespace {

constexpr const char* kTypeNames[] = {"signed 32-bit", "32-bit float", "unsigned 32-bit", "signed 16-bit"};

// The row of a key and of the same key at the other levels.
std::string rowOf(const TuningKey& key) {
    std::ostringstream row;
    row << "| `" << key.name << "` | " << kTypeNames[static_cast<int>(key.type)];
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
    row << " | " << (defaults.size() > 1 ? list.str() : list.str().substr(0, list.str().find(','))) << " | ";
    if (key.isClamped()) row << key.lowest << " to " << key.highest;
    row << " |\n";
    return row.str();
}

TEST(TuningKeys, PageIsCurrent) {
    const std::string page = readFile(EIS_TEST_FOLDER "/../../docs/tuning-keys.md");
    std::string section;
    std::string expected;
    for (const TuningKey& key : kTuningKeys) {
        if (key.iso > 1) continue;
        if (section != key.section) {
            section = key.section;
            expected.append("\n## /Config/").append(section).append(key.iso > 0 ? "/ISOn" : "");
            expected += "\n\n| Key | Type | Offset | Default | Range |\n|---|---|---|---|---|\n";
        }
        expected += rowOf(key);
    }
    EXPECT_EQ(page.substr(page.find("\n## ")), expected);
}

}  // namespace
}  // namespace eis::test
