// An open file, owned.
#pragma once

#include <cstdio>
#include <memory>

namespace eis {

struct FileCloser {
    void operator()(std::FILE* file) const { (void)std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

// Empty when the file does not open, which a null path counts as.
inline File openFile(const char* path, const char* mode) {
    return File(path != nullptr ? std::fopen(path, mode) : nullptr);
}

}  // namespace eis
