// The bounded formats and scans beside those of the C library, where both are defined, and the bounded copies beside
// what they promise.
//
// The first byte chooses the family; a conversion, its limits and its value follow, and the rest is text.
#include <cctype>
#include <cstdio>
#include <cstring>
#include <string>

#include "bounded/bounded_format.h"
#include "bounded/bounded_overlap.h"
#include "bounded/bounded_scan.h"
#include "bounded/bounded_string.h"
#include "fuzz/input.h"

#pragma clang diagnostic ignored "-Wformat-nonliteral"
#pragma clang diagnostic ignored "-Wformat-security"

namespace {

using namespace eis;
using namespace eisfuzz;

Memory memory;

// A text that ends at a protected page.
const char* guarded(const std::string& text) {
    char* copy = memory.empty<char>(text.size() + 1);
    std::memcpy(copy, text.c_str(), text.size() + 1);
    return copy;
}

// Both families against the whole text.
template <class Value>
void checkFormat(Input& in, const std::string& format, Value value) {
    const char* formatText = guarded(format);
    std::string whole(1 << 12, '\0');
    const int length = std::snprintf(whole.data(), whole.size(), formatText, value);
    if (length < 0 || length >= static_cast<int>(whole.size())) return;
    whole.resize(length);
    const size_t destMax = in.oneIn(3) ? in.in(1, 300) : std::max(length + in.in(-2, 3), 1);
    char* dest = memory.empty<char>(destMax);
    const bool fits = whole.size() < destMax;
    FUZZ_CHECK(sprintf_s(dest, destMax, formatText, value) == (fits ? length : -1));
    FUZZ_CHECK((fits ? whole : "") == dest);
    const size_t count = in.oneIn(3) ? in.in(0, 400) : std::max(length + in.in(-2, 3), 0);
    const size_t limit = std::min(count, destMax - 1);
    const bool within = whole.size() <= limit;
    FUZZ_CHECK(snprintf_s(dest, destMax, count, formatText, value) == (within ? length : -1));
    FUZZ_CHECK((within ? whole : destMax > count ? whole.substr(0, count) : "") == dest);
}

void formats(Input& in) {
    std::string conversion = "%";
    for (const char flag : std::string("-+ #0")) {
        if (in.oneIn(4)) conversion += flag;
    }
    if (in.oneIn(3)) conversion += std::to_string(in.in(1, 90));
    if (in.oneIn(3)) conversion += "." + std::to_string(in.in(0, 90));
    const int kind = in.in(0, 3);
    const char letter =
        kind == 0 || kind == 1 ? in.of({'d', 'i', 'u', 'x', 'X', 'o'}) : in.of({'f', 'e', 'g', 'a', 'E', 'G'});
    const auto number = in.take<long long>();
    const auto real = in.take<double>();
    std::string around = in.text();
    std::erase_if(around, [](char c) { return c == '\0' || c == '%'; });
    const std::string before = around.substr(0, around.size() / 2);
    const auto put = [&](const std::string& end) { return before + conversion + end + "%%"; };
    if (kind == 0) checkFormat(in, put(std::string(1, letter)), static_cast<int>(number));
    if (kind == 1) checkFormat(in, put(std::string("ll") + letter), number);
    if (kind == 2) checkFormat(in, put(std::string(1, letter)), real);
    if (kind == 3) checkFormat(in, put("s"), guarded(around));
}

// "0x" without a digit behind it: where the C library takes a zero, the standard has no number, and an engine may end
// ahead of the x.
bool hasBarePrefix(const std::string& text, bool cut) {
    for (size_t at = text.find_first_of("xX"); at != std::string::npos; at = text.find_first_of("xX", at + 1)) {
        const bool isDigitBehind = at + 1 < text.size() && std::isxdigit(static_cast<unsigned char>(text[at + 1])) != 0;
        if (at > 0 && text[at - 1] == '0' && (cut || !isDigitBehind)) return true;
    }
    return false;
}

template <class T>
void checkScan(const std::string& text, const std::string& format) {
    const char* guardedText = guarded(text);
    const char* formatText = guarded(format + "%n");
    T values[2] = {};
    int ends[2] = {-9, -9};
    const int ours = sscanf_s(guardedText, formatText, &values[0], &ends[0]);
    const int theirs = std::sscanf(guardedText, formatText, &values[1], &ends[1]);
    FUZZ_CHECK(ours == theirs && ends[0] == ends[1]);
    FUZZ_CHECK(std::memcmp(&values[0], &values[1], sizeof(T)) == 0);
}

void scans(Input& in) {
    const int kind = in.in(0, 3);
    const std::string width = in.oneIn(3) ? std::to_string(in.in(1, 40)) : "";
    const char letter = in.of({'d', 'i', 'u', 'x', 'o'});
    const bool negated = in.oneIn(2);
    std::string text = in.text();
    std::erase(text, '\0');
    if (kind != 3 && hasBarePrefix(text, !width.empty())) return;
    if (kind == 0) checkScan<long long>(text, "%" + width + "ll" + letter);
    // Spaces and letters around.
    if (kind == 1) checkScan<float>(text, " %" + width + in.of({'f', 'e', 'g'}));
    if (kind == 2) checkScan<double>(text, "%" + width + "l" + in.of({'f', 'e', 'g'}));
    if (kind != 3) return;
    // A set, a word, or so many characters, into room for it all and into less.
    std::string set = text.substr(0, std::min<size_t>(text.size(), 6));
    std::erase_if(set, [](char c) { return c == ']' || c == '^' || c == '-'; });
    const std::string rest = text.substr(set.size());
    const std::string end = set.empty() || in.oneIn(3) ? "s" : std::string(negated ? "[^" : "[") + set + "]";
    const std::string format = "%" + width + end;
    // A sanitizer's sscanf takes a width for what will be written.
    std::string theirs(rest.size() + 64, '\1');
    const char* guardedRest = guarded(rest);
    const int result = std::sscanf(guardedRest, format.c_str(), theirs.data());
    const size_t length = result == 1 ? std::strlen(theirs.c_str()) : 0;
    const size_t size = std::max<size_t>(length + in.in(0, 2), 1);
    char* ours = memory.empty<char>(size);
    const bool fits = length < size;
    FUZZ_CHECK(sscanf_s(guardedRest, guarded(format), ours, size) == (result == 1 && !fits ? 0 : result));
    if (result == 1) FUZZ_CHECK((fits ? std::string(theirs.c_str()) : "") == ours);
}

// Two areas in one, which may overlap.
void copies(Input& in) {
    constexpr int kArea = 96;
    const std::string text = in.text().substr(0, kArea);
    char* area = memory.empty<char>(kArea);
    std::memset(area, 'x', kArea);
    std::memcpy(area, text.data(), text.size());
    const int from = in.in(0, kArea - 1);
    const int to = in.in(0, kArea - 1);
    const size_t destMax = in.in(0, kArea - to);
    const size_t count = in.in(0, kArea - from);
    char* dest = area + to;
    const char* src = area + from;
    std::string before(area, kArea);
    const auto expected = [&](bool canOverlap) -> BoundedStatus {
        if (destMax == 0) return errBadSize;
        if (count > destMax) return errTooSmallCleared;
        return !canOverlap && from != to && areasOverlap(dest, src, count) ? errOverlapCleared : errNone;
    };
    const bool moves = in.oneIn(2);
    const BoundedStatus status = (moves ? memmove_s : memcpy_s)(dest, destMax, src, count);
    FUZZ_CHECK(status == expected(moves));
    if (status == errNone) before.replace(to, count, before.substr(from, count));
    if (status > errBadSize) before.replace(to, destMax, std::string(destMax, '\0'));
    FUZZ_CHECK(before == std::string(area, kArea));

    std::string word = before.substr(0, count);
    word.resize(std::strlen(word.c_str()));
    char* copy = memory.empty<char>(std::max<size_t>(destMax, 1));
    const size_t most = in.in(0, kArea);
    const bool whole = in.oneIn(2);
    const std::string wanted = whole ? word : word.substr(0, most);
    const BoundedStatus copied =
        whole ? strcpy_s(copy, destMax, guarded(word)) : strncpy_s(copy, destMax, guarded(word), most);
    const bool fits = wanted.size() < destMax;
    FUZZ_CHECK(copied == (destMax == 0 ? errBadSize : fits ? errNone : errTooSmallCleared));
    FUZZ_CHECK(destMax == 0 || (fits ? wanted : "") == copy);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static constexpr void (*kFamilies[])(Input&) = {formats, scans, copies};
    Input in(data, size);
    memory.begin(0, in);
    kFamilies[in.take<uint8_t>() % std::size(kFamilies)](in);
    return 0;
}
