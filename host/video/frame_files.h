// Clips as the commands take and give them: one file or pipe, or a folder with a picture for each frame.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/picture/picture.h"
#include "host/program/output_folder.h"

namespace eishost {

// Before `b` in the order that a reader expects of file names: digits in a row count as a number.
bool comesBefore(const std::string& a, const std::string& b);

class ClipInput {
  public:
    // A folder's pictures are its PNG and JPEG files, in the order of their names. HostError as PictureReader.
    ClipInput(const std::string& path, const RawOptions& raw);

    // The next frame, or nothing at the end. HostError as PictureReader, and kExitUnsuitable for a frame of another
    // size than the first one.
    std::optional<Picture> next();

    // As those of PictureReader.
    const ClipFormat* clipFormat() const;
    std::string_view pictureFields() const;

    // How many frames are to come, where that can be known.
    std::optional<std::size_t> framesLeft() const;

    const std::vector<std::string>& files() const { return files_; }  // of a folder

  private:
    std::vector<std::string> files_;
    std::size_t nextFile_ = 0;
    RawOptions raw_;
    std::unique_ptr<PictureReader> reader_;  // of what is no folder
    std::optional<PictureSize> size_;
};

class ClipOutput {
  public:
    // A folder where `path` is one, or has no extension: it gets steady_NN.png and a list of them, steady.json, and
    // those of an earlier run make way when `replacing`.
    // HostError as PictureWriter and OutputFolder.
    ClipOutput(const std::string& path, const RawOptions& raw, const ClipInput& input, bool replacing);

    void write(const Picture& picture, std::string_view pictureFields);
    void finish();
    // As that of PictureWriter.
    std::size_t finishEarly();

  private:
    std::unique_ptr<PictureWriter> writer_;
    std::optional<OutputFolder> folder_;
    RawOptions raw_;
    std::vector<std::string> names_;
};

}  // namespace eishost
