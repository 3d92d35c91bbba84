#include "tests/harness/events.h"

#include <android/log.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <sstream>

#include "tests/harness/calls.h"

namespace eis::test {

namespace {

struct Event {
    bool isLog;
    std::string text;
};

std::mutex g_journalMutex;
std::vector<Event> g_journal;

void record(bool isLog, std::string text) {
    const std::lock_guard lock(g_journalMutex);
    g_journal.push_back({isLog, std::move(text)});
}

template <class Wanted>
Events select(Wanted wanted) {
    const std::lock_guard lock(g_journalMutex);
    Events events;
    for (const Event& event : g_journal) {
        if (wanted(event)) events.push_back(event.text);
    }
    return events;
}

bool matches(const char* text, const char* pattern) {
    for (; *pattern != '\0'; ++pattern, ++text) {
        if (*pattern == '*') {
            do {
                if (matches(text, pattern + 1)) return true;
            } while (*text++ != '\0');
            return false;
        }
        if (*pattern != *text) return false;
    }
    return *text == '\0';
}

std::string listing(const Events& events) {
    std::ostringstream out;
    for (const std::string& event : events) out << "  " << testing::PrintToString(event) << '\n';
    return events.empty() ? "  (nothing)\n" : out.str();
}

testing::AssertionResult compare(const Events& seen, const Events& expected) {
    const bool same = seen.size() == expected.size() &&
                      std::equal(seen.begin(), seen.end(), expected.begin(), [](const auto& text, const auto& pattern) {
                          return matches(text.c_str(), pattern.c_str());
                      });
    if (same) return testing::AssertionSuccess();
    return testing::AssertionFailure() << "seen:\n" << listing(seen) << "expected:\n" << listing(expected);
}

std::string prefix(int priority, const std::string& tag) {
    const std::string suffix = tag == "EIS_AP" ? " " : "[" + tag + "] ";
    if (priority == ANDROID_LOG_INFO) return "info" + suffix;
    if (priority == ANDROID_LOG_ERROR) return "error" + suffix;
    return "priority " + std::to_string(priority) + "[" + tag + "] ";
}

}  // namespace

void recordCallback(const std::string& event) {
    record(false, event);
}

void clearEvents() {
    const std::lock_guard lock(g_journalMutex);
    g_journal.clear();
}

Events joined(std::initializer_list<Events> parts) {
    Events all;
    for (const Events& part : parts) all.insert(all.end(), part.begin(), part.end());
    return all;
}

Events upTo(const Events& events, const std::string& event) {
    const auto found = std::find(events.begin(), events.end(), event);
    EXPECT_NE(found, events.end()) << event;
    return {events.begin(), found};
}

Events through(const Events& events, const std::string& event) {
    return joined({upTo(events, event), {event}});
}

Events allEvents() {
    return select([](const Event&) { return true; });
}
Events logLines() {
    return select([](const Event& event) { return event.isLog; });
}
Events errorLines() {
    return select([](const Event& event) { return event.isLog && event.text.starts_with("error"); });
}
Events callbacks() {
    return select([](const Event& event) { return !event.isLog; });
}

testing::AssertionResult eventsWere(const Events& expected) {
    return compare(allEvents(), expected);
}
testing::AssertionResult logWas(const Events& expected) {
    return compare(logLines(), expected);
}
testing::AssertionResult errorsWere(const Events& expected) {
    return compare(errorLines(), expected);
}
testing::AssertionResult callbacksWere(const Events& expected) {
    return compare(callbacks(), expected);
}

}  // namespace eis::test

// Stands in for the platform's log in every test program.
extern "C" __attribute__((visibility("default"))) int __android_log_print(int priority, const char* tag,
                                                                          const char* format, ...) {
    const eis::test::OwnWork own;
    va_list arguments;
    va_start(arguments, format);
    char* text = nullptr;
    const int length = vasprintf(&text, format, arguments);
    va_end(arguments);
    if (length < 0) std::abort();
    eis::test::record(true, eis::test::prefix(priority, tag) + text);
    std::free(text);
    return length;
}
