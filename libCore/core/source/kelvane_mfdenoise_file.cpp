// The four file entries.
#include <cstdio>

#include "include/acore_api.h"
#include "libCore/core/source/frame/export.h"
#include "libCore/core/source/frame/file.h"
#include "libCore/core/source/frame/log.h"
#include "libCore/core/source/frame/slots.h"
#include "libCore/core/source/frame/wire.h"

namespace eis {

namespace {

// What a block asks for: its buffer, converted and invalidated as the path is, and the file, open unless a line has
// told that it is not. The buffer is not tested here.
template <class Block>
struct Target {
    Block block;
    uint8_t* buffer;
    File file;
};

template <class Block>
Target<Block> openTarget(const Block* address, bool isRead) {
    const auto block = loadUnaligned<Block>(address);
    auto* path = convertTo<char>(block.path);
    auto* buffer = convertTo<uint8_t>(block.buffer);
    FunInvalidBuff(path);
    FunInvalidBuff(buffer);
    const bool append = block.offsetOrAppend != 0;
    Target<Block> target{block, buffer, openFile(path, isRead ? "rb" : append ? "ab+" : "wb")};
    if (!target.file) EIS_LOG_INFO("Can not open %s file!%s", printable(path), isRead ? "\n" : "");
    return target;
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

EIS_EXPORT ret_status ivp_fread(const ST_FILE_BLOCK* address) {
    auto [block, buffer, file] = openTarget(address, true);
    if (!file) return retStsFileError;
    seekTo(file, block.offsetOrAppend);
    if (buffer != nullptr) readItems(buffer, block.elementSize, block.elementCount, file);
    file.reset();
    FunFlushBuff(buffer);
    return retStsOK;
}

EIS_EXPORT ret_status ivp_fwrite(const ST_FILE_BLOCK* address) {
    auto [block, buffer, file] = openTarget(address, false);
    if (!file) return retStsFileError;
    if (buffer != nullptr) writeItems(buffer, block.elementSize, block.elementCount, file);
    (void)std::fflush(file.get());
    file.reset();
    FunFlushBuff(buffer);
    return retStsOK;
}

EIS_EXPORT ret_status ivp_fread_align(const ST_FILE_ALIGN_BLOCK* address) {
    auto [block, buffer, file] = openTarget(address, true);
    if (!file) return retStsFileError;
    if (buffer == nullptr) {
        EIS_LOG_INFO("Read Buf is NULL!\n");
        return retStsFileError;
    }
    seekTo(file, block.offsetOrAppend);
    const auto read = [&rows = block, &from = file](uint8_t* row) { readItems(row, rows.rowBytes, 1, from); };
    forEachRow(block, buffer, read);
    file.reset();
    FunFlushBuff(buffer);
    return retStsOK;
}

EIS_EXPORT ret_status ivp_fwrite_align(const ST_FILE_ALIGN_BLOCK* address) {
    const auto [block, buffer, file] = openTarget(address, false);
    if (!file) return retStsFileError;
    if (buffer == nullptr) {
        EIS_LOG_INFO("Write Buf is NULL!\n");
        return retStsBadAddress;
    }
    const auto write = [&rows = block, &to = file](const uint8_t* row) { writeItems(row, rows.rowBytes, 1, to); };
    forEachRow(block, buffer, write);
    (void)std::fflush(file.get());
    return retStsOK;
}
