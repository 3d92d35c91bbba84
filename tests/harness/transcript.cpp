#include "tests/harness/transcript.h"

#include <algorithm>
#include <iterator>
#include <sstream>

#include "tests/harness/files.h"

namespace eis::test {

void Transcript::add(const std::string& call, const std::string& outcome, Events events) {
    for (std::string& event : events) {
        for (const auto& [pattern, by] : hidden_) event = std::regex_replace(event, pattern, by);
    }
    const auto [begin, begin2] = std::mismatch(events.begin(), events.end(), previous_.begin(), previous_.end());
    const auto end = std::mismatch(events.rbegin(), std::make_reverse_iterator(begin), previous_.rbegin(),
                                   std::make_reverse_iterator(begin2))
                         .first.base();
    const auto same = [&](auto count) { return count == 0 ? "" : "    = " + std::to_string(count) + '\n'; };
    text_ += call + ": " + outcome + '\n' + same(begin - events.begin());
    for (auto event = begin; event != end; ++event) text_ += "    " + *event + '\n';
    text_ += same(events.end() - end);
    previous_ = std::move(events);
}

testing::AssertionResult Transcript::isAsRecorded() const {
    const std::string name = std::string(testing::UnitTest::GetInstance()->current_test_info()->name()) + ".txt";
    writeFile(testing::TempDir() + name, text_);
    std::istringstream actual(text_);
    std::istringstream expected(readFile(folder_ + "/recorded/" + name));
    std::string call;
    for (int line = 1; actual || expected; ++line) {
        std::string is;
        std::string was;
        std::getline(actual, is);
        std::getline(expected, was);
        if (!is.starts_with(' ')) call = is;
        if (is == was) continue;
        return testing::AssertionFailure() << name << ":" << line << ", \"" << call << "\"\n  is  " << is << "\n  was "
                                           << was << "\nthe whole text is " << testing::TempDir() << name;
    }
    return testing::AssertionSuccess();
}

}  // namespace eis::test
