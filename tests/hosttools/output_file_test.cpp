// Files that end before they are whole: what stands at their name, and that nothing else is left in the folder.
#include "host/program/output_file.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <filesystem>
#include <span>

#include "host/program/exit_codes.h"
#include "tests/harness/files.h"

namespace eishost {

using eis::test::TempFolder;
namespace {

void writeAndEnd(const std::string& path, bool clip, bool full) {
    signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{full ? rlim_t{4} : RLIM_INFINITY, RLIM_INFINITY};  // a disk that is full after four bytes
    setrlimit(RLIMIT_FSIZE, &limit);
    OutputFile file(path);
    const std::string_view pieces[] = {"new", "er"};
    if (clip) file.writeWhole(pieces);
    if (!clip) file.write("newer");
    raise(SIGTERM);
}

TEST(OutputFile, IsWholeOrAsItWasHoweverTheProgramEnds) {
    const struct {
        bool clip;
        bool full;
        bool replaces;
        const char* remains;
    } cases[] = {{false, false, true, "old"},   {false, false, false, ""}, {true, false, true, "old"},
                 {true, false, false, "newer"}, {true, true, true, "old"}, {true, true, false, ""}};
    for (const auto& [clip, full, replaces, remains] : cases) {
        const TempFolder folder;
        const std::string path = replaces ? folder.write("out", "old") : folder.path("out");
        EXPECT_EXIT(
            {
                try {
                    writeAndEnd(path, clip, full);
                } catch (const HostError& error) {
                    EXPECT_STREQ(error.what(), (path + ": cannot be written: File too large").c_str());
                    raise(SIGTERM);
                }
            },
            testing::KilledBySignal(SIGTERM), "");
        EXPECT_EQ(folder.read("out"), remains) << clip << full << replaces;
        const auto entries = std::filesystem::directory_iterator(std::filesystem::path(path).parent_path());
        EXPECT_EQ(std::distance(begin(entries), end(entries)), *remains == '\0' ? 0 : 1) << clip << full << replaces;
    }
}

}  // namespace
}  // namespace eishost
