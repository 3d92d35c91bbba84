// eis-host killed at each place where it is about to change a folder: every file in there is whole, old or absent.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <opencv2/imgproc.hpp>

#include "host/picture/picture.h"
#include "tests/harness/files.h"

namespace eishost {
namespace {

using eis::test::TempFolder;

bool changesFiles(const __ptrace_syscall_info& call) {
    if (call.op != PTRACE_SYSCALL_INFO_ENTRY) return false;
    const auto& [number, arguments] = call.entry;
    switch (number) {
        case SYS_write:
            return arguments[0] > STDERR_FILENO;
        case SYS_openat:
            return (arguments[2] & O_CREAT) != 0;
        case SYS_rename:
        case SYS_unlink:
        case SYS_mkdir:
        case SYS_ftruncate:
        case SYS_writev:
            return true;
        default:
            return false;
    }
}

// Runs eis-host until its change number `last` of a file, which it does not live to make. False where it ended before.
bool runUpTo(int last, const std::vector<std::string>& arguments) {
    const pid_t child = fork();
    if (child == 0) {
        std::vector<char*> words{const_cast<char*>(EIS_HOST_PROGRAM)};
        for (const std::string& word : arguments) words.push_back(const_cast<char*>(word.c_str()));
        words.push_back(nullptr);
        setenv("ASAN_OPTIONS", "detect_leaks=0", 1);  // the leak checker traces, too
        if (freopen("/dev/null", "w", stdout) == nullptr || freopen("/dev/null", "w", stderr) == nullptr) _exit(126);
        if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(125);
        execv(words[0], words.data());
        _exit(127);
    }
    int status = 0;
    int changes = 0;
    while (waitpid(child, &status, 0) == child && WIFSTOPPED(status)) {
        __ptrace_syscall_info call{};
        ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_EXITKILL | PTRACE_O_TRACESYSGOOD);
        const bool isCall = WSTOPSIG(status) == (SIGTRAP | 0x80);
        if (isCall && ptrace(PTRACE_GET_SYSCALL_INFO, child, sizeof call, &call) > 0 && changesFiles(call) &&
            ++changes == last) {
            kill(child, SIGKILL);
            continue;
        }
        const bool passOn = !isCall && WSTOPSIG(status) != SIGTRAP;
        ptrace(PTRACE_SYSCALL, child, nullptr, passOn ? WSTOPSIG(status) : 0);
    }
    EXPECT_TRUE(WIFSIGNALED(status) || (WIFEXITED(status) && WEXITSTATUS(status) == 0)) << status;
    return WIFSIGNALED(status);
}

// Some containers forbid it.
bool canTrace() {
    const pid_t child = fork();
    if (child == 0) _exit(ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) == 0 ? 0 : 1);
    int status = 0;
    return waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

// Contents by name, but for temporary files, which begin with a dot.
std::map<std::string, std::string> filesOf(const TempFolder& folder) {
    std::map<std::string, std::string> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder.path(""))) {
        const std::string name = std::filesystem::relative(entry.path(), folder.path("")).string();
        if (entry.is_regular_file() && entry.path().filename().string()[0] != '.') files[name] = folder.read(name);
    }
    return files;
}

TEST(Killed, EveryFileIsWholeOldOrAbsent) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the same calls of the system, with thousands of the sanitizer's own between them";
#endif
    if (!canTrace()) GTEST_SKIP() << "no process may trace another here";
    Picture picture(400, 300);
    cv::randu(picture.mat(0), 0, 255);
    const TempFolder source;
    savePicture(source.path("in.png"), picture);
    savePictures(source.path("in.y4m"), std::vector<Picture>(2, picture));
    const std::vector<std::string> commands[] = {
        {"scale", source.path("in.y4m"), "out.y4m", "--size", "64x48"},
        {"synth", source.path("in.png"), "--frames", "2", "--size", "128x96", "--out", "burst"}};
    for (const std::vector<std::string>& command : commands) {
        const TempFolder whole;
        const auto in = [&](const TempFolder& folder) {
            std::vector<std::string> words = command;
            for (std::string& word : words) {
                if (word.starts_with("out.") || word == "burst") word = folder.path(word);
            }
            return words;
        };
        ASSERT_FALSE(runUpTo(0, in(whole))) << command[0];
        const auto expected = filesOf(whole);
        ASSERT_FALSE(expected.empty());
        int last = 0;
        for (bool killed = true; killed;) {
            const TempFolder folder;
            if (command[0] != "synth") folder.write(expected.begin()->first, "old");
            killed = runUpTo(++last, in(folder));
            const auto files = filesOf(folder);
            for (const auto& [name, content] : files) {
                if (name == "burst/truth.json") {  // of the frames so far
                    for (const auto& frame : nlohmann::json::parse(content).at("frames")) {
                        EXPECT_TRUE(files.contains("burst/" + frame.at("frame").get<std::string>())) << last;
                    }
                    continue;
                }
                EXPECT_TRUE(content == "old" || content == expected.at(name))
                    << command[0] << ", killed at change " << last << ": " << name << ", " << content.size()
                    << " bytes";
            }
        }
        EXPECT_GT(last, 3) << command[0];
    }
}

}  // namespace
}  // namespace eishost
