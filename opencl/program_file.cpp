#include "opencl/program_file.h"

#include <cstdio>
#include <cstdlib>

#include "libCore/core/source/frame/file.h"
#include "libCore/core/source/frame/log.h"

namespace eis {

namespace {

void* readWhole(const char* path, size_t* outSize) {
    *outSize = 0;
    const File file = openFile(path, "rb");
    if (!file) {
        EIS_LOG_ERROR("ERROR: Failed to open file '%s'\n", path);
        return nullptr;
    }
    if (std::fseek(file.get(), 0, SEEK_END) != 0) {
        EIS_LOG_ERROR("ERROR: Failed to seek file '%s'\n", path);
        return nullptr;
    }
    const long length = std::ftell(file.get());
    if (length <= 0) {
        EIS_LOG_ERROR("ERROR: Failed to check position on file '%s'\n", path);
        return nullptr;
    }
    if (std::fseek(file.get(), 0, SEEK_SET) != 0) {
        EIS_LOG_ERROR("ERROR: Failed to seek file '%s'\n", path);
        return nullptr;
    }
    const auto size = static_cast<size_t>(length);
    auto* bytes = static_cast<char*>(std::malloc(size + 1));
    if (bytes == nullptr) {
        EIS_LOG_ERROR("ERROR: Failed to allocate memory for file '%s'\n", path);
        return nullptr;
    }
    if (std::fread(bytes, 1, size, file.get()) != size) {
        EIS_LOG_ERROR("ERROR: Failed to read file '%s'\n", path);
        std::free(bytes);
        return nullptr;
    }
    bytes[size] = '\0';
    *outSize = size;
    return bytes;
}

}  // namespace

char* ReadProgramText(const char* path) {
    size_t size = 0;
    return static_cast<char*>(readWhole(path, &size));
}

unsigned char* ReadProgramBinary(const char* path, size_t* outSize) {
    return static_cast<unsigned char*>(readWhole(path, outSize));
}

}  // namespace eis
