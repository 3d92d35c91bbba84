#include "host/picture/image_codecs.h"

#include <dlfcn.h>

#include <filesystem>

#include "host/picture/codecs/codecs.h"
#include "host/program/exit_codes.h"

namespace eishost {

namespace {

struct Codecs {
    decltype(&eisDecodeImage) decode = nullptr;
    decltype(&eisEncodeImage) encode = nullptr;
};

// From the programs' folder: where the build puts it, and where it is installed. The loader's own search would start
// from whoever calls dlopen, which a sanitizer does in the program's place.
void* openedLibrary() {
    const std::filesystem::path programs = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    for (const char* const path : {EIS_BUILT_CODECS, EIS_INSTALLED_CODECS}) {
        if (void* const library = dlopen((programs / path).c_str(), RTLD_NOW | RTLD_LOCAL)) return library;
    }
    throw HostError(kExitInternal, std::string("the codecs of pictures do not load: ") + dlerror());
}

// Never closed: what the codecs keep lives as long as the program.
const Codecs& codecs() {
    static const Codecs loaded = [] {
        void* const library = openedLibrary();
        const Codecs found{reinterpret_cast<decltype(&eisDecodeImage)>(dlsym(library, "eisDecodeImage")),
                           reinterpret_cast<decltype(&eisEncodeImage)>(dlsym(library, "eisEncodeImage"))};
        if (found.decode == nullptr || found.encode == nullptr) {
            throw HostError(kExitInternal, "the codecs of pictures are of another version");
        }
        return found;
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
