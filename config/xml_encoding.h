// Characters of the tuning file: how many bytes each takes, and which encoding a file is in.
//
// The reader's options, its encoding and the step table are process-wide: set before a load and changed by one, so two
// loads must not overlap.
#pragma once

#include <cstddef>
#include <cstdint>

namespace eis {

enum XmlEncoding : int32_t {
    kXmlUtf8 = 1,
    kXmlSingleByte = 2,
    kXmlShiftJis = 3,
    kXmlGb2312 = 4,
    kXmlBig5 = 5,
    kXmlGbk = 6
};

extern uint8_t dropWhiteSpace;       // white space around a text is removed
extern uint8_t mergeAroundComments;  // text, comment, text becomes one text
extern uint8_t checkWideText;        // a file's head is tested for 16- and 32-bit text
extern int32_t g_xmlEncoding;
// Bytes that a character takes, by its lead byte; 0 for the byte 0.
extern const uint8_t* charStepTable;

// Sets the encoding and its step table.
void setXmlEncoding(int32_t encoding);

// Bytes from this character to the next one, never past the end of the text; 0 at the end.
inline size_t charStep(const char* at) {
    const size_t step = charStepTable[static_cast<unsigned char>(*at)];
    for (size_t i = 1; i < step; ++i) {
        if (at[i] == '\0') return i;
    }
    return step;
}

inline bool isXmlSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

inline char lowerCase(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

// What stands behind a name at the head of a text, null when the text does not begin with it. Letters of the basic
// alphabet compare without case.
const char* behindName(const char* text, const char* name);

// The encoding that the head of a file, up to 200 bytes, speaks for: by its declaration, else by its form. 0 for no
// opinion.
int32_t DetectXmlEncoding(const char* head, size_t length);

}  // namespace eis
