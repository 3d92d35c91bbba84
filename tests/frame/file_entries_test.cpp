// The four file entries: transfers, order of callbacks and log lines, failures.
#include <gtest/gtest.h>
#include <sys/mman.h>

#include <numeric>
#include <string>
#include <vector>

#include "include/acore_api.h"
#include "tests/harness/calls.h"
#include "tests/harness/entry_faults.h"
#include "tests/harness/files.h"

namespace eis {
namespace {

using test::Events;
using test::joined;
using test::readFile;
using test::writeFile;

constexpr char kText[] = "0123456789abcdefghij";
const Events kStart{"convert path", "convert buffer", "invalidate path", "invalidate buffer"};

enum Entry { kRead, kWrite, kReadRows, kWriteRows };

class FileEntries : public testing::Test {
  protected:
    FileEntries() : filePath_(folder_.path("plane.bin")), buffer_(64, '.') {
        path_ = space_.addText("path", filePath_);
        data_ = space_.addRange("buffer", buffer_);
    }

    void fillBuffer(const std::string& content) {
        std::fill(buffer_.begin(), buffer_.end(), '.');
        std::copy(content.begin(), content.end(), buffer_.begin());
    }
    // The buffer up to its untouched tail.
    std::string bufferText() const {
        const std::string text(buffer_.begin(), buffer_.end());
        return text.substr(0, text.find_last_not_of('.') + 1);
    }

    // Plain entries take a size and a count, those of rows a row's bytes, the pitch and the rows; then the offset of a
    // read or the append flag of a write.
    ret_status call(Entry entry, uint32_t size, uint32_t count, int32_t rows, int32_t last) {
        const ST_FILE_BLOCK plain{path_, data_, size, count, last};
        const ST_FILE_ALIGN_BLOCK aligned{path_, data_, 77, size, count, rows, last};
        switch (entry) {
            case kRead:
                return ivp_fread(&plain);
            case kWrite:
                return ivp_fwrite(&plain);
            case kReadRows:
                return ivp_fread_align(&aligned);
            default:
                return ivp_fwrite_align(&aligned);
        }
    }

    test::TempFolder folder_;
    test::DeviceSpace space_;
    std::string filePath_;
    std::vector<char> buffer_;
    DeviceAddress path_;
    DeviceAddress data_;
};

TEST_F(FileEntries, Reads) {
    const struct {
        Entry entry;
        uint32_t size, count;
        int32_t rows, offset;
        const char* expected;
    } cases[] = {
        {kRead, 1, 20, 0, 0, "0123456789abcdefghij"},
        {kRead, 4, 3, 0, 2, "23456789abcd"},
        {kRead, 8, 9, 0, 15, "fghij"},     // short: what there is
        {kRead, 4, 2, 0, 500, ""},         // past it
        {kRead, 4, 2, 0, -1, "01234567"},  // a seek that fails changes nothing
        {kReadRows, 4, 6, 3, 0, "0123..4567..89ab"},
        {kReadRows, 6, 2, 3, 0, "0167cdefgh"},
        {kReadRows, 8, 10, 4, 8, "89abcdef..ghij"},  // a short row, then none
        {kReadRows, 4, 6, -2, 3, ""},
    };
    writeFile(filePath_, kText);
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.entry << ": " << c.size << ", " << c.count << " from " << c.offset);
        test::clearEvents();
        fillBuffer("");
        EXPECT_EQ(call(c.entry, c.size, c.count, c.rows, c.offset), 0);
        EXPECT_EQ(bufferText(), c.expected);
        const std::string position = "info File Position [" + std::to_string(c.offset) + "]\n";
        EXPECT_TRUE(test::eventsWere(joined({kStart, {position, "flush buffer"}})));
    }
}

TEST_F(FileEntries, Writes) {
    const struct {
        Entry entry;
        uint32_t size, count;
        int32_t rows, append;
        const char* expected;
    } steps[] = {{kWrite, 2, 5, 0, 0, "0123456789"},
                 {kWrite, 1, 3, 0, 1, "0123456789012"},
                 {kWrite, 3, 1, 0, -5, "0123456789012012"},
                 {kWrite, 4, 1, 0, 0, "0123"},
                 {kWrite, 4, 0, 0, 0, ""},
                 {kWriteRows, 3, 5, 2, 0, "012567"},
                 {kWriteRows, 2, 1, 3, 9, "012567011223"},
                 {kWriteRows, 4, 4, -1, 1, "012567011223"},
                 {kWriteRows, 4, 4, 0, 0, ""}};
    fillBuffer(kText);
    for (const auto& step : steps) {
        test::clearEvents();
        EXPECT_EQ(call(step.entry, step.size, step.count, step.rows, step.append), 0);
        EXPECT_EQ(readFile(filePath_), step.expected);
        // Rows are written without a flush: the buffer was only read.
        EXPECT_TRUE(test::eventsWere(step.entry == kWrite ? joined({kStart, {"flush buffer"}}) : kStart));
    }
}

// The offset of a row runs in 32 bits: two rows at a pitch of half the range land on the first one again.
TEST_F(FileEntries, RowOffsetWraps) {
    constexpr size_t kHalf = size_t{1} << 31;
    void* memory =
        mmap(nullptr, kHalf + 4096, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    ASSERT_NE(memory, MAP_FAILED);
    auto* bytes = static_cast<char*>(memory);
    data_ = space_.add("wide", memory, 4096);
    writeFile(filePath_, kText);
    EXPECT_EQ(call(kReadRows, 5, kHalf, 3, 0), 0);
    EXPECT_EQ(std::string(bytes, 6), std::string("abcde\0", 6));
    EXPECT_EQ(std::string(bytes + kHalf, 6), std::string("56789\0", 6));
    EXPECT_EQ(call(kWriteRows, 5, kHalf, 3, 0), 0);
    EXPECT_EQ(readFile(filePath_), "abcde56789abcde");
    munmap(memory, kHalf + 4096);
}

TEST_F(FileEntries, EachAddressNull) {
    struct Case {
        Entry entry;
        Events noPath;
        int noBufferStatus;
        Events noBuffer;
        const char* fileAfter;
    };
    // Without a buffer the transfer alone is left out of the plain entries.
    const Case cases[] = {
        {kRead, {"info Can not open (null) file!\n"}, retStsOK, {"info File Position [3]\n", "flush null"}, kText},
        {kWrite, {"info Can not open (null) file!"}, retStsOK, {"flush null"}, ""},
        {kReadRows, {"info Can not open (null) file!\n"}, retStsFileError, {"info Read Buf is NULL!\n"}, kText},
        {kWriteRows, {"info Can not open (null) file!"}, retStsBadAddress, {"info Write Buf is NULL!\n"}, ""},
    };
    const Events converted = {"convert path", "convert buffer"};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.entry);
        writeFile(filePath_, kText);
        const bool isRead = c.entry == kRead || c.entry == kReadRows;
        const Events noPath = joined({converted, {"invalidate null", "invalidate buffer"}, c.noPath});
        const Events noBuffer = joined({converted, {"invalidate path", "invalidate null"}, c.noBuffer});
        test::eachAddressNull(
            space_, {{"path", retStsFileError, noPath}, {"buffer", c.noBufferStatus, noBuffer}},
            [&] { return call(c.entry, 4, 5, 2, isRead ? 3 : 0); }, [&] { return bufferText().empty(); });
        EXPECT_EQ(readFile(filePath_), c.fileAfter);
    }
}

// The DSP may open the file as soon as it sees the buffer.
TEST_F(FileEntries, FileIsClosedBeforeTheBufferIsFlushed) {
    static const test::ResourceWatch* files;
    static int flushes;
    flushes = 0;
    setGraphicBufferFlusher([](void*) {
        EXPECT_TRUE(files->nothingLeft());
        ++flushes;
    });
    writeFile(filePath_, kText);
    for (const Entry entry : {kRead, kReadRows, kWrite}) {
        const test::ResourceWatch watch;
        files = &watch;
        EXPECT_EQ(call(entry, 4, 4, 2, 0), 0);
    }
    EXPECT_EQ(flushes, 3);
}

TEST_F(FileEntries, FileDoesNotOpen) {
    const std::string missing = folder_.path("none/plane.bin");
    path_ = space_.addText("path", missing);
    for (const Entry entry : {kRead, kWrite, kReadRows, kWriteRows}) {
        test::clearEvents();
        EXPECT_EQ(call(entry, 1, 4, 1, 2), retStsFileError);
        const std::string lineEnd = entry == kRead || entry == kReadRows ? "\n" : "";
        EXPECT_TRUE(test::eventsWere(joined({kStart, {"info Can not open " + missing + " file!" + lineEnd}})));
    }
}

}  // namespace
}  // namespace eis
