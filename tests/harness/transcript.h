// What a row of calls shows to the outside, compared with a recorded text: one layer that pins a whole entry.
#pragma once

#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <utility>
#include <vector>

#include "tests/harness/events.h"

namespace eis::test {

// The recorded text of each test is FOLDER/recorded/TEST.txt.
class Transcript {
  public:
    explicit Transcript(const std::string& folder) : folder_(folder) {}

    // What is written in place of what differs from run to run; of pointers "0x*".
    void hide(const std::string& pattern, const std::string& by) { hidden_.emplace_back(pattern, by); }

    // A call by its name, what came of it, and the journal since it began: the lines in which it is not as the call
    // before, and how many from its start and to its end are the same.
    void add(const std::string& call, const std::string& outcome, Events events);
    void add(const std::string& call, const std::string& outcome) { add(call, outcome, allEvents()); }

    // Else the first difference; the whole text is left among the temporary files.
    testing::AssertionResult isAsRecorded() const;

  private:
    std::string folder_;
    std::string text_;
    Events previous_;
    std::vector<std::pair<std::regex, std::string>> hidden_ = {{std::regex("0x[0-9a-f]+"), "0x*"},
                                                               {std::regex("\n"), "\\n"}};
};

}  // namespace eis::test
