#include "config/xml_parser.h"

#include <algorithm>
#include <cstring>

#include "config/xml_encoding.h"
#include "config/xml_entity.h"
#include "config/xml_lexer.h"

namespace eis {

namespace {

// Lines and columns of places in a text, asked for in any order but quick when they ascend.
class Places {
  public:
    explicit Places(const char* text) : text_(text), at_(text), lineStart_(text) {}

    void locate(const char* place, int32_t* line, int32_t* column) {
        if (place < at_) *this = Places(text_);
        for (; at_ < place; ++at_) {
            if (*at_ != '\n') continue;
            ++line_;
            lineStart_ = at_ + 1;
        }
        *line = static_cast<int32_t>(line_);
        *column = static_cast<int32_t>(place - lineStart_) + 1;
    }

  private:
    const char* text_;
    const char* at_;
    const char* lineStart_;
    uint32_t line_ = 1;
};

const XmlClearTag* clearTagAt(const char* at) {
    for (const XmlClearTag& tag : clearTagTable) {
        if (std::strncmp(at, tag.open, std::strlen(tag.open)) == 0) return &tag;
    }
    return nullptr;
}

// Makes one text of two. False when there is no memory, with both as they were.
bool appendToText(XmlPool& pool, XmlText* text, const XmlText& more) {
    const size_t length = text->length + more.length;
    if (length + 1 > text->capacity) {
        const size_t capacity = std::max(length + 1, 2 * text->capacity);
        auto* grown = static_cast<char*>(pool.take(capacity, 1));
        if (grown == nullptr) return false;
        std::memcpy(grown, text->text, text->length);
        pool.giveBack(text->text, text->capacity);
        text->text = grown;
        text->capacity = capacity;
    }
    std::memcpy(text->text + text->length, more.text, more.length + 1);
    text->length = length;
    return true;
}

// Whether the last two items are a text and, behind it, a comment.
bool endsInTextAndComment(const XmlNodeBody& body) {
    const int32_t items = body.orderCount();
    if (items < 2 || body.textCount == 0 || body.clearCount == 0) return false;
    const auto isKind = [&](int32_t item, XmlItemKind kind) { return (body.order[item] & 3u) == kind; };
    return isKind(items - 2, kXmlTextItem) && isKind(items - 1, kXmlClear) &&
           body.clears[body.clearCount - 1].open == kXmlCommentOpen;
}

class Parser {
  public:
    explicit Parser(const char* text) : lexer_(text), places_(text) {}

    XmlNode run(XmlResults* results) {
        root_ = newXmlTree();
        if (IsNull(root_)) {
            note(kXmlNoMemory, lexer_.at());
        } else {
            open_ = root_.body();
            while (parseItem()) {
            }
            finish();
        }
        if (results != nullptr) *results = results_;
        return results_.code > kXmlNoElement ? XmlNode() : std::move(root_);
    }

  private:
    XmlPool& pool() const { return *root_.body()->pool; }

    // The last error counts, but a tolerable one never replaces one that is not.
    void note(XmlError error, const char* place) {
        if (error <= kXmlNoElement && results_.code > kXmlNoElement) return;
        results_.code = error;
        places_.locate(place, &results_.line, &results_.column);
    }

    // Reads what stands up to a tag and the tag. False at the end of the text and after an error.
    bool parseItem() {
        const XmlContent content = lexer_.content();
        const char* at = lexer_.at();
        if (*at == '\0') return false;
        if (!content.isBlank()) {
            if (dropWhiteSpace != 0) {
                storeText(content.inkBegin, content.inkEnd);
            } else {
                storeText(content.begin, content.end);
            }
        }
        if (results_.code <= kXmlNoElement) {
            if (const XmlClearTag* clear = clearTagAt(at); clear != nullptr) {
                parseClear(*clear);
            } else if (at[1] == '/') {
                parseEndTag();
            } else {
                parseStartTag();
            }
        }
        return results_.code <= kXmlNoElement;
    }

    // Replaces entities; null after an error or without memory.
    XmlText decode(const char* begin, const char* end) {
        XmlText text;
        text.capacity = static_cast<size_t>(end - begin) + 1;
        text.text = static_cast<char*>(pool().take(text.capacity, 1));
        if (text.text == nullptr) return {};
        const XmlDecoded decoded = decodeEntities(begin, end, text.text);
        if (decoded.error != kXmlNoError) {
            note(static_cast<XmlError>(decoded.error), decoded.offender);
            return {};
        }
        text.length = decoded.length;
        text.text[text.length] = '\0';
        return text;
    }

    void storeText(const char* begin, const char* end) {
        XmlText text = decode(begin, end);
        if (text.length == 0) return;
        if (mergeAroundComments == 0 || !endsInTextAndComment(*open_)) {
            (void)appendText(open_, &text);
        } else if (appendToText(pool(), &open_->texts[open_->textCount - 1], text)) {
            removeLastClear(open_);
        }
    }

    void parseClear(const XmlClearTag& tag) {
        const char* tagBegin = lexer_.at();
        lexer_.skipBytes(std::strlen(tag.open));
        const char* begin = lexer_.at();
        const char* end = tag.open == kXmlDoctypeOpen ? skipDoctype() : lexer_.skipPast(tag.close);
        if (end == nullptr) {
            note(kXmlUnclosedClearTag, tagBegin);
            return;
        }
        XmlClearEntry clear{copyText(pool(), begin, static_cast<size_t>(end - begin)), tag.open, tag.close};
        if (clear.text != nullptr) (void)appendClear(open_, &clear);
    }

    // A document type with declarations of its own holds '>' before its end.
    const char* skipDoctype() {
        const char* at = lexer_.at();
        while (*at != '\0' && *at != '<' && *at != '>') at += charStep(at);
        if (*at != '<') return lexer_.skipPast(">");
        const char* bracket = lexer_.skipPast("]>");
        return bracket != nullptr ? bracket + 1 : nullptr;
    }

    // Closes the innermost open element of the tag's name, and those inside it whose end tags were forgotten.
    void parseEndTag() {
        const char* tagBegin = lexer_.at();
        const char* name = tagBegin + 2;
        while (open_ != root_.body()) {
            XmlNodeBody* closed = open_;
            open_ = closed->parent;
            const char* behind = behindName(name, closed->name);
            if (behind != nullptr && isNameEnd(*behind)) {
                lexer_.skipBytes(static_cast<size_t>(behind - tagBegin));
                // The end of the text may cut the tag off behind a blank.
                const XmlTokenKind end = lexer_.next().kind;
                if (end != XmlTokenKind::tagEnd && end != XmlTokenKind::textEnd) note(kXmlUnexpectedToken, behind);
                return;
            }
            note(kXmlMissingEndTag, tagBegin);
        }
        note(kXmlUnmatchedEndTag, tagBegin);
    }

    static bool isNameEnd(char c) { return c == '/' || c == '<' || c == '=' || c == '>' || isXmlSpace(c); }

    void parseStartTag() {
        const char* tagBegin = lexer_.at();
        const bool isDeclaration = tagBegin[1] == '?';
        lexer_.skipBytes(isDeclaration ? 2 : 1);
        const XmlToken name = lexer_.next();
        if (name.kind == XmlTokenKind::textEnd) {
            note(kXmlMissingEndTag, tagBegin);
        } else if (name.kind != XmlTokenKind::text) {
            note(kXmlUnexpectedToken, name.begin);
        } else if (XmlNodeBody* child = openChild(tagBegin, name, isDeclaration); child == nullptr) {
            note(kXmlNoMemory, tagBegin);
        } else {
            parseAttributes(child);
        }
    }

    XmlNodeBody* openChild(const char* tagBegin, const XmlToken& name, bool isDeclaration) {
        XmlNode child = newXmlNode(pool());
        XmlNodeBody* body = child.body();
        if (body == nullptr) return nullptr;
        body->name = copyText(pool(), name.begin, static_cast<size_t>(name.end - name.begin));
        if (body->name == nullptr || !appendChild(open_, &child)) return nullptr;
        body->isDeclaration = isDeclaration ? 1 : 0;
        places_.locate(tagBegin, &body->line, &body->column);
        return body;
    }

    // Reads a start tag to its end. An element that stays open becomes the one that items go to.
    void parseAttributes(XmlNodeBody* child) {
        XmlToken name{XmlTokenKind::textEnd, nullptr, nullptr};  // of an attribute whose value may follow
        const auto flush = [&] {
            if (name.begin != nullptr) storeAttribute(child, name, nullptr);
            name.begin = nullptr;
        };
        while (results_.code <= kXmlNoElement) {
            const XmlToken token = lexer_.next();
            switch (token.kind) {
                case XmlTokenKind::text:
                    flush();
                    name = token;
                    break;
                case XmlTokenKind::equals: {
                    const XmlToken value = lexer_.next();
                    const bool isValue = value.kind == XmlTokenKind::text || value.kind == XmlTokenKind::quoted;
                    if (name.begin == nullptr) {
                        note(kXmlUnexpectedToken, token.begin);
                    } else if (value.kind == XmlTokenKind::textEnd) {
                        note(kXmlMissingEndTag, value.begin);
                        return;
                    } else if (!isValue) {
                        note(kXmlUnexpectedToken, value.begin);
                    } else {
                        storeAttribute(child, name, &value);
                        name.begin = nullptr;
                    }
                    break;
                }
                case XmlTokenKind::tagEnd:
                    flush();
                    open_ = child;
                    return;
                case XmlTokenKind::emptyTagEnd:
                    flush();
                    return;
                case XmlTokenKind::textEnd:
                    note(kXmlMissingEndTag, token.begin);
                    return;
                default:
                    note(kXmlUnexpectedToken, token.begin);
                    break;
            }
        }
    }

    void storeAttribute(XmlNodeBody* body, const XmlToken& name, const XmlToken* value) {
        const char* nameEnd = withoutQuestionMark(*body, name);
        if (nameEnd == name.begin) return;
        XmlAttribute attribute;
        attribute.name = copyText(pool(), name.begin, static_cast<size_t>(nameEnd - name.begin));
        if (value != nullptr) attribute.value = decode(value->textBegin(), withoutQuestionMark(*body, *value)).text;
        if (attribute.name == nullptr || (value != nullptr && attribute.value == nullptr)) return;
        (void)appendAttribute(body, &attribute);
    }

    // There is no token for the end of a declaration: its question mark clings to the last attribute.
    static const char* withoutQuestionMark(const XmlNodeBody& body, const XmlToken& token) {
        const char* end = token.textEnd();
        return body.isDeclaration != 0 && end > token.textBegin() && end[-1] == '?' ? end - 1 : end;
    }

    void finish() {
        if (results_.code > kXmlNoElement) return;
        for (const XmlNodeBody* body = open_; body != root_.body(); body = body->parent) {
            if (body->isDeclaration != 0) continue;
            note(kXmlMissingEndTag, lexer_.at());
            break;
        }
        const XmlNodeBody& root = *root_.body();
        if (root.childCount == 0) note(kXmlNoElement, lexer_.at());
        if (root.childCount == 1 && root.textCount == 0 && root.clearCount == 0 && root.attributeCount == 0) {
            // The only child outlives the nameless root, which leaves it without a parent.
            root_ = XmlNode(root.children[0]);
        }
    }

    XmlLexer lexer_;
    Places places_;
    XmlNode root_;
    XmlNodeBody* open_ = nullptr;
    XmlResults results_;
};

}  // namespace

XmlNode ParseXmlText(const char* text, XmlResults* results) {
    if (text == nullptr) {
        if (results != nullptr) *results = {};
        return g_emptyXmlNode;
    }
    return Parser(text).run(results);
}

}  // namespace eis
