#include "bounded/number_text.h"

#include <locale.h>

#include <cstdlib>
#include <cstring>

#include "bounded/heap_block.h"

namespace eis {

namespace {

constexpr int kNoDigit = 99;

int digitOf(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'z') return c - 'a' + 10;
    if (c >= 'A' && c <= 'Z') return c - 'A' + 10;
    return kNoDigit;
}

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

// A text cut at a width: 0 from there on. No reader goes past the first 0 that it meets.
class Window {
  public:
    Window(const char* text, size_t width) : text_(text), width_(width) {}
    char operator[](size_t i) const { return i < width_ ? text_[i] : '\0'; }
    bool holds(size_t at, const char* word) const {
        size_t i = 0;
        while (word[i] != '\0' && lower((*this)[at + i]) == word[i]) ++i;
        return word[i] == '\0';
    }

  private:
    const char* text_;
    size_t width_;
};

bool isSign(char c) {
    return c == '+' || c == '-';
}

// The digits, the point and the exponent that start at an index; the number of them with at least one digit, else 0.
size_t mantissaLength(const Window& text, size_t start, int base, char exponentLetter) {
    bool anyDigit = false;
    bool pointSeen = false;
    size_t i = start;
    for (;; ++i) {
        if (digitOf(text[i]) < base) {
            anyDigit = true;
        } else if (text[i] == '.' && !pointSeen) {
            pointSeen = true;
        } else {
            break;
        }
    }
    if (!anyDigit) return 0;
    if (lower(text[i]) == exponentLetter) {
        ++i;
        if (isSign(text[i])) ++i;
        while (digitOf(text[i]) < 10) ++i;
    }
    return i - start;
}

// Converts a number by a function of strtof's kind.
template <class T, class Convert>
bool convertFloat(Convert convert, const char* text, size_t length, T* value, size_t* used) {
    // The copy ends the number where the scan ended it.
    char local[64];
    HeapBlock<char[]> allocated;
    char* copy = local;
    if (length >= sizeof local) {
        allocated = heapBlock<char>(length + 1);
        copy = allocated.get();
        if (copy == nullptr) return false;
    }
    std::memcpy(copy, text, length);
    copy[length] = '\0';
    char* end = nullptr;
    *value = convert(copy, &end);
    if (used != nullptr) *used = static_cast<size_t>(end - copy);
    return true;
}

}  // namespace

IntegerText scanInteger(const char* text, size_t width, int base) {
    const Window window(text, width);
    IntegerText number;
    size_t i = isSign(window[0]) ? 1 : 0;
    const bool prefixed = window[i] == '0' && lower(window[i + 1]) == 'x' && digitOf(window[i + 2]) < 16;
    if (base == 0) base = prefixed ? 16 : window[i] == '0' ? 8 : 10;
    if (base == 16 && prefixed) i += 2;
    const size_t firstDigit = i;
    for (int digit = 0; (digit = digitOf(window[i])) < base; ++i) {
        uint64_t scaled = 0;
        const bool tooLarge = __builtin_mul_overflow(number.magnitude, static_cast<uint64_t>(base), &scaled) ||
                              __builtin_add_overflow(scaled, static_cast<uint64_t>(digit), &scaled);
        number.overflow = number.overflow || tooLarge;
        number.magnitude = scaled;
    }
    if (i > firstDigit) number.length = i;
    number.negative = window[0] == '-';
    return number;
}

size_t floatTextLength(const char* text, size_t width, bool decimalOnly) {
    const Window window(text, width);
    const size_t start = isSign(window[0]) ? 1 : 0;
    size_t length = 0;
    if (!decimalOnly && lower(window[start]) == 'n') {
        length = window.holds(start, "nan") ? 3 : 0;
    } else if (!decimalOnly && window.holds(start, "infi")) {
        length = window.holds(start, "infinity") ? 8 : 0;
    } else if (!decimalOnly && window.holds(start, "inf")) {
        length = 3;
    } else if (!decimalOnly && window.holds(start, "0x")) {
        length = mantissaLength(window, start + 2, 16, 'p');
        if (length > 0) length += 2;
    } else {
        length = mantissaLength(window, start, 10, 'e');
    }
    return length > 0 ? start + length : 0;
}

bool floatValue(const char* text, size_t length, float* value) {
    return convertFloat(std::strtof, text, length, value, nullptr);
}

bool floatValue(const char* text, size_t length, double* value) {
    return convertFloat(std::strtod, text, length, value, nullptr);
}

bool streamFloatValue(const char* text, size_t length, float* value, size_t* used) {
    const locale_t classic = newlocale(LC_ALL_MASK, "C", nullptr);
    if (classic == nullptr) return false;
    const auto convert = [classic](const char* from, char** end) { return strtof_l(from, end, classic); };
    const bool converted = convertFloat(convert, text, length, value, used);
    freelocale(classic);
    return converted;
}

}  // namespace eis
