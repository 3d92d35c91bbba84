// Cuts a document into what a tag is made of and what stands between tags. Everything advances by whole characters.
#pragma once

#include "config/xml_encoding.h"

namespace eis {

enum class XmlTokenKind { text, quoted, equals, tagEnd, emptyTagEnd, tagOpen, slash, textEnd };

struct XmlToken {
    XmlTokenKind kind;
    const char* begin;
    const char* end;

    // Without the quotes of a quoted string.
    const char* textBegin() const { return kind == XmlTokenKind::quoted ? begin + 1 : begin; }
    const char* textEnd() const { return kind == XmlTokenKind::quoted ? end - 1 : end; }
};

// A part of the text between two tags.
struct XmlContent {
    const char* begin;  // with and without the white space at both ends
    const char* end;
    const char* inkBegin;
    const char* inkEnd;
    bool isBlank() const { return inkBegin == inkEnd; }
};

class XmlLexer {
  public:
    explicit XmlLexer(const char* text) : at_(text) {}

    const char* at() const { return at_; }
    void skipBytes(size_t bytes) { at_ += bytes; }
    void skipSpace() {
        while (isXmlSpace(*at_)) ++at_;
    }

    // The next piece of a tag. A quoted string without an end ahead of a '<' is read as plain text.
    XmlToken next();
    // Everything up to the next '<' or the end of the text.
    XmlContent content();
    // Goes behind the literal where it stands next; null and no move when it is not found, else where it begins.
    const char* skipPast(const char* literal);

  private:
    const char* closingQuote() const;

    const char* at_;
};

}  // namespace eis
