#include "config/xml_encoding.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace eis {

namespace {

constexpr size_t kHeadBytes = 200;

using StepTable = std::array<uint8_t, 256>;

struct LeadBytes {
    int first;
    int last;
    uint8_t step;
};

template <size_t N>
constexpr StepTable makeStepTable(const LeadBytes (&ranges)[N]) {
    StepTable table{};
    for (int byte = 1; byte < 256; ++byte) table[byte] = 1;
    for (const LeadBytes& range : ranges) {
        for (int byte = range.first; byte <= range.last; ++byte) table[byte] = range.step;
    }
    return table;
}

constexpr StepTable kUtf8Steps = makeStepTable({{0xC2, 0xDF, 2}, {0xE0, 0xEF, 3}, {0xF0, 0xF4, 4}});
constexpr StepTable kSingleByteSteps = makeStepTable({{0x01, 0xFF, 1}});
constexpr StepTable kShiftJisSteps = makeStepTable({{0x81, 0x9F, 2}, {0xE0, 0xEF, 2}});
constexpr StepTable kGb2312Steps = makeStepTable({{0xA1, 0xF7, 2}});
constexpr StepTable kBig5AndGbkSteps = makeStepTable({{0x81, 0xFE, 2}});

const StepTable& stepTableOf(int32_t encoding) {
    switch (encoding) {
        case kXmlUtf8:
            return kUtf8Steps;
        case kXmlShiftJis:
            return kShiftJisSteps;
        case kXmlGb2312:
            return kGb2312Steps;
        case kXmlBig5:
        case kXmlGbk:
            return kBig5AndGbkSteps;
        default:
            return kSingleByteSteps;
    }
}

// A continuation byte of the wrong form rules UTF-8 out.
int32_t guessFromForm(std::string_view head) {
    for (size_t i = 0; i < head.size() && head[i] != '\0';) {
        const size_t end = std::min(head.size(), i + kUtf8Steps[static_cast<unsigned char>(head[i])]);
        for (++i; i < end; ++i) {
            if ((static_cast<unsigned char>(head[i]) & 0xC0) != 0x80) return kXmlSingleByte;
        }
    }
    return kXmlUtf8;
}

std::string_view withoutLeadingSpace(std::string_view text) {
    while (!text.empty() && isXmlSpace(text.front())) text.remove_prefix(1);
    return text;
}

bool beginsWithoutCase(std::string_view text, std::string_view word) {
    return text.size() >= word.size() && std::equal(word.begin(), word.end(), text.begin(),
                                                    [](char a, char b) { return lowerCase(a) == lowerCase(b); });
}

}  // namespace

uint8_t dropWhiteSpace = 1;
uint8_t mergeAroundComments = 1;
uint8_t checkWideText = 1;
int32_t g_xmlEncoding = kXmlUtf8;
const uint8_t* charStepTable = kUtf8Steps.data();

void setXmlEncoding(int32_t encoding) {
    g_xmlEncoding = encoding;
    charStepTable = stepTableOf(encoding).data();
}

const char* behindName(const char* text, const char* name) {
    while (*name != '\0') {
        // Only a character of one byte has a case: what follows a lead byte may look like a letter.
        const size_t step = charStep(name);
        if (step == 1 && lowerCase(*text) != lowerCase(*name)) return nullptr;
        for (size_t i = 0; step > 1 && i < step; ++i) {
            if (text[i] != name[i]) return nullptr;
        }
        name += step;
        text += step;
    }
    return text;
}

int32_t DetectXmlEncoding(const char* headBytes, size_t length) {
    const std::string_view head(headBytes, std::min(length, kHeadBytes));
    const int32_t candidate = guessFromForm(head);

    constexpr std::string_view kWord = "encoding";
    const size_t word = head.find(kWord);
    if (word == std::string_view::npos) return candidate;
    std::string_view rest = withoutLeadingSpace(head.substr(word + kWord.size()));
    if (rest.empty() || rest.front() != '=') return candidate;
    rest = withoutLeadingSpace(rest.substr(1));
    if (rest.empty() || (rest.front() != '"' && rest.front() != '\'')) return candidate;
    rest = withoutLeadingSpace(rest.substr(1));

    static constexpr struct {
        std::string_view name;
        int32_t encoding;
    } kNamed[] = {{"utf-8", kXmlUtf8},         {"utf8", kXmlUtf8},     {"shiftjis", kXmlShiftJis},
                  {"shift-jis", kXmlShiftJis}, {"sjis", kXmlShiftJis}, {"GB2312", kXmlGb2312},
                  {"Big5", kXmlBig5},          {"GBK", kXmlGbk}};
    for (const auto& named : kNamed) {
        if (!beginsWithoutCase(rest, named.name)) continue;
        return named.encoding == kXmlUtf8 && candidate != kXmlUtf8 ? 0 : named.encoding;
    }
    return kXmlSingleByte;
}

}  // namespace eis
