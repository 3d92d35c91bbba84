#include "host/picture/picture_notes.h"

#include <cstdint>

namespace eishost {

namespace {

std::uint32_t bigEndian(std::string_view bytes, std::size_t at, std::size_t count) {
    std::uint32_t value = 0;
    for (std::size_t i = at; i < at + count && i < bytes.size(); ++i) {
        value = value << 8 | static_cast<std::uint8_t>(bytes[i]);
    }
    return value;
}

void append(std::string& list, const char* item) {
    list += (list.empty() ? "" : ", ") + std::string(item);
}

// One that names sRGB says what the tools take every picture for.
void appendProfile(std::string& list, std::string_view profile) {
    if (profile.find("sRGB") == std::string_view::npos) append(list, "the colour profile");
}

std::string droppedFromPng(std::string_view bytes) {
    std::string dropped;
    for (std::size_t at = 8; at + 12 <= bytes.size();) {
        const std::size_t length = bigEndian(bytes, at, 4);
        const std::string_view type = bytes.substr(at + 4, 4);
        const std::string_view data = bytes.substr(at + 8, length);
        if (type == "IHDR" && data.size() >= 10) {
            constexpr int kAlphaBit = 4;
            if ((data[9] & kAlphaBit) != 0) append(dropped, "alpha");
            if (data[8] == 16) append(dropped, "depth beyond 8 bits");
        }
        if (type == "tRNS") append(dropped, "alpha");
        if (type == "iCCP") appendProfile(dropped, data.substr(0, data.find('\0')));
        if (type == "IDAT" || type == "IEND") break;
        at += length + 12;
    }
    return dropped;
}

std::string droppedFromJpeg(std::string_view bytes) {
    std::string dropped;
    constexpr std::uint8_t kStartOfScan = 0xda;
    constexpr std::uint8_t kProfileSegment = 0xe2;
    for (std::size_t at = 2; at + 4 <= bytes.size() && bytes[at] == '\xff';) {
        const auto marker = static_cast<std::uint8_t>(bytes[at + 1]);
        if (marker == kStartOfScan) break;
        if (marker == 0xff) {  // a fill byte
            ++at;
            continue;
        }
        const std::size_t length = bigEndian(bytes, at + 2, 2);
        const std::string_view data = bytes.substr(at + 4, length);
        // A long profile goes on in further segments.
        if (marker == kProfileSegment && data.starts_with("ICC_PROFILE") && dropped.empty()) {
            appendProfile(dropped, data);
        }
        at += 2 + length;
    }
    return dropped;
}

}  // namespace

std::string droppedByReading(std::string_view bytes) {
    return bytes.starts_with("\x89PNG") ? droppedFromPng(bytes) : droppedFromJpeg(bytes);
}

}  // namespace eishost
