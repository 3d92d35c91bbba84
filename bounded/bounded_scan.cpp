#include "bounded/bounded_scan.h"

#include <bitset>
#include <cstring>

#include "bounded/bounded_memory.h"
#include "bounded/number_text.h"

namespace eis {

namespace {

enum class Outcome { matched, mismatch, inputEnded };

// One conversion of a format.
struct Conversion {
    bool suppressed = false;
    size_t width = SIZE_MAX;  // SIZE_MAX when none is given
    int shortness = 0;        // count of h
    int longness = 0;         // count of l
    char letter = '\0';
    std::bitset<256> set;  // of the letter [
};

// Reads what follows a percent sign; returns the character behind the conversion.
const char* parseConversion(const char* format, Conversion* conversion) {
    if (*format == '*') {
        conversion->suppressed = true;
        ++format;
    }
    if (*format >= '0' && *format <= '9') {
        const IntegerText width = scanInteger(format, SIZE_MAX, 10);
        if (width.magnitude > 0 || width.overflow) conversion->width = saturatedValue<size_t>(width);
        format += width.length;
    }
    for (; *format == 'h'; ++format) ++conversion->shortness;
    for (; *format == 'l'; ++format) ++conversion->longness;
    conversion->letter = *format;
    return *format != '\0' ? format + 1 : format;
}

// Reads a set of characters from behind its opening bracket; returns the character behind the closing one.
const char* parseSet(const char* format, std::bitset<256>* set) {
    const bool negated = *format == '^';
    if (negated) ++format;
    for (bool first = true; *format != '\0' && (first || *format != ']'); first = false) {
        const auto low = static_cast<unsigned char>(*format++);
        unsigned char high = low;
        if (format[0] == '-' && format[1] != ']' && format[1] != '\0') {
            high = static_cast<unsigned char>(format[1]);
            format += 2;
        }
        for (unsigned c = low; c <= high; ++c) set->set(c);
    }
    if (negated) set->flip();
    return *format == ']' ? format + 1 : format;
}

class Scanner {
  public:
    Scanner(const char* text, va_list* args) : text_(text), at_(text), args_(args) {}

    int run(const char* format) {
        Outcome outcome = Outcome::matched;
        while (*format != '\0' && outcome == Outcome::matched) {
            if (isSpace(*format)) {
                skipSpace();
                ++format;
            } else if (*format != '%') {
                outcome = matchCharacter(*format++);
            } else {
                Conversion conversion;
                format = parseConversion(format + 1, &conversion);
                if (conversion.letter == '[') format = parseSet(format, &conversion.set);
                outcome = convert(conversion);
            }
        }
        return outcome == Outcome::inputEnded && converted_ == 0 ? -1 : converted_;
    }

  private:
    template <class T>
    T next() {
        return va_arg(*args_, T);  // NOLINT(clang-analyzer-valist.Uninitialized): blind to a list behind a pointer
    }

    void skipSpace() {
        while (isSpace(*at_)) ++at_;
    }

    Outcome matchCharacter(char c) {
        if (*at_ == '\0') return Outcome::inputEnded;
        if (*at_ != c) return Outcome::mismatch;
        ++at_;
        return Outcome::matched;
    }

    Outcome convert(const Conversion& conversion) {
        if (conversion.letter == 'n') return storePosition(conversion);
        if (conversion.letter != 'c' && conversion.letter != '[') skipSpace();
        if (conversion.letter == '%') return matchCharacter('%');
        if (*at_ == '\0') return Outcome::inputEnded;
        switch (conversion.letter) {
            case 'd':
                return readInteger<signed char, short, int, long, long long>(conversion, 10);
            case 'i':
                return readInteger<signed char, short, int, long, long long>(conversion, 0);
            case 'u':
                return readUnsigned(conversion, 10);
            case 'o':
                return readUnsigned(conversion, 8);
            case 'x':
            case 'X':
                return readUnsigned(conversion, 16);
            case 'f':
            case 'e':
            case 'g':
                return readFloat(conversion);
            case 's':
                return readString(conversion, lengthWhile(conversion, [](char c) { return !isSpace(c); }));
            case '[':
                return readString(conversion, lengthWhile(conversion, [&](char c) {
                                      return conversion.set.test(static_cast<unsigned char>(c));
                                  }));
            case 'c':
                return readCharacters(conversion);
            default:
                return Outcome::mismatch;
        }
    }

    Outcome readUnsigned(const Conversion& conversion, int base) {
        return readInteger<unsigned char, unsigned short, unsigned, unsigned long, unsigned long long>(conversion,
                                                                                                       base);
    }

    template <class Char, class Short, class Int, class Long, class LongLong>
    Outcome readInteger(const Conversion& conversion, int base) {
        const IntegerText number = scanInteger(at_, conversion.width, base);
        if (number.length == 0) return Outcome::mismatch;
        at_ += number.length;
        if (conversion.suppressed) return Outcome::matched;
        ++converted_;
        if (conversion.longness > 1) return store<LongLong>(number);
        if (conversion.longness > 0) return store<Long>(number);
        if (conversion.shortness > 1) return store<Char>(number);
        if (conversion.shortness > 0) return store<Short>(number);
        return store<Int>(number);
    }

    template <class T>
    Outcome store(const IntegerText& number) {
        *next<T*>() = saturatedValue<T>(number);
        return Outcome::matched;
    }

    Outcome readFloat(const Conversion& conversion) {
        const size_t length = floatTextLength(at_, conversion.width, false);
        if (length == 0) return Outcome::mismatch;
        const char* number = at_;
        at_ += length;
        if (conversion.suppressed) return Outcome::matched;
        const bool stored = conversion.longness > 0 ? floatValue(number, length, next<double*>())
                                                    : floatValue(number, length, next<float*>());
        if (!stored) return Outcome::mismatch;
        ++converted_;
        return Outcome::matched;
    }

    template <class Accepts>
    size_t lengthWhile(const Conversion& conversion, Accepts accepts) const {
        size_t length = 0;
        while (length < conversion.width && at_[length] != '\0' && accepts(at_[length])) ++length;
        return length;
    }

    Outcome readString(const Conversion& conversion, size_t length) {
        return length > 0 ? storeField(conversion, length, true) : Outcome::mismatch;
    }

    Outcome readCharacters(const Conversion& conversion) {
        const size_t width = conversion.width != SIZE_MAX ? conversion.width : 1;
        if (strnlen(at_, width) < width) return Outcome::inputEnded;
        return storeField(conversion, width, false);
    }

    Outcome storeField(const Conversion& conversion, size_t length, bool terminated) {
        const char* field = at_;
        at_ += length;
        if (conversion.suppressed) return Outcome::matched;
        char* dest = next<char*>();
        const size_t size = next<size_t>();
        if (length + (terminated ? 1 : 0) > size) {
            if (dest != nullptr && size > 0) dest[0] = '\0';
            return Outcome::mismatch;
        }
        if (memcpy_s(dest, size, field, length) != errNone) return Outcome::mismatch;
        if (terminated) dest[length] = '\0';
        ++converted_;
        return Outcome::matched;
    }

    Outcome storePosition(const Conversion& conversion) {
        if (conversion.suppressed) return Outcome::matched;
        IntegerText position;
        position.magnitude = static_cast<uint64_t>(at_ - text_);
        if (conversion.longness > 1) return store<long long>(position);
        if (conversion.longness > 0) return store<long>(position);
        if (conversion.shortness > 1) return store<signed char>(position);
        if (conversion.shortness > 0) return store<short>(position);
        return store<int>(position);
    }

    const char* text_;
    const char* at_;
    va_list* args_;
    int converted_ = 0;
};

}  // namespace

int vsscanf_s(const char* text, const char* format, va_list args) {
    if (text == nullptr || format == nullptr) return -1;
    const size_t length = std::strlen(text);
    if (length == 0 || length > kMaxBoundedSize) return -1;
    // A parameter of this type may have decayed to a pointer; a copy has an address of the type itself.
    va_list copy;
    va_copy(copy, args);
    const int converted = Scanner(text, &copy).run(format);
    va_end(copy);
    return converted;
}

int sscanf_s(const char* text, const char* format, ...) {
    va_list args;
    va_start(args, format);
    const int converted = vsscanf_s(text, format, args);
    va_end(args);
    return converted;
}

}  // namespace eis
