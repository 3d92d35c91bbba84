#include "host/program/unfinished_file.h"

#include <errno.h>  // program_invocation_short_name
#include <signal.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <climits>
#include <cstdio>
#include <cstring>
#include <initializer_list>

namespace eishost {

// In static storage, where a signal handler can read it at any time.
struct UnfinishedFile::Entry {
    std::atomic<bool> taken{false};
    std::atomic<bool> live{false};  // the names are complete
    std::atomic<bool> useful{false};
    char part[PATH_MAX];
    char target[PATH_MAX];
};

namespace {

constexpr std::size_t kMostEntries = 8;
std::array<UnfinishedFile::Entry, kMostEntries> g_entries;
std::atomic<int> g_waiters{0};      // SignalsWait objects
std::atomic<bool> g_ending{false};  // a handler looks whether it may end the program
std::atomic<int> g_postponed{0};    // the signal that waits for them

static_assert(std::atomic<int>::is_always_lock_free && std::atomic<bool>::is_always_lock_free);

void say(std::initializer_list<const char*> words) {
    for (const char* word : words) {
        if (write(STDERR_FILENO, word, std::strlen(word)) < 0) return;
    }
}

// Calls nothing but what a signal handler may.
void leaveTidy() {
    for (UnfinishedFile::Entry& entry : g_entries) {
        if (!entry.live) continue;
        const bool replaces = access(entry.target, F_OK) == 0;
        if (entry.useful && !replaces && rename(entry.part, entry.target) == 0) {
            say({"\n", program_invocation_short_name, ": interrupted; ", entry.target,
                 " ends with the last whole picture\n"});
            continue;
        }
        unlink(entry.part);
        if (replaces) say({"\n", program_invocation_short_name, ": interrupted; ", entry.target, " is as it was\n"});
    }
}

void endBySignal(int signal) {
    const int error = errno;
    g_ending = true;
    if (g_waiters > 0 && g_postponed.exchange(signal) == 0) {
        g_ending = false;
        errno = error;
        return;
    }
    leaveTidy();
    struct sigaction byDefault {};
    byDefault.sa_handler = SIG_DFL;
    sigaction(signal, &byDefault, nullptr);
    raise(signal);  // comes when the handler has returned, so that whoever waits for the program learns how it ended
    errno = error;
}

// Signals that are ignored, as under nohup, or that have a handler already stay as they are.
void installHandlers() {
    static std::atomic<bool> installed{false};
    if (installed.exchange(true)) return;
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction action {};
        if (sigaction(signal, nullptr, &action) != 0 || action.sa_handler != SIG_DFL) continue;
        action.sa_handler = endBySignal;
        sigfillset(&action.sa_mask);
        action.sa_flags = SA_RESTART;
        sigaction(signal, &action, nullptr);
    }
}

void copyName(char (&to)[PATH_MAX], const std::string& name) {
    std::memcpy(to, name.c_str(), name.size() + 1);
}

}  // namespace

UnfinishedFile::UnfinishedFile(const std::string& part, const std::string& target) {
    installHandlers();
    if (part.size() >= PATH_MAX || target.size() >= PATH_MAX) return;  // no file can have such a name
    for (Entry& entry : g_entries) {
        if (entry.taken.exchange(true)) continue;
        copyName(entry.part, part);
        copyName(entry.target, target);
        entry.useful = false;
        entry.live = true;
        entry_ = &entry;
        return;
    }
}

UnfinishedFile::~UnfinishedFile() {
    if (entry_ == nullptr) return;
    entry_->live = false;
    entry_->taken = false;
}

void UnfinishedFile::setUseful() {
    if (entry_ != nullptr) entry_->useful = true;
}

SignalsWait::SignalsWait() {
    installHandlers();
    ++g_waiters;
    // A handler in another thread has come first: it ends the program, or finds this object and returns.
    while (g_ending) continue;
}

SignalsWait::~SignalsWait() {
    if (--g_waiters > 0) return;
    if (const int signal = g_postponed.exchange(0); signal != 0) raise(signal);
}

}  // namespace eishost
