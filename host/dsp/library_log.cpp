#include "host/dsp/library_log.h"

#include <android/log.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <ostream>

namespace eishost {

namespace {

struct Record {
    std::mutex mutex;  // warp threads log too
    std::vector<LogLine> lines;
    std::ostream* echo = nullptr;
};

Record& record() {
    static Record instance;
    return instance;
}

}  // namespace

void startLibraryLog(std::ostream* echo) {
    const std::lock_guard<std::mutex> lock(record().mutex);
    record().lines.clear();
    record().echo = echo;
}

std::vector<LogLine> libraryLog() {
    const std::lock_guard<std::mutex> lock(record().mutex);
    return record().lines;
}

std::optional<double> loggedMilliseconds(const std::vector<LogLine>& lines, const std::string& stage) {
    for (const LogLine& line : lines) {
        if (line.text.find(stage) == std::string::npos) continue;
        const std::size_t cost = line.text.find(" cost ");
        if (cost == std::string::npos) continue;
        const char* number = line.text.c_str() + cost + 6;
        char* end = nullptr;
        const double value = std::strtod(number, &end);
        if (end != number) return value;
    }
    return std::nullopt;
}

}  // namespace eishost

// Takes the place of the platform's function for the whole process: the library imports the name, the program exports
// it.
extern "C" __attribute__((visibility("default"), format(printf, 3, 4))) int __android_log_print(int prio,
                                                                                                const char* tag,
                                                                                                const char* fmt, ...) {
    va_list arguments;
    va_start(arguments, fmt);
    char* text = nullptr;
    const int length = vasprintf(&text, fmt, arguments);
    va_end(arguments);
    if (length < 0) return length;
    eishost::LogLine line{prio, tag != nullptr ? tag : "", text};
    std::free(text);
    while (!line.text.empty() && line.text.back() == '\n') line.text.pop_back();
    eishost::Record& record = eishost::record();
    const std::lock_guard<std::mutex> lock(record.mutex);
    if (record.echo != nullptr) {
        *record.echo << (prio >= ANDROID_LOG_ERROR ? 'E' : 'I') << ' ' << line.tag << ": " << line.text << '\n';
    }
    record.lines.push_back(std::move(line));
    return length;
}
