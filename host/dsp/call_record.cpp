#include "host/dsp/call_record.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <iterator>

namespace eishost {

namespace {

constexpr std::string_view kMagic = "EISCALL\n";
constexpr std::uint32_t kVersion = 1;
constexpr std::size_t kSectionHeader = 16;
constexpr std::uint32_t kScratchFlag = 1;
constexpr std::uint32_t kSharedFlag = 2;
constexpr std::uint8_t kWhole = 0;
constexpr std::uint8_t kRepeated = 1;
constexpr std::uint64_t kLargestBuffer = UINT32_MAX;

static_assert(std::endian::native == std::endian::little, "words are copied as they stand");

template <typename T>
void append(std::string& bytes, T value) {
    bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
}

std::string_view view(const Bytes& bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

std::uint32_t checksum(std::initializer_list<std::string_view> pieces) {  // FNV-1a
    std::uint32_t hash = 2166136261u;
    for (const std::string_view piece : pieces)
        for (const char byte : piece) hash = (hash ^ static_cast<std::uint8_t>(byte)) * 16777619u;
    return hash;
}

class Encoder {
  public:
    explicit Encoder(const std::function<void(std::string_view)>& write) : write_(write) {}

    void section(std::string_view tag, const std::string& head, std::string_view rest = {}) const {
        std::string frame(tag);
        append(frame, checksum({tag, head, rest}));
        append(frame, static_cast<std::uint64_t>(head.size() + rest.size()));
        write_(frame + head);
        if (!rest.empty()) write_(rest);
    }

    void contents(std::string_view tag, DeviceAddress address, std::uint8_t side, const Bytes& bytes) const {
        const bool uniform = !bytes.empty() && std::ranges::all_of(bytes, [&](auto b) { return b == bytes[0]; });
        std::string head;
        append(head, address);
        append(head, side);
        append(head, uniform ? kRepeated : kWhole);
        append(head, std::uint16_t{0});
        section(tag, head, view(bytes).substr(0, uniform ? 1 : bytes.size()));
    }

    void buffer(DeviceAddress address, const RecordedBuffer& buffer) const {
        std::string head;
        append(head, address);
        append(head, (buffer.scratch ? kScratchFlag : 0) | (buffer.shared ? kSharedFlag : 0));
        append(head, static_cast<std::uint64_t>(buffer.bytes));
        section("BUFR", head, buffer.name);
        contents("BEFR", address, 0, buffer.dspBefore);
        if (buffer.cpuBefore != buffer.dspBefore) contents("BEFR", address, 1, buffer.cpuBefore);
    }

    void outcome(const CallRecord& call) const {
        std::string status;
        append(status, *call.status);
        append(status, std::uint32_t{0});
        append(status, static_cast<std::uint64_t>(call.milliseconds * 1e6));
        section("STAT", status);
        section("BLKA", {}, view(call.blockAfter));
        for (const auto& [address, buffer] : call.buffers) {
            if (buffer.scratch) continue;
            if (buffer.dspAfter != buffer.dspBefore) contents("AFTR", address, 0, buffer.dspAfter);
            if (buffer.cpuAfter != buffer.dspAfter) contents("AFTR", address, 1, buffer.cpuAfter);
        }
        std::string words;
        for (const DspArena::Touch& touch : call.touches.value_or(std::vector<DspArena::Touch>())) {
            append(words, static_cast<std::uint32_t>(touch.kind));
            append(words, touch.address);
            append(words, std::uint32_t{touch.known});
        }
        if (call.touches) section("TOUC", words);
        std::string lines;
        for (const LogLine& line : call.log.value_or(std::vector<LogLine>())) {
            append(lines, static_cast<std::int32_t>(line.priority));
            append(lines, static_cast<std::uint32_t>(line.tag.size()));
            append(lines, static_cast<std::uint32_t>(line.text.size()));
            lines += line.tag + line.text;
        }
        if (call.log) section("LOGS", lines);
        section("ENDC", {});
    }

  private:
    const std::function<void(std::string_view)>& write_;
};

// What a section says that cannot be; the reader adds where it stands.
struct Unsound {
    std::string what;
};

// Words and texts of a payload, in order.
class Fields {
  public:
    explicit Fields(const Bytes& payload) : payload_(payload) {}

    template <typename T>
    T word() {
        T value;
        std::memcpy(&value, take(sizeof value), sizeof value);
        return value;
    }
    std::string text(std::size_t length) { return {reinterpret_cast<const char*>(take(length)), length}; }
    std::size_t left() const { return payload_.size() - at_; }
    std::string restText() { return text(left()); }
    Bytes rest() {
        const std::uint8_t* const first = payload_.data() + at_;
        at_ = payload_.size();
        return {first, payload_.data() + at_};
    }

  private:
    const std::uint8_t* take(std::size_t count) {
        if (count > left()) throw Unsound{"is too short for its fields"};
        at_ += count;
        return payload_.data() + at_ - count;
    }

    const Bytes& payload_;
    std::size_t at_ = 0;
};

// The sections of a call, one after another.
class Decoder {
  public:
    CallRecord call;

    // False behind the last one.
    bool take(const std::string& tag, const Bytes& payload) {
        if (call.entry.empty() != (tag == "ENTR")) throw Unsound{"is out of order"};
        Fields fields(payload);
        if (tag == "ENTR") {
            call.entry = fields.restText();
        } else if (tag == "WRIT") {
            call.writer = fields.restText();
        } else if (tag == "BLCK") {
            call.blockAddress = fields.word<DeviceAddress>();
            call.block = fields.rest();
        } else if (tag == "PNTR") {
            const auto offset = fields.word<std::uint32_t>();
            call.pointed[offset] = fields.rest();
        } else if (tag == "FILE") {
            call.file = fields.rest();
        } else if (tag == "BUFR") {
            takeBuffer(fields);
        } else if (tag == "BEFR" || tag == "AFTR") {
            takeContents(fields, tag == "AFTR");
        } else if (tag == "CALL") {
            completeSides(false);
        } else {
            return takeOutcome(tag, fields);
        }
        return true;
    }

  private:
    bool takeOutcome(const std::string& tag, Fields& fields) {
        if (tag == "STAT") {
            call.status = fields.word<std::int32_t>();
            fields.word<std::uint32_t>();
            call.milliseconds = static_cast<double>(fields.word<std::uint64_t>()) / 1e6;
        } else if (tag == "BLKA") {
            call.blockAfter = fields.rest();
        } else if (tag == "TOUC") {
            takeTouches(fields);
        } else if (tag == "LOGS") {
            call.log.emplace();
            while (fields.left() != 0) {
                const auto priority = fields.word<std::int32_t>();
                const auto tagLength = fields.word<std::uint32_t>();
                const auto textLength = fields.word<std::uint32_t>();
                std::string name = fields.text(tagLength);
                call.log->push_back({priority, std::move(name), fields.text(textLength)});
            }
        } else if (tag == "ENDC") {
            if (!call.status) throw Unsound{"comes before a status"};
            completeSides(true);
            return false;
        } else {
            throw Unsound{"is of no known kind"};
        }
        return true;
    }

    void takeBuffer(Fields& fields) {
        const auto address = fields.word<DeviceAddress>();
        const auto flags = fields.word<std::uint32_t>();
        RecordedBuffer buffer;
        const auto bytes = fields.word<std::uint64_t>();
        if (bytes == 0 || bytes > kLargestBuffer) throw Unsound{"is of a size that no buffer has"};
        buffer.bytes = static_cast<std::size_t>(bytes);
        buffer.scratch = (flags & kScratchFlag) != 0;
        buffer.shared = (flags & kSharedFlag) != 0;
        buffer.name = fields.restText();
        if (!call.buffers.emplace(address, std::move(buffer)).second) throw Unsound{"has an address that is taken"};
    }

    void takeContents(Fields& fields, bool after) {
        const auto address = fields.word<DeviceAddress>();
        const auto side = fields.word<std::uint8_t>();
        const auto form = fields.word<std::uint8_t>();
        fields.word<std::uint16_t>();
        const auto found = call.buffers.find(address);
        if (found == call.buffers.end()) throw Unsound{"belongs to no buffer"};
        RecordedBuffer& buffer = found->second;
        const bool repeated = form == kRepeated;
        if (fields.left() != (repeated ? 1 : buffer.bytes)) throw Unsound{"has another size than its buffer"};
        Bytes& to =
            after ? (side == 0 ? buffer.dspAfter : buffer.cpuAfter) : (side == 0 ? buffer.dspBefore : buffer.cpuBefore);
        to = repeated ? Bytes(buffer.bytes, fields.word<std::uint8_t>()) : fields.rest();
    }

    void takeTouches(Fields& fields) {
        call.touches.emplace();
        while (fields.left() != 0) {
            const auto kind = fields.word<std::uint32_t>();
            const auto address = fields.word<DeviceAddress>();
            if (kind < DspArena::Touch::kConvert || kind > DspArena::Touch::kFlush) {
                throw Unsound{"holds a callback of no known kind"};
            }
            call.touches->push_back(
                {static_cast<DspArena::Touch::Kind>(kind), address, fields.word<std::uint32_t>() != 0});
        }
    }

    // What is not in the file is as stated: zeros, the DSP's side, and what it was.
    void completeSides(bool after) {
        for (auto& [address, buffer] : call.buffers) {
            if (buffer.dspBefore.empty()) buffer.dspBefore.resize(buffer.bytes);
            if (buffer.cpuBefore.empty()) buffer.cpuBefore = buffer.dspBefore;
            if (!after || buffer.scratch) continue;
            if (buffer.dspAfter.empty()) buffer.dspAfter = buffer.dspBefore;
            if (buffer.cpuAfter.empty()) buffer.cpuAfter = buffer.dspAfter;
        }
    }
};

}  // namespace

void encodeCall(const CallRecord& call, const std::function<void(std::string_view)>& write) {
    std::string header(kMagic);
    append(header, kVersion);
    append(header, std::uint32_t{0});
    write(header);
    const Encoder encoder(write);
    encoder.section("ENTR", call.entry);
    encoder.section("WRIT", call.writer);
    std::string address;
    append(address, call.blockAddress);
    encoder.section("BLCK", address, view(call.block));
    for (const auto& [offset, bytes] : call.pointed) {
        std::string head;
        append(head, offset);
        encoder.section("PNTR", head, view(bytes));
    }
    if (call.file) encoder.section("FILE", {}, view(*call.file));
    for (const auto& [place, buffer] : call.buffers) encoder.buffer(place, buffer);
    encoder.section("CALL", {});
    if (call.status) encoder.outcome(call);
}

void CallReader::fail(std::uint64_t offset, const std::string& what) const {
    file_.fail("damaged at byte " + std::to_string(offset) + ": " + what);
}

void CallReader::readHeader() {
    const std::uint64_t start = offset_;
    char magic[kMagic.size()];
    if (file_.read(magic, sizeof magic) != sizeof magic || std::string_view(magic, sizeof magic) != kMagic) {
        if (start == 0) file_.fail("is no record of a call: byte 0 does not begin with EISCALL");
        fail(start, "no record of a call begins here");
    }
    std::uint32_t words[2];
    if (file_.read(words, sizeof words) != sizeof words) fail(start, "the header ends early");
    if (words[0] != kVersion) {
        file_.fail("byte " + std::to_string(start + kMagic.size()) + ": is a record of version " +
                   std::to_string(words[0]) + "; this program reads version " + std::to_string(kVersion));
    }
    if (words[1] != 0) fail(start + kMagic.size() + sizeof words[0], "the header's last word is not 0");
    offset_ += kMagic.size() + sizeof words;
}

CallReader::Section CallReader::readSection() {
    Section section;
    section.offset = offset_;
    std::uint8_t head[kSectionHeader];
    const std::size_t got = file_.read(head, sizeof head);
    if (got == 0) return section;
    if (got != sizeof head) fail(offset_, "a section's header ends early");
    section.tag.assign(head, head + 4);
    std::uint32_t check = 0;
    std::uint64_t length = 0;
    std::memcpy(&check, head + 4, sizeof check);
    std::memcpy(&length, head + 8, sizeof length);
    const std::string name = std::ranges::all_of(section.tag, [](char c) { return c >= 'A' && c <= 'Z'; })
                                 ? "section " + section.tag
                                 : "a section";
    // A damaged length must not ask for more memory than the file can fill.
    constexpr std::size_t kStep = std::size_t{1} << 24;
    if (length > file_.bytesLeft().value_or(length)) fail(offset_, name + " ends early");
    while (section.payload.size() < length) {
        const std::size_t size = section.payload.size();
        const std::size_t step = std::min<std::uint64_t>(kStep, length - size);
        section.payload.resize(size + step);
        if (file_.read(section.payload.data() + size, step) != step) fail(offset_, name + " ends early");
    }
    if (checksum({section.tag, view(section.payload)}) != check) fail(offset_, name + " has another checksum");
    offset_ += sizeof head + length;
    return section;
}

std::optional<CallRecord> CallReader::next() {
    if (offset_ != 0 && file_.peek(1).empty()) return std::nullopt;
    readHeader();
    Decoder decoder;
    bool called = false;
    for (;;) {
        const Section section = readSection();
        if (section.tag.empty()) {
            // Where the entry never returned, nothing follows its call.
            if (!called || decoder.call.status) fail(section.offset, "the record ends early");
            return std::move(decoder.call);
        }
        try {
            if (!decoder.take(section.tag, section.payload)) return std::move(decoder.call);
        } catch (const Unsound& unsound) {
            fail(section.offset, "section " + section.tag + " " + unsound.what);
        }
        called = called || section.tag == "CALL";
    }
}

}  // namespace eishost
