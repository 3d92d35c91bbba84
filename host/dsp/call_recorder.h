// Keeps the calls of entries in a file.
#pragma once

#include <memory>
#include <string>

#include "host/dsp/call_record.h"
#include "host/dsp/entries.h"
#include "host/program/output_file.h"

namespace eishost {

// Begins to keep every call that callEntry makes, in a file for replay. HostError(kExitUnwritable).
void startRecording(const std::string& path);

// Puts the file in place, if a call was kept: also when a command failed, for then it is wanted most. Returns
// `exitCode`, or kExitUnwritable after telling the user why.
int finishRecording(int exitCode);

// A call on its way into the file; does nothing when no recording was started.
class RecordedCall {
  public:
    RecordedCall(DspArena& arena, const Entry& entry, const void* block);
    void finish(ret_status status, double milliseconds, const std::vector<LogLine>& log);

  private:
    DspArena& arena_;
    const void* block_;
    CallRecord call_;
    std::vector<DspArena::Touch> touches_;
};

}  // namespace eishost
