#include "host/lab/value_check.h"

#include <cmath>
#include <string_view>

#include "bounded/number_text.h"
#include "host/dsp/key_meanings.h"
#include "host/dsp/record_values.h"

namespace eislab {

namespace {

using eis::StreamEnd;
using eis::TuningKey;
using eis::TuningOrigin;
using eis::TuningType;
using nlohmann::ordered_json;

constexpr char kOutOfRange[] = "out-of-range";

// In quotes, cut where it is long.
std::string quoted(std::string_view text) {
    constexpr std::size_t kLongest = 40;
    std::string result = "'";
    result += text.substr(0, kLongest);
    return result + (text.size() > kLongest ? "...'" : "'");
}

std::string_view firstToken(const char* text) {
    while (eis::isSpace(*text)) ++text;
    const char* end = text;
    while (*end != '\0' && !eis::isSpace(*end)) ++end;
    return {text, static_cast<std::size_t>(end - text)};
}

int tokenCount(const char* text) {
    int count = 0;
    for (std::string_view token = firstToken(text); !token.empty(); token = firstToken(text)) {
        text = token.data() + token.size();
        ++count;
    }
    return count;
}

std::vector<ValueProblem> numberProblems(const TuningFile& file, const TuningKey& key, const TuningOrigin& origin) {
    const std::string value = eishost::recordText(file.record, key);
    if (origin.source == eis::TuningSource::notNumber) {
        return {{"no-number", quoted(origin.text) + " is no number: the default " + value + " is taken"}};
    }
    std::vector<ValueProblem> problems;
    const std::string_view read(origin.text, static_cast<std::size_t>(origin.rest - origin.text));
    if (origin.isClamped) {
        const std::string range =
            key.isClamped() ? std::to_string(key.lowest) + " to " + std::to_string(key.highest) : "32 bits";
        problems.push_back(
            {"clamped", quoted(firstToken(origin.text)) + " is beyond " + range + ": " + value + " is taken"});
    }
    if (origin.hasRest()) {
        problems.push_back(
            {"rest-ignored", "only " + quoted(read) + " is read, " + quoted(origin.rest) + " behind it is not"});
    }
    if (key.type == TuningType::float32 && eishost::recordValue(file.record, key).is_null()) {
        problems.push_back(
            {"not-finite", quoted(firstToken(origin.text)) + " is taken as " + value + ", which is not finite"});
    }
    if (problems.empty() && !key.isClamped()) {
        const double number = eishost::recordValue(file.record, key);
        if (const auto note = eishost::rangeNote(key.section, key.name, number))
            problems.push_back({kOutOfRange, *note});
    }
    return problems;
}

std::string placeOf(int index) {
    return " in place " + std::to_string(index + 1);
}

std::vector<ValueProblem> arrayProblems(const TuningFile& file, const TuningKey& key, const TuningOrigin& origin) {
    const ordered_json values = eishost::recordValue(file.record, key);
    const std::string stored = std::to_string(origin.stored);
    const std::string room = std::to_string(key.count);
    std::string rest;  // what becomes of the numbers that the file does not give
    if (origin.stored < key.count) {
        rest = key.type == TuningType::uint32Array
                   ? "; the rest keeps what the file loaded before left there, 0 when this is the first"
                   : "; the rest is 0";
    }
    std::vector<ValueProblem> problems;
    switch (origin.end) {
        case StreamEnd::ranOut:
            problems.push_back({"table-short", stored + " of " + room + " numbers" + rest});
            break;
        case StreamEnd::outOfRange:
            problems.push_back({"table-ends", "the number" + placeOf(origin.stored - 1) +
                                                  " is beyond the type's range: " + values[origin.stored - 1].dump() +
                                                  " is taken and the reading ends" + rest});
            break;
        case StreamEnd::notNumber:
            problems.push_back({"table-ends", quoted(firstToken(origin.rest)) + placeOf(origin.stored - 1) +
                                                  " is no number: 0 is taken and the reading ends" + rest});
            break;
        case StreamEnd::full:
            if (origin.hasRest()) {
                problems.push_back({"table-long", std::to_string(key.count + tokenCount(origin.rest)) +
                                                      " numbers, only " + room + " are read"});
            }
            break;
    }
    // A stream takes a negative number into an unsigned type and wraps it.
    const char* at = origin.text;
    for (int i = 0; key.type == TuningType::uint32Array && i < origin.stored; ++i) {
        while (eis::isSpace(*at)) ++at;
        const eis::IntegerText number = eis::scanInteger(at, SIZE_MAX, 10);
        if (number.negative && number.magnitude > 0) {
            problems.push_back(
                {"table-wraps", quoted({at, number.length}) + placeOf(i) + " is taken as " + values[i].dump()});
            break;
        }
        at += number.length;
    }
    for (int i = 0; problems.empty() && i < origin.stored; ++i) {
        const auto note = eishost::rangeNote(key.section, key.name, values[i]);
        if (note) problems.push_back({kOutOfRange, "in place " + std::to_string(i + 1) + ": " + *note});
    }
    return problems;
}

}  // namespace

std::vector<ValueProblem> valueProblems(const TuningFile& file, const KeyReading& reading) {
    if (reading.origin.text == nullptr) return {};
    return reading.key->isArray() ? arrayProblems(file, *reading.key, reading.origin)
                                  : numberProblems(file, *reading.key, reading.origin);
}

}  // namespace eislab
