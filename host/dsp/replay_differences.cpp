#include <algorithm>
#include <cstdio>
#include <iterator>
#include <map>
#include <regex>

#include "host/dsp/block_fields.h"
#include "host/dsp/replay.h"

namespace eishost {

namespace {

std::string hex(DeviceAddress address) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%08x", address);
    return text;
}

// Where bytes differ, empty when nowhere.
std::string byteDifference(const Bytes& was, const Bytes& is) {
    std::size_t first = was.size();
    std::size_t count = 0;
    for (std::size_t i = 0; i < was.size(); ++i) {
        if (was[i] == is[i]) continue;
        if (count++ == 0) first = i;
    }
    if (count == 0) return {};
    return std::to_string(count) + " of " + std::to_string(was.size()) + " bytes differ, the first at " +
           std::to_string(first) + ": " + std::to_string(was[first]) + " was, " + std::to_string(is[first]) + " is";
}

// Names for the buffers whose writer gave none: of the field that leads to each.
std::map<DeviceAddress, std::string> bufferNames(const CallRecord& call) {
    std::map<DeviceAddress, std::string> names;
    const DeviceBytes memory = [&](DeviceAddress address) -> std::span<const std::uint8_t> {
        auto after = call.buffers.upper_bound(address);
        if (after == call.buffers.begin()) return {};
        const auto& [base, buffer] = *std::prev(after);
        const std::size_t offset = address - base;
        return offset < buffer.bytes ? std::span(buffer.dspBefore).subspan(offset) : std::span<const std::uint8_t>();
    };
    for (const auto& [address, buffer] : call.buffers) {
        if (!buffer.name.empty()) names[address] = buffer.name;
    }
    for (const BlockValue& value : readBlock(call.entry, call.block, memory)) {
        if (value.field->kind == FieldKind::kAddress) names.try_emplace(value.address(), value.name);
    }
    return names;
}

using Names = std::map<DeviceAddress, std::string>;

std::string nameOf(const Names& names, DeviceAddress address) {
    const auto found = names.find(address);
    return found == names.end() ? hex(address) : found->second + " (" + hex(address) + ")";
}

void compareBuffers(const CallRecord& recorded, const CallRecord& played, const Names& names,
                    std::vector<std::string>& lines) {
    for (const auto& [address, was] : recorded.buffers) {
        if (was.scratch) continue;
        const RecordedBuffer& is = played.buffers.at(address);
        const std::string dsp = byteDifference(was.dspAfter, is.dspAfter);
        const std::string cpu = byteDifference(was.cpuAfter, is.cpuAfter);
        if (!dsp.empty()) lines.push_back(nameOf(names, address) + ": " + dsp);
        if (!cpu.empty() && cpu != dsp) lines.push_back(nameOf(names, address) + ", as the CPU sees it: " + cpu);
    }
}

std::string touchText(const DspArena::Touch& touch, const Names& names) {
    const char* const verbs[] = {"", "convert ", "invalidate ", "flush "};
    return verbs[touch.kind] +
           (touch.known ? nameOf(names, touch.address) : "an unknown address " + hex(touch.address));
}

// The lines of one log that the other does not have, in order, each as often as it is missing.
std::vector<std::string> missingFrom(const std::vector<std::string>& other, const std::vector<std::string>& all) {
    std::map<std::string, int> left;
    for (const std::string& line : other) ++left[line];
    std::vector<std::string> missing;
    for (const std::string& line : all) {
        if (left[line]-- <= 0) missing.push_back(line);
    }
    return missing;
}

std::vector<std::string> touchTexts(const std::vector<DspArena::Touch>& touches, const Names& names) {
    std::vector<std::string> texts;
    texts.reserve(touches.size());
    for (const DspArena::Touch& touch : touches) texts.push_back(touchText(touch, names));
    return texts;
}

// A log without what differs from run to run and from build to build.
std::vector<std::string> steadyTexts(const std::vector<LogLine>& log) {
    static const std::regex time("cost [0-9.]+ ms");
    static const std::regex pointer("(0x)?0x[0-9a-f]+");
    static const std::regex date("[A-Z][a-z][a-z] [ 0-9][0-9] [0-9]{4}(__| +)[0-9:]{8}");
    std::vector<std::string> texts;
    texts.reserve(log.size());
    for (const LogLine& line : log) {
        std::string text = std::regex_replace(line.text, time, "cost N ms");
        text = std::regex_replace(text, pointer, "0xN");
        texts.push_back((line.priority >= 6 ? "E " : "I ") + line.tag + ": " + std::regex_replace(text, date, "DATE"));
    }
    return texts;
}

void compareLists(const char* what, const std::vector<std::string>& was, const std::vector<std::string>& is,
                  std::vector<std::string>& lines) {
    for (const std::string& text : missingFrom(is, was)) lines.push_back(std::string(what) + " is missing: " + text);
    for (const std::string& text : missingFrom(was, is)) lines.push_back(std::string(what) + " is new: " + text);
}

}  // namespace

std::vector<std::string> differences(const CallRecord& recorded, const CallRecord& played) {
    std::vector<std::string> lines;
    if (recorded.status != played.status) {
        lines.push_back("status: " + std::to_string(*recorded.status) + " was, " + std::to_string(*played.status) +
                        " is");
    }
    const std::string block = byteDifference(recorded.blockAfter, played.blockAfter);
    if (!block.empty()) lines.push_back("block: " + block);
    const Names names = bufferNames(recorded);
    compareBuffers(recorded, played, names, lines);
    if (recorded.touches) {
        compareLists("callback", touchTexts(*recorded.touches, names), touchTexts(*played.touches, names), lines);
    }
    if (recorded.log) compareLists("log", steadyTexts(*recorded.log), steadyTexts(*played.log), lines);
    return lines;
}

}  // namespace eishost
