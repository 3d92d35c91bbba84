#include "host/video/frame_files.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <utility>

#include "host/picture/picture_names.h"
#include "host/program/exit_codes.h"
#include "host/program/output_file.h"

namespace eishost {

namespace {

namespace fs = std::filesystem;

constexpr char kKind[] = "steady";
constexpr char kList[] = "steady.json";

std::vector<std::string> pictureFiles(const std::string& folder) {
    std::vector<std::string> files;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        if (entry.is_regular_file() && isImageName(extensionOf(entry.path().string()))) {
            files.push_back(entry.path().string());
        }
    }
    if (files.empty()) throw HostError(kExitUnreadable, folder + ": holds no PNG or JPEG");
    std::sort(files.begin(), files.end(), comesBefore);
    return files;
}

}  // namespace

bool comesBefore(const std::string& a, const std::string& b) {
    const auto isDigit = [](char letter) { return std::isdigit(static_cast<unsigned char>(letter)) != 0; };
    const auto number = [&](const std::string& text, std::size_t& at) {
        std::size_t end = at;
        while (end < text.size() && isDigit(text[end])) ++end;
        while (at + 1 < end && text[at] == '0') ++at;
        return std::string_view(text).substr(std::exchange(at, end), end - at);
    };
    std::size_t i = 0;
    std::size_t j = 0;
    while (i < a.size() && j < b.size()) {
        if (!isDigit(a[i]) || !isDigit(b[j])) {
            if (a[i] != b[j]) return a[i] < b[j];
            ++i;
            ++j;
            continue;
        }
        const std::string_view left = number(a, i);
        const std::string_view right = number(b, j);
        if (left.size() != right.size()) return left.size() < right.size();
        if (left != right) return left < right;
    }
    return a.size() - i < b.size() - j;
}

ClipInput::ClipInput(const std::string& path, const RawOptions& raw) : raw_(raw) {
    std::error_code ignored;
    if (path != "-" && fs::is_directory(path, ignored)) {
        files_ = pictureFiles(path);
    } else {
        reader_ = std::make_unique<PictureReader>(path, raw);
    }
}

std::optional<Picture> ClipInput::next() {
    if (reader_) return reader_->next();
    if (nextFile_ == files_.size()) return std::nullopt;
    const std::string& file = files_[nextFile_];
    Picture picture = loadPicture(file, raw_);
    if (!size_) size_ = {picture.width, picture.height};
    if (picture.width != size_->width || picture.height != size_->height) {
        throw HostError(kExitUnsuitable, file + ": has " + std::to_string(picture.width) + "x" +
                                             std::to_string(picture.height) + ", the frames before it " +
                                             std::to_string(size_->width) + "x" + std::to_string(size_->height));
    }
    ++nextFile_;
    return picture;
}

const ClipFormat* ClipInput::clipFormat() const {
    return reader_ ? reader_->clipFormat() : nullptr;
}

std::string_view ClipInput::pictureFields() const {
    return reader_ ? reader_->pictureFields() : std::string_view();
}

std::optional<std::size_t> ClipInput::framesLeft() const {
    return reader_ ? reader_->picturesLeft() : files_.size() - nextFile_;
}

ClipOutput::ClipOutput(const std::string& path, const RawOptions& raw, const ClipInput& input, bool replacing)
    : raw_(raw) {
    std::error_code ignored;
    if (path != "-" && (extensionOf(path).empty() || fs::is_directory(path, ignored))) {
        folder_.emplace(path, kList, std::vector<std::string>{kKind}, replacing, input.files());
        folder_->open();
    } else {
        writer_ = std::make_unique<PictureWriter>(path, raw, input.clipFormat());
    }
}

void ClipOutput::write(const Picture& picture, std::string_view pictureFields) {
    if (writer_) {
        writer_->write(picture, pictureFields);
        return;
    }
    savePicture(folder_->picture(kKind, names_.size()), picture, raw_);
    names_.push_back(numberedName(kKind, names_.size()));
}

void ClipOutput::finish() {
    if (writer_) {
        writer_->finish();
    } else {
        saveFile(folder_->list(), nlohmann::json{{"frames", names_}}.dump(2) + "\n");
    }
}

std::size_t ClipOutput::finishEarly() {
    if (writer_) return writer_->finishEarly();
    if (!names_.empty()) finish();
    return names_.size();
}

}  // namespace eishost
