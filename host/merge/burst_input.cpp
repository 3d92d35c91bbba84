#include "host/merge/burst_input.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <opencv2/imgproc.hpp>
#include <utility>

#include "acore_types.h"

namespace eishost {

namespace {

constexpr int kSmallColumns = 480;

cv::Mat smallBgr(const Picture& picture) {
    cv::Mat small;
    const double factor = std::min(1.0, double{kSmallColumns} / picture.width);
    cv::resize(bgrFromPicture(picture), small, {}, factor, factor, cv::INTER_AREA);
    return small;
}

bool concernsOneInput(const HostError& error) {
    return error.code == kExitUnreadable || error.code == kExitUnsuitable;
}

}  // namespace

BurstInput::BurstInput(const std::vector<std::string>& paths, const RawOptions& raw, RegistrationOptions options,
                       std::string ghostFolder, BurstWatch watch)
    : source_(raw), options_(options), ghostFolder_(std::move(ghostFolder)), watch_(std::move(watch)) {
    if (!ghostFolder_.empty() && !std::filesystem::is_directory(ghostFolder_)) {
        throw HostError(kExitUnreadable, ghostFolder_ + ": is no folder");
    }
    for (const std::string& path : paths) {
        if (path == "-") throw HostError(kExitUsage, "merge reads its frames twice, which a pipe does not allow");
    }
    for (std::size_t file = 0; file < paths.size(); ++file) readFile(paths[file], file);
    prepared_.reset();
    if (reference_.width == 0) throw *firstError_;
}

BurstMember& BurstInput::newMember(const std::string& path, std::size_t file, int index) {
    members_.push_back({.name = index == 0 ? path : path + '#' + std::to_string(index),
                        .path = path,
                        .file = file,
                        .index = index,
                        .report = std::nullopt,
                        .leftOut = {},
                        .asItCame = {}});
    tellReading(members_.back());
    return members_.back();
}

void BurstInput::leaveOut(BurstMember& member, const HostError& error) {
    if (!concernsOneInput(error)) throw error;
    member.leftOut = error.what();
    if (!firstError_) firstError_.emplace(error);
}

void BurstInput::readFile(const std::string& path, std::size_t file) {
    int index = 0;
    try {
        PictureReader reader(path, source_.raw());
        noteInterlacing(reader, path);
        for (; std::optional<Picture> picture = reader.next(); ++index) {
            BurstMember& member = newMember(path, file, index);
            try {
                takeFrame(member, std::move(*picture));
            } catch (const HostError& error) {
                leaveOut(member, error);
            }
        }
    } catch (const HostError& error) {
        leaveOut(newMember(path, file, index), error);
    }
}

void BurstInput::takeFrame(BurstMember& member, Picture picture) {
    picture = source_.fit(std::move(picture), member.name);
    if (reference_.width == 0) {
        reference_ = std::move(picture);
        referenceIndex_ = members_.size() - 1;
        return;
    }
    if (!prepared_) prepared_.emplace(referenceMember().name, reference_);
    prepared_->refuseBlank();
    FrameReport report = reportFrame(*prepared_, PreparedFrame(member.name, std::move(picture)), options_);
    if (report.outcome.status != retStsOK) {
        member.leftOut = report.refusal ? report.refusal->reason : "the library refused it";
        member.asItCame = smallBgr(report.outcome.aligned);
    } else if (!report.area || report.area->empty()) {
        member.leftOut = "nothing of it covers the reference";
    }
    const AlignedFrame aligned{.picture = std::exchange(report.outcome.aligned, {}),
                               .area = report.area.value_or(cv::Rect()),
                               .ghosts = member.leftOut.empty() ? ghostsOf(members_.size() - 1) : cv::Mat()};
    member.report = std::move(report);
    if (member.leftOut.empty() && watch_.aligned) watch_.aligned(reference_, aligned);
}

void BurstInput::tellReading(const BurstMember& member) const {
    if (watch_.reading) watch_.reading(member.file, member.name);
}

cv::Mat BurstInput::ghostsOf(std::size_t number) const {
    if (ghostFolder_.empty()) return {};
    char name[32];
    std::snprintf(name, sizeof name, "ghost_%02zu.png", number);
    const std::string path = (std::filesystem::path(ghostFolder_) / name).string();
    if (!std::filesystem::exists(path)) return {};
    cv::Mat mask;
    cv::extractChannel(loadBgr(path), mask, 0);
    if (mask.cols != reference_.width || mask.rows < reference_.height) {
        throw HostError(kExitUnsuitable, path + ": is no mask of these frames, its size differs");
    }
    return mask.rowRange(0, reference_.height).clone();
}

void BurstInput::readAgain(const Visitor& visit) const {
    std::unique_ptr<PictureReader> reader;
    int next = 0;
    for (std::size_t number = 0; number < members_.size(); ++number) {
        const BurstMember& member = members_[number];
        if (!member.report || !member.leftOut.empty()) continue;
        tellReading(member);
        if (!reader || member.index < next || members_[number - 1].file != member.file) {
            reader = std::make_unique<PictureReader>(member.path, source_.raw());
            next = 0;
        }
        std::optional<Picture> picture;
        for (; next <= member.index; ++next) picture = reader->next();
        if (!picture) throw HostError(kExitUnreadable, member.name + ": has gone since it was read first");
        FrameSource source = source_;
        RegistrationOutcome outcome =
            registerFrame(reference_, source.fit(std::move(*picture), member.name), member.report->matches, options_);
        visit({std::move(outcome.aligned), *member.report->area, ghostsOf(number)});
    }
}

int BurstInput::mergeable() const {
    return static_cast<int>(std::count_if(members_.begin(), members_.end(), [](const BurstMember& member) {
        return member.report && member.leftOut.empty();
    }));
}

}  // namespace eishost
