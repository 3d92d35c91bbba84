#include "host/dsp/call_recorder.h"

#include <dlfcn.h>

#include <cstring>
#include <filesystem>

#include "host/dsp/block_fields.h"
#include "host/program/messages.h"

namespace eishost {

namespace {

struct Recording {
    explicit Recording(const std::string& path) : file(path) {}
    OutputFile file;
    std::size_t calls = 0;
};

std::unique_ptr<Recording>& recording() {
    static std::unique_ptr<Recording> instance;
    return instance;
}

Bytes copyOf(const void* from, std::size_t count) {
    const auto* const first = static_cast<const std::uint8_t*>(from);
    return {first, first + count};
}

// What the block's host pointers lead to: texts, and for the tuning entry the file that one names.
void keepPointed(CallRecord& call, const Entry& entry) {
    for (const BlockField& field : blockLayout(entry.name).fields) {
        if (field.kind != FieldKind::kText) continue;
        const char* text = nullptr;
        std::memcpy(&text, call.block.data() + field.offset, sizeof text);
        if (text == nullptr) continue;
        call.pointed[static_cast<std::uint32_t>(field.offset)] = copyOf(text, std::strlen(text) + 1);
        const std::string path = std::string(text) + "multiframe.xml";
        if (!std::filesystem::is_regular_file(path)) continue;
        const std::string bytes = InputFile(path).readAll();
        call.file = copyOf(bytes.data(), bytes.size());
    }
}

}  // namespace

void startRecording(const std::string& path) {
    recording() = std::make_unique<Recording>(path);
}

int finishRecording(int exitCode) {
    const std::unique_ptr<Recording> done = std::move(recording());
    if (done == nullptr || done->calls == 0) return exitCode;
    try {
        done->file.commit();
    } catch (const HostError& error) {
        tell(error.what());
        return exitCode == kExitOk ? error.code : exitCode;
    }
    return exitCode;
}

RecordedCall::RecordedCall(DspArena& arena, const Entry& entry, const void* block) : arena_(arena), block_(block) {
    if (recording() == nullptr) return;
    Dl_info library{};
    dladdr(entry.linked, &library);
    call_.entry = entry.name;
    call_.writer = std::string(toolName()) + " " + EIS_VERSION + ", " +
                   (library.dli_fname != nullptr ? library.dli_fname : "an unknown library");
    call_.block = copyOf(block, entry.blockBytes);
    const DspArena::Place place = arena.findCpu(block);
    if (place.buffer != nullptr) call_.blockAddress = static_cast<DeviceAddress>(place.base + place.offset);
    keepPointed(call_, entry);
    for (const auto& [address, buffer] : arena.buffers()) {
        call_.buffers[address] = {buffer.field,
                                  buffer.bytes,
                                  buffer.scratch,
                                  buffer.dsp == buffer.cpu,
                                  copyOf(buffer.dsp, buffer.bytes),
                                  copyOf(buffer.cpu, buffer.bytes),
                                  {},
                                  {}};
    }
    arena.watch(&touches_);
}

void RecordedCall::finish(ret_status status, double milliseconds, const std::vector<LogLine>& log) {
    if (recording() == nullptr) return;
    arena_.watch(nullptr);
    call_.status = status;
    call_.milliseconds = milliseconds;
    call_.blockAfter = copyOf(block_, call_.block.size());
    for (auto& [address, kept] : call_.buffers) {
        const DspArena::Buffer& buffer = arena_.buffers().at(address);
        kept.dspAfter = copyOf(buffer.dsp, buffer.bytes);
        kept.cpuAfter = copyOf(buffer.cpu, buffer.bytes);
    }
    call_.touches = std::move(touches_);
    call_.log = log;
    encodeCall(call_, [](std::string_view bytes) { recording()->file.write(bytes); });
    ++recording()->calls;
}

}  // namespace eishost
