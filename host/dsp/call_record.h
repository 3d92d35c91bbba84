// A call of an entry as a file keeps it; docs/record-format.md states the bytes.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/dsp/dsp_arena.h"
#include "host/dsp/library_log.h"
#include "host/program/input_file.h"

namespace eishost {

using Bytes = std::vector<std::uint8_t>;

struct RecordedBuffer {
    std::string name;  // of the field that leads to it; may be empty
    std::size_t bytes = 0;
    bool scratch = false;  // what is in it after the call is nobody's
    bool shared = false;   // the DSP's side and the CPU's are one memory
    // Each side before and after the call. A scratch buffer has no `after`; of a shared one both sides are equal.
    Bytes dspBefore, cpuBefore, dspAfter, cpuAfter;
};

struct CallRecord {
    std::string entry;
    std::string writer;  // program and library, as a person reads it
    Bytes block;
    DeviceAddress blockAddress = 0;          // where the block stands in device memory, 0 for memory of the host's own
    std::map<std::uint32_t, Bytes> pointed;  // what host pointers in the block lead to, by their offset in it
    std::optional<Bytes> file;               // the file that the entry reads
    std::map<DeviceAddress, RecordedBuffer> buffers;
    // From here on: nothing when the call never returned.
    std::optional<ret_status> status;
    double milliseconds = 0;
    Bytes blockAfter;
    std::optional<std::vector<DspArena::Touch>> touches;  // nothing where the writer kept none
    std::optional<std::vector<LogLine>> log;
};

// The record, piece by piece.
void encodeCall(const CallRecord& call, const std::function<void(std::string_view)>& write);

// The calls of a file, in order. HostError(kExitUnreadable) with the offset of the section that is damaged.
class CallReader {
  public:
    explicit CallReader(const std::string& path) : file_(path) {}

    // Nothing behind the last call; a file without any is an error.
    std::optional<CallRecord> next();

  private:
    struct Section {
        std::string tag;
        Bytes payload;
        std::uint64_t offset = 0;
    };
    Section readSection();
    void readHeader();
    [[noreturn]] void fail(std::uint64_t offset, const std::string& what) const;

    InputFile file_;
    std::uint64_t offset_ = 0;
};

}  // namespace eishost
