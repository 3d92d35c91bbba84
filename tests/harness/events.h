// What a run of the library shows to the outside, in order: log lines and callbacks of the device space, each as a
// text.
//
// A log line is "info TEXT" or "error TEXT" under the tag "EIS_AP", "info[TAG] TEXT" under another, "priority P[TAG]
// TEXT" at a priority that the library must not use. The callbacks' texts are those of device_space.h. The journal
// starts empty in each test.
#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <vector>

namespace eis::test {

using Events = std::vector<std::string>;

void recordCallback(const std::string& event);
void clearEvents();

// One sequence behind the other.
Events joined(std::initializer_list<Events> parts);
// What stands before the first event of this text, without it or with it.
Events upTo(const Events& events, const std::string& event);
Events through(const Events& events, const std::string& event);

Events allEvents();
Events logLines();
Events errorLines();
Events callbacks();

// Compare with an expected sequence, in which a '*' stands for any characters (a duration, a pointer).
testing::AssertionResult eventsWere(const Events& expected);
testing::AssertionResult logWas(const Events& expected);
// The log's errors alone.
testing::AssertionResult errorsWere(const Events& expected);
testing::AssertionResult callbacksWere(const Events& expected);

}  // namespace eis::test
