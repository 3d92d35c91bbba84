// The frames of a burst, read twice and one at a time.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "host/match/frame_source.h"
#include "host/merge/aligned_frame.h"
#include "host/program/exit_codes.h"
#include "host/report/frame_report.h"

namespace eishost {

struct BurstMember {
    std::string name;  // the path, with #k for the k-th picture of a file that holds several
    std::string path;
    std::size_t file = 0;               // of the files, from 0
    int index = 0;                      // of the picture in its file
    std::optional<FrameReport> report;  // without the aligned picture; none for the reference and what cannot be used
    std::string leftOut;                // why it is not merged, "" when it is
    cv::Mat asItCame;                   // small, 8-bit BGR: of a frame that the library refused, and so copied
};

// What is told while frames are read; either may be empty.
struct BurstWatch {
    // A frame that can be merged, at the first reading.
    std::function<void(const Picture& reference, const AlignedFrame& frame)> aligned;
    // Files done in this reading, and the frame at work.
    std::function<void(std::size_t done, const std::string& name)> reading;
};

// The first picture that can be read is the reference. What cannot be read or used, or what the library refuses to
// register, is left out and keeps its reason.
class BurstInput {
  public:
    using Visitor = std::function<void(AlignedFrame&&)>;

    // Reads and registers every picture of every file. `ghostFolder` holds masks ghost_NN.png, NN the picture's number
    // counted from 0; empty for none. HostError when not even one picture can be read (that of the first one), for a
    // pipe, or when the library fails.
    BurstInput(const std::vector<std::string>& paths, const RawOptions& raw, RegistrationOptions options,
               std::string ghostFolder, BurstWatch watch);

    // Reads them again, and warps them by the matches of the first time.
    void readAgain(const Visitor& visit) const;

    const Picture& reference() const { return reference_; }
    const std::vector<BurstMember>& members() const { return members_; }
    const BurstMember& referenceMember() const { return members_[referenceIndex_]; }
    int mergeable() const;  // frames beside the reference
    const FrameSource& source() const { return source_; }

  private:
    void readFile(const std::string& path, std::size_t file);
    BurstMember& newMember(const std::string& path, std::size_t file, int index);
    void leaveOut(BurstMember& member, const HostError& error);
    void takeFrame(BurstMember& member, Picture picture);
    cv::Mat ghostsOf(std::size_t number) const;
    void tellReading(const BurstMember& member) const;

    FrameSource source_;
    RegistrationOptions options_;
    std::string ghostFolder_;
    BurstWatch watch_;
    Picture reference_;
    std::optional<PreparedFrame> prepared_;  // only while reading for the first time
    std::vector<BurstMember> members_;
    std::size_t referenceIndex_ = 0;
    std::optional<HostError> firstError_;
};

}  // namespace eishost
