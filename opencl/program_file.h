// Program files of the GPU path, read whole.
#pragma once

#include <cstddef>

namespace eis {

// Each gives a new block of the file's size + 1 that ends in a NUL, to be freed with free(), or null with a log line.
char* ReadProgramText(const char* path);
unsigned char* ReadProgramBinary(const char* path, size_t* outSize);

}  // namespace eis
