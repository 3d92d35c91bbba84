#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <optional>

#include "host/dsp/block_fields.h"
#include "host/dsp/call_record.h"
#include "host/dsp/entries.h"
#include "host/lab/block_planes.h"
#include "host/lab/commands.h"
#include "host/program/messages.h"
#include "host/program/nearest_name.h"

namespace eislab {

namespace {

using eishost::BlockValue;
using eishost::Bytes;
using eishost::FieldKind;
using eishost::HostError;

struct BlockArguments {
    std::string file;
    std::string entry;
    std::vector<std::string> memory;
    std::size_t call = 1;
};

struct Dump {
    std::string entry;
    Bytes block;
    std::map<DeviceAddress, eishost::RecordedBuffer> buffers;
};

Bytes bytesOf(const std::string& file) {
    const std::string text = eishost::InputFile(file).readAll();
    return {text.begin(), text.end()};
}

const eishost::Entry& entryNamed(const std::string& name) {
    const eishost::Entry* const entry = eishost::findEntry(name);
    if (entry != nullptr) return *entry;
    std::vector<std::string> known;
    for (const eishost::Entry& each : eishost::blockEntries()) known.emplace_back(each.name);
    const std::string nearest = eishost::nearestName(name, known);
    std::string text = "--entry: unknown entry '" + name + "'";
    if (nearest.empty()) {
        text += ", there are";
        for (const std::string& each : known) text += " " + each;
    } else {
        text += ", did you mean " + nearest + "?";
    }
    throw HostError(eishost::kExitUsage, text);
}

// "ADDRESS=FILE": what stands at an address, dumped.
void addMemory(Dump& dump, const std::string& word) {
    const std::size_t sign = word.find('=');
    char* end = nullptr;
    const unsigned long long address = std::strtoull(word.c_str(), &end, 0);
    if (sign == std::string::npos || end != word.c_str() + sign || sign == 0 || address > UINT32_MAX) {
        throw HostError(eishost::kExitUsage, "--memory '" + word + "': want ADDRESS=FILE, as 0x8c340000=plane.bin");
    }
    eishost::RecordedBuffer& buffer = dump.buffers[static_cast<DeviceAddress>(address)];
    buffer.name = word.substr(sign + 1);
    buffer.dspBefore = bytesOf(buffer.name);
    buffer.bytes = buffer.dspBefore.size();
}

Dump recordedDump(const BlockArguments& arguments) {
    eishost::CallReader reader(arguments.file);
    std::optional<eishost::CallRecord> call;
    for (std::size_t number = 0; number < arguments.call; ++number) {
        call = reader.next();
        if (!call) {
            throw HostError(eishost::kExitUnsuitable, arguments.file + ": has " + std::to_string(number) +
                                                          " calls, not " + std::to_string(arguments.call));
        }
    }
    if (!arguments.entry.empty() && call->entry != arguments.entry) {
        throw HostError(eishost::kExitUnsuitable,
                        arguments.file + ": is of " + call->entry + ", not of " + arguments.entry);
    }
    return {call->entry, std::move(call->block), std::move(call->buffers)};
}

Dump readDump(const BlockArguments& arguments) {
    Dump dump;
    if (eishost::InputFile(arguments.file).peek(8) == "EISCALL\n") {
        dump = recordedDump(arguments);
    } else if (arguments.entry.empty()) {
        throw HostError(eishost::kExitUsage, arguments.file + ": is no record, so --entry must tell what block it is");
    } else {
        dump.entry = entryNamed(arguments.entry).name;
        dump.block = bytesOf(arguments.file);
    }
    for (const std::string& word : arguments.memory) addMemory(dump, word);
    const std::size_t wanted = entryNamed(dump.entry).blockBytes;
    if (dump.block.size() < wanted) {
        throw HostError(eishost::kExitUnreadable, arguments.file + ": ends at byte " +
                                                      std::to_string(dump.block.size()) + ", a block of " + dump.entry +
                                                      " has " + std::to_string(wanted));
    }
    if (dump.block.size() > wanted) {
        eishost::note(arguments.file + ": has " + std::to_string(dump.block.size()) +
                      " bytes, the block is the first " + std::to_string(wanted));
    }
    return dump;
}

std::string hex(std::uint64_t word) {
    char text[24];
    std::snprintf(text, sizeof text, "0x%08llx", static_cast<unsigned long long>(word));
    return text;
}

// The buffer that holds an address, by the nearest beginning at or before it.
auto bufferAt(const Dump& dump, DeviceAddress address) {
    auto after = dump.buffers.upper_bound(address);
    if (after == dump.buffers.begin()) return dump.buffers.end();
    --after;
    return address - after->first < after->second.bytes ? after : dump.buffers.end();
}

std::string target(const Dump& dump, DeviceAddress address) {
    if (address == 0) return "";
    if (dump.buffers.empty()) return "";
    const auto place = bufferAt(dump, address);
    if (place == dump.buffers.end()) return "-> in no buffer";
    std::string text = "-> " + (place->second.name.empty() ? hex(place->first) : place->second.name);
    if (address != place->first) text += " + " + std::to_string(address - place->first);
    return text + ", " + std::to_string(place->second.bytes - (address - place->first)) + " bytes";
}

std::string meaning(const Dump& dump, const BlockValue& value) {
    switch (value.field->kind) {
        case FieldKind::kInteger:
            return std::to_string(value.integer());
        case FieldKind::kCount:
        case FieldKind::kByte:
            return std::to_string(value.bits);
        case FieldKind::kFloat:
            return std::to_string(value.number());
        case FieldKind::kAddress:
            return target(dump, value.address());
        case FieldKind::kText:
        case FieldKind::kPointer:
            return value.bits == 0 ? "null" : "a pointer of the host";
        case FieldKind::kReserved:
            break;
    }
    return "not read";
}

void runBlock(const BlockArguments& arguments) {
    const Dump dump = readDump(arguments);
    const eishost::DeviceBytes memory = [&](DeviceAddress address) -> std::span<const std::uint8_t> {
        const auto place = bufferAt(dump, address);
        if (place == dump.buffers.end()) return {};
        return std::span(place->second.dspBefore).subspan(address - place->first);
    };
    const std::vector<BlockValue> values = eishost::readBlock(dump.entry, dump.block, memory);
    const eishost::BlockLayout& layout = eishost::blockLayout(dump.entry);
    std::printf("%s, %s, %zu bytes\n", dump.entry.c_str(), layout.name.c_str(), layout.bytes);
    for (const BlockValue& value : values) {
        const std::string record = value.record == 0 ? "" : hex(value.record);
        const bool bare = value.field->kind == FieldKind::kReserved;
        const std::string word = bare ? std::to_string(value.field->bytes) + " bytes" : hex(value.bits);
        std::printf("%10s +%-4zu %-12s %-48s %s\n", record.c_str(), value.field->offset, word.c_str(),
                    value.name.c_str(), meaning(dump, value).c_str());
    }
    const std::vector<std::string> faults = blockFaults(dump.entry, values, memory, !dump.buffers.empty());
    for (const std::string& fault : faults) std::printf("cannot be: %s\n", fault.c_str());
    if (!faults.empty()) throw CLI::RuntimeError(eishost::kExitFindings);
}

}  // namespace

void addBlockCommand(CLI::App& app) {
    auto arguments = std::make_shared<BlockArguments>();
    CLI::App* command = app.add_subcommand("block", "Shows a parameter block word by word, and what in it cannot be");
    command->add_option("FILE", arguments->file, "The block's bytes as dumped, or a record of eis-host --record")
        ->required();
    command->add_option("--entry", arguments->entry, "The entry that takes the block; a record tells it itself");
    command
        ->add_option("--memory", arguments->memory, "ADDRESS=FILE: what stands at a device address, dumped; any number")
        ->type_name("ADDRESS=FILE");
    command->add_option("--call", arguments->call, "The call of a record that has several")
        ->check(CLI::Range(1, 1000000))
        ->capture_default_str();
    command->footer(
        "Each line: where the word stands, its bits, its field, its value, and the buffer that an address leads to "
        "where\n"
        "a record or --memory tells. Records that an address leads to follow it. Without memory, areas are compared "
        "as\n"
        "if addresses were those of bytes. Exit 7 when something cannot be.\n\n"
        "  eis-lab block dump.bin --entry Scale_Bilinear_AcoreAPI\n"
        "  eis-lab block call.eisc");
    command->callback([arguments] { runBlock(*arguments); });
}

}  // namespace eislab
