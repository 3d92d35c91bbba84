#include "host/dsp/other_library.h"

#include <dlfcn.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <vector>

#include "host/program/input_file.h"

namespace eishost {

namespace {

constexpr char kPreload[] = "LD_PRELOAD";
constexpr char kStarted[] = "EIS_REPLAY_LIBRARY";  // set in the process that began anew

struct Close {
    void operator()(void* handle) const { dlclose(handle); }
};
using Library = std::unique_ptr<void, Close>;

std::string absolute(const std::string& path) {
    return std::filesystem::absolute(path).string();
}

Library opened(const std::string& path, int mode) {
    return Library(dlopen(absolute(path).c_str(), RTLD_LAZY | RTLD_LOCAL | mode));
}

[[noreturn]] void beginAnew(const std::string& path) {
    const std::string file = absolute(path);
    if (file.find_first_of(" :") != std::string::npos) {
        throw HostError(kExitUnsuitable, file + ": the loader takes no path with a space or a colon");
    }
    const char* const older = std::getenv(kPreload);
    setenv(kPreload, (older == nullptr ? file : file + ":" + older).c_str(), 1);
    setenv(kStarted, file.c_str(), 1);
    std::string words = InputFile("/proc/self/cmdline").readAll();
    std::vector<char*> arguments;
    for (std::size_t at = 0; at < words.size(); at += std::strlen(&words[at]) + 1) arguments.push_back(&words[at]);
    arguments.push_back(nullptr);
    execv("/proc/self/exe", arguments.data());
    throw HostError(kExitInternal, std::string("the program cannot begin anew: ") + std::strerror(errno));
}

}  // namespace

void runWithLibrary(const std::string& path) {
    if (opened(path, RTLD_NOLOAD) == nullptr) {
        const Library library = opened(path, 0);
        if (library == nullptr) throw HostError(kExitUnreadable, path + ": does not load: " + dlerror());
        if (std::getenv(kStarted) != nullptr)
            throw HostError(kExitUnsuitable, path + ": the loader does not preload it");
        beginAnew(path);
    }
    for (const char* setter : {"setIO2VAConverter", "setGraphicBufferInvalidater", "setGraphicBufferFlusher"}) {
        requireExport(path, setter);
    }
}

void requireExport(const std::string& path, const char* name) {
    const Library library = opened(path, RTLD_NOLOAD);
    if (library == nullptr || dlsym(library.get(), name) == nullptr) {
        throw HostError(kExitUnsuitable, path + ": has no export " + name);
    }
}

}  // namespace eishost
