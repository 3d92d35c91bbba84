#include "host/dsp/replay.h"

#include <chrono>
#include <cstring>
#include <optional>

#include "host/dsp/block_fields.h"
#include "host/program/messages.h"
#include "host/program/output_file.h"
#include "host/program/temporary_folder.h"

namespace eishost {

namespace {

// A call's memory: buffers at their addresses, the block, and what its host pointers lead to.
class Stage {
  public:
    Stage(const CallRecord& call, const Entry& entry, std::ostream* trace) : arena(trace), call_(call) {
        if (call.block.size() != entry.blockBytes) {
            throw HostError(kExitUnreadable, "the block of " + call.entry + " has " + std::to_string(entry.blockBytes) +
                                                 " bytes, the record's " + std::to_string(call.block.size()));
        }
        for (const auto& [address, buffer] : call.buffers) placeBuffer(address, buffer);
        placeBlock();
        for (const BlockField& field : blockLayout(entry.name).fields) {
            if (field.kind == FieldKind::kText) placeText(field);
            if (field.kind == FieldKind::kPointer) dropPointer(field);
        }
    }

    // The log with the names of this stage's folder turned back into the record's.
    std::vector<LogLine> recordedNames(std::vector<LogLine> log) const {
        if (prefix_.empty()) return log;
        for (LogLine& line : log) {
            const std::size_t at = line.text.find(prefix_);
            if (at != std::string::npos) line.text.replace(at, prefix_.size(), recordedPrefix_);
        }
        return log;
    }

    DspArena arena;
    std::uint8_t* block = nullptr;

  private:
    void placeBuffer(DeviceAddress address, const RecordedBuffer& buffer) {
        if (buffer.shared) {
            shared_.push_back(buffer.dspBefore);
            arena.shareAt(address, shared_.back().data(), buffer.bytes, buffer.name);
        } else {
            arena.allocateAt(address, buffer.bytes, buffer.name);
            std::memcpy(arena.dspSide(address), buffer.dspBefore.data(), buffer.bytes);
            std::memcpy(arena.cpuSide(address), buffer.cpuBefore.data(), buffer.bytes);
        }
        if (buffer.scratch) arena.markScratch(address);
    }

    void placeBlock() {
        if (call_.blockAddress == 0) {
            ownBlock_ = std::make_unique<std::max_align_t[]>(call_.block.size() / sizeof(std::max_align_t) + 1);
            block = reinterpret_cast<std::uint8_t*>(ownBlock_.get());
        } else {
            const DspArena::Place place = arena.find(call_.blockAddress);
            if (place.buffer == nullptr || place.buffer->bytes - place.offset < call_.block.size()) {
                throw HostError(kExitUnreadable, "the record's block is in no buffer");
            }
            block = place.buffer->cpu + place.offset;
        }
        std::memcpy(block, call_.block.data(), call_.block.size());
    }

    // The file that the text names gets a folder of its own, whose name is as long: the entry limits names.
    void placeText(const BlockField& field) {
        const char* text = nullptr;
        std::memcpy(&text, block + field.offset, sizeof text);
        if (text == nullptr) return;
        const auto found = call_.pointed.find(static_cast<std::uint32_t>(field.offset));
        if (found == call_.pointed.end() || found->second.empty() || found->second.back() != 0) {
            throw HostError(kExitUnreadable, "the record does not hold the text of " + field.name);
        }
        recordedPrefix_ = reinterpret_cast<const char*>(found->second.data());
        prefix_ = folder_.emplace().path().string() + "/";
        if (prefix_.size() < recordedPrefix_.size()) prefix_.resize(recordedPrefix_.size(), '/');
        if (call_.file) {
            saveFile((folder_->path() / "multiframe.xml").string(),
                     {reinterpret_cast<const char*>(call_.file->data()), call_.file->size()});
        }
        text = prefix_.c_str();
        std::memcpy(block + field.offset, &text, sizeof text);
    }

    // Functions of the host that was recorded are not here.
    void dropPointer(const BlockField& field) {
        const std::uint64_t none = 0;
        if (std::memcmp(block + field.offset, &none, sizeof none) == 0) return;
        note(field.name + " of the record is played as 0: the host's functions are not in it");
        std::memcpy(block + field.offset, &none, sizeof none);
    }

    const CallRecord& call_;
    std::vector<Bytes> shared_;
    std::unique_ptr<std::max_align_t[]> ownBlock_;
    std::optional<TemporaryFolder> folder_;
    std::string prefix_;
    std::string recordedPrefix_;
};

}  // namespace

const Entry& playableEntry(const CallRecord& call) {
    const Entry* const entry = findEntry(call.entry);
    if (entry == nullptr) throw HostError(kExitUnreadable, "the record is of no known entry: " + call.entry);
    if (entry->usesFilesByName) {
        throw HostError(kExitUnsuitable, call.entry + " reads or writes files of this machine: it is not played");
    }
    return *entry;
}

CallRecord playAgain(const CallRecord& call, const CallStreams& streams) {
    const Entry& entry = playableEntry(call);
    Stage stage(call, entry, streams.trace);
    CallRecord played;
    played.touches.emplace();
    stage.arena.watch(&*played.touches);
    startLibraryLog(streams.log);
    const auto start = std::chrono::steady_clock::now();
    played.status = entry.callAt(entry.linked, stage.block);
    const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - start;
    stage.arena.watch(nullptr);
    played.milliseconds = time.count();
    played.log = stage.recordedNames(libraryLog());
    played.blockAfter.assign(stage.block, stage.block + call.block.size());
    for (const BlockField& field : blockLayout(entry.name).fields) {  // those are not of the record's process
        if (field.kind != FieldKind::kText && field.kind != FieldKind::kPointer) continue;
        std::memcpy(played.blockAfter.data() + field.offset, call.block.data() + field.offset, field.bytes);
    }
    for (const auto& [address, buffer] : stage.arena.buffers()) {
        RecordedBuffer& kept = played.buffers[address];
        kept.dspAfter.assign(buffer.dsp, buffer.dsp + buffer.bytes);
        kept.cpuAfter.assign(buffer.cpu, buffer.cpu + buffer.bytes);
    }
    return played;
}

}  // namespace eishost
