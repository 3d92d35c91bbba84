#include "config/xml_lexer.h"

#include <cstring>

namespace eis {

namespace {

bool endsTextRun(char c) {
    return c == '\0' || c == '/' || c == '<' || c == '=' || c == '>' || isXmlSpace(c);
}

}  // namespace

const char* XmlLexer::closingQuote() const {
    const char* end = at_ + 1;
    while (*end != '\0' && *end != '<' && *end != *at_) end += charStep(end);
    return *end == *at_ ? end : nullptr;
}

XmlToken XmlLexer::next() {
    skipSpace();
    const char* begin = at_;
    const auto take = [&](XmlTokenKind kind, size_t bytes) {
        at_ += bytes;
        return XmlToken{kind, begin, at_};
    };
    switch (*begin) {
        case '\0':
            return take(XmlTokenKind::textEnd, 0);
        case '<':
            return take(XmlTokenKind::tagOpen, 1);
        case '>':
            return take(XmlTokenKind::tagEnd, 1);
        case '=':
            return take(XmlTokenKind::equals, 1);
        case '/':
            return begin[1] == '>' ? take(XmlTokenKind::emptyTagEnd, 2) : take(XmlTokenKind::slash, 1);
        case '"':
        case '\'':
            if (const char* end = closingQuote(); end != nullptr)
                return take(XmlTokenKind::quoted, static_cast<size_t>(end + 1 - begin));
            break;
        default:
            break;
    }
    do {
        at_ += charStep(at_);
    } while (!endsTextRun(*at_));
    return {XmlTokenKind::text, begin, at_};
}

XmlContent XmlLexer::content() {
    XmlContent content{at_, at_, nullptr, nullptr};
    while (*at_ != '\0' && *at_ != '<') {
        const bool isSpace = isXmlSpace(*at_);
        if (!isSpace && content.inkBegin == nullptr) content.inkBegin = at_;
        at_ += charStep(at_);
        if (!isSpace) content.inkEnd = at_;
    }
    content.end = at_;
    return content;
}

const char* XmlLexer::skipPast(const char* literal) {
    const size_t length = std::strlen(literal);
    const char* found = at_;
    while (*found != '\0' && std::strncmp(found, literal, length) != 0) found += charStep(found);
    if (*found == '\0') return nullptr;
    at_ = found + length;
    return found;
}

}  // namespace eis
