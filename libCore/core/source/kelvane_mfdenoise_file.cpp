// The four file entries.
#include <cstddef>
#include <cstdio>
#include <memory>

#include "include/acore_api.h"
#include "libCore/core/source/frame/export.h"
#include "libCore/core/source/frame/log.h"
#include "libCore/core/source/frame/slots.h"
#include "libCore/core/source/frame/wire.h"

namespace eis {

namespace {

static_assert(sizeof(ST_FILE_BLOCK) == 20 && offsetof(ST_FILE_BLOCK, path) == 0 &&
              offsetof(ST_FILE_BLOCK, buffer) == 4 && offsetof(ST_FILE_BLOCK, elementSize) == 8 &&
              offsetof(ST_FILE_BLOCK, elementCount) == 12 && offsetof(ST_FILE_BLOCK, offsetOrAppend) == 16);
static_assert(sizeof(ST_FILE_ALIGN_BLOCK) == 28 && offsetof(ST_FILE_ALIGN_BLOCK, path) == 0 &&
              offsetof(ST_FILE_ALIGN_BLOCK, buffer) == 4 && offsetof(ST_FILE_ALIGN_BLOCK, rowBytes) == 12 &&
              offsetof(ST_FILE_ALIGN_BLOCK, pitch) == 16 && offsetof(ST_FILE_ALIGN_BLOCK, rows) == 20 &&
              offsetof(ST_FILE_ALIGN_BLOCK, offsetOrAppend) == 24);

struct FileCloser {
    void operator()(std::FILE* file) const { (void)std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

// A null path counts as one that does not open.
File openFile(const char* path, const char* mode) {
    return File(path != nullptr ? std::fopen(path, mode) : nullptr);
}
File openForWriting(const char* path, int32_t append) {
    return openFile(path, append != 0 ? "ab+" : "wb");
}

// Path and buffer of a block, converted and invalidated. Neither is tested here.
struct FileTarget {
    const char* path;
    uint8_t* buffer;
};

FileTarget convertTarget(DeviceAddress path, DeviceAddress buffer) {
    auto* convertedPath = convertTo<char>(path);
    auto* convertedBuffer = convertTo<uint8_t>(buffer);
    FunInvalidBuff(convertedPath);
    FunInvalidBuff(convertedBuffer);
    return {convertedPath, convertedBuffer};
}

// Neither the seek's result nor what a later read delivers is examined.
void seekTo(const File& file, int32_t offset) {
    EIS_LOG_INFO("File Position [%d]\n", offset);
    (void)std::fseek(file.get(), offset, SEEK_SET);
}

// Calls transfer with the address of each row; the offset is an unsigned 32-bit running sum.
template <class Transfer>
void forEachRow(const ST_FILE_ALIGN_BLOCK& block, uint8_t* buffer, Transfer transfer) {
    uint32_t offset = 0;
    for (int32_t row = 0; row < block.rows; ++row, offset += block.pitch) transfer(buffer + offset);
}

ret_status cannotOpenForReading(const char* path) {
    EIS_LOG_INFO("Can not open %s file!\n", printable(path));
    return retStsFileError;
}

ret_status cannotOpenForWriting(const char* path) {
    EIS_LOG_INFO("Can not open %s file!", printable(path));
    return retStsFileError;
}

// The results of the transfers are not part of an entry's outcome.
void readItems(uint8_t* buffer, size_t size, size_t count, const File& file) {
    if (std::fread(buffer, size, count, file.get()) != count) return;
}
void writeItems(const uint8_t* buffer, size_t size, size_t count, const File& file) {
    if (std::fwrite(buffer, size, count, file.get()) != count) return;
}

}  // namespace

}  // namespace eis

using namespace eis;

EIS_EXPORT ret_status ivp_fread(const ST_FILE_BLOCK* block) {
    const auto words = loadUnaligned<ST_FILE_BLOCK>(block);
    const FileTarget target = convertTarget(words.path, words.buffer);
    File file = openFile(target.path, "rb");
    if (!file) return cannotOpenForReading(target.path);
    seekTo(file, words.offsetOrAppend);
    if (target.buffer != nullptr) readItems(target.buffer, words.elementSize, words.elementCount, file);
    file.reset();
    FunFlushBuff(target.buffer);
    return retStsOK;
}

EIS_EXPORT ret_status ivp_fwrite(const ST_FILE_BLOCK* block) {
    const auto words = loadUnaligned<ST_FILE_BLOCK>(block);
    const FileTarget target = convertTarget(words.path, words.buffer);
    File file = openForWriting(target.path, words.offsetOrAppend);
    if (!file) return cannotOpenForWriting(target.path);
    if (target.buffer != nullptr) writeItems(target.buffer, words.elementSize, words.elementCount, file);
    (void)std::fflush(file.get());
    file.reset();
    FunFlushBuff(target.buffer);
    return retStsOK;
}

EIS_EXPORT ret_status ivp_fread_align(const ST_FILE_ALIGN_BLOCK* block) {
    const auto words = loadUnaligned<ST_FILE_ALIGN_BLOCK>(block);
    const FileTarget target = convertTarget(words.path, words.buffer);
    File file = openFile(target.path, "rb");
    if (!file) return cannotOpenForReading(target.path);
    if (target.buffer == nullptr) {
        EIS_LOG_INFO("Read Buf is NULL!\n");
        return retStsFileError;
    }
    seekTo(file, words.offsetOrAppend);
    forEachRow(words, target.buffer, [&](uint8_t* row) { readItems(row, words.rowBytes, 1, file); });
    file.reset();
    FunFlushBuff(target.buffer);
    return retStsOK;
}

EIS_EXPORT ret_status ivp_fwrite_align(const ST_FILE_ALIGN_BLOCK* block) {
    const auto words = loadUnaligned<ST_FILE_ALIGN_BLOCK>(block);
    const FileTarget target = convertTarget(words.path, words.buffer);
    const File file = openForWriting(target.path, words.offsetOrAppend);
    if (!file) return cannotOpenForWriting(target.path);
    if (target.buffer == nullptr) {
        EIS_LOG_INFO("Write Buf is NULL!\n");
        return retStsBadAddress;
    }
    forEachRow(words, target.buffer, [&](const uint8_t* row) { writeItems(row, words.rowBytes, 1, file); });
    (void)std::fflush(file.get());
    return retStsOK;
}
