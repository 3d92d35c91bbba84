#include "host/match/frame_source.h"

#include "host/program/exit_codes.h"

namespace eishost {

namespace {

std::string text(const PictureSize& size) {
    return std::to_string(size.width) + "x" + std::to_string(size.height);
}

}  // namespace

Picture FrameSource::load(const std::string& path) {
    return fit(loadPicture(path, raw_), path);
}

Picture FrameSource::fit(Picture picture, const std::string& name) {
    const PictureSize size{picture.width, picture.height};
    if (!size_) {
        if (size.height < 8) throw HostError(kExitUnsuitable, name + ": " + text(size) + " is too small to register");
        size_ = size;
        cutRows_ = size.height % 8;
    }
    if (size.width != size_->width || size.height != size_->height) {
        throw HostError(kExitUnsuitable,
                        name + ": is " + text(size) + ", but the reference is " + text(*size_) + "; sizes must agree");
    }
    if (cutRows_ == 0) return picture;
    Picture cut(size.width, size.height - cutRows_);
    cut.range = picture.range;
    for (int plane = 0; plane < 3; ++plane) {
        picture.planes[plane].resize(cut.planes[plane].size());
        cut.planes[plane].swap(picture.planes[plane]);
    }
    return cut;
}

std::string FrameSource::note() const {
    if (cutRows_ == 0) return {};
    return "height " + std::to_string(size_->height) + " is not a multiple of 8, the last " + std::to_string(cutRows_) +
           " rows are cut off";
}

}  // namespace eishost
