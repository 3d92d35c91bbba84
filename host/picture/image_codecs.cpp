#include "host/picture/image_codecs.h"

#include <dlfcn.h>

#include "host/picture/codecs/codecs.h"
#include "host/program/exit_codes.h"

namespace eishost {

namespace {

struct Codecs {
    decltype(&eisDecodeImage) decode = nullptr;
    decltype(&eisEncodeImage) encode = nullptr;
};

// Never closed: what the codecs keep lives as long as the program.
const Codecs& codecs() {
    static const Codecs loaded = [] {
        void* const library = dlopen(EIS_IMAGE_CODECS, RTLD_NOW | RTLD_LOCAL);
        if (library == nullptr) throw HostError(kExitInternal, std::string("the codecs do not load: ") + dlerror());
        return Codecs{reinterpret_cast<decltype(&eisDecodeImage)>(dlsym(library, "eisDecodeImage")),
                      reinterpret_cast<decltype(&eisEncodeImage)>(dlsym(library, "eisEncodeImage"))};
    }();
    return loaded;
}

}  // namespace

cv::Mat decodeImage(const cv::Mat& bytes, int mode) {
    cv::Mat picture;
    codecs().decode(bytes, mode, picture);
    return picture;
}

bool encodeImage(const std::string& extension, const cv::Mat& picture, const std::vector<int>& options,
                 std::vector<std::uint8_t>& bytes) {
    return codecs().encode(extension, picture, options, bytes);
}

}  // namespace eishost
