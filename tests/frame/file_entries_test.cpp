// The four file entries: transfers, order of callbacks and log lines, failures.
#include <gtest/gtest.h>
#include <sys/mman.h>

#include <cstring>
#include <numeric>
#include <string>
#include <vector>

#include "include/acore_api.h"
#include "tests/harness/calls.h"
#include "tests/harness/device_space.h"
#include "tests/harness/events.h"
#include "tests/harness/files.h"

namespace eis {
namespace {

using test::Events;
using test::readFile;
using test::writeFile;

constexpr char kText[] = "0123456789abcdefghij";
const Events kStart{"convert path", "convert buffer", "invalidate path", "invalidate buffer"};

Events after(Events start, const Events& rest) {
    start.insert(start.end(), rest.begin(), rest.end());
    return start;
}

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

    ret_status read(uint32_t size, uint32_t count, int32_t offset) {
        const ST_FILE_BLOCK block{path_, data_, size, count, offset};
        return ivp_fread(&block);
    }
    ret_status write(uint32_t size, uint32_t count, int32_t append) {
        const ST_FILE_BLOCK block{path_, data_, size, count, append};
        return ivp_fwrite(&block);
    }
    ret_status readRows(uint32_t rowBytes, uint32_t pitch, int32_t rows, int32_t offset) {
        const ST_FILE_ALIGN_BLOCK block{path_, data_, 77, rowBytes, pitch, rows, offset};
        return ivp_fread_align(&block);
    }
    ret_status writeRows(uint32_t rowBytes, uint32_t pitch, int32_t rows, int32_t append) {
        const ST_FILE_ALIGN_BLOCK block{path_, data_, 77, rowBytes, pitch, rows, append};
        return ivp_fwrite_align(&block);
    }

    test::TempFolder folder_;
    test::DeviceSpace space_;
    std::string filePath_;
    std::vector<char> buffer_;
    DeviceAddress path_;
    DeviceAddress data_;
};

TEST_F(FileEntries, Read) {
    const struct {
        uint32_t size, count;
        int32_t offset;
        const char* expected;
    } cases[] = {
        {1, 20, 0, "0123456789abcdefghij"},
        {4, 3, 2, "23456789abcd"},
        {8, 9, 15, "fghij"},     // short: what there is
        {4, 2, 20, ""},          // from the end
        {4, 2, 500, ""},         // past it
        {4, 2, -1, "01234567"},  // a seek that fails changes nothing
        {0, 5, 0, ""},
        {5, 0, 0, ""},
    };
    writeFile(filePath_, kText);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.offset);
        test::clearEvents();
        fillBuffer("");
        EXPECT_EQ(read(c.size, c.count, c.offset), 0);
        EXPECT_EQ(bufferText(), c.expected);
        const std::string position = "info File Position [" + std::to_string(c.offset) + "]\n";
        EXPECT_TRUE(test::eventsWere(after(kStart, {position, "flush buffer"})));
    }
}

TEST_F(FileEntries, Write) {
    const struct {
        uint32_t size, count;
        int32_t append;
        const char* expected;
    } steps[] = {{2, 5, 0, "0123456789"},
                 {1, 3, 1, "0123456789012"},
                 {3, 1, -5, "0123456789012012"},
                 {4, 1, 0, "0123"},
                 {4, 0, 0, ""}};
    fillBuffer(kText);
    for (const auto& step : steps) {
        test::clearEvents();
        EXPECT_EQ(write(step.size, step.count, step.append), 0);
        EXPECT_EQ(readFile(filePath_), step.expected);
        EXPECT_TRUE(test::eventsWere(after(kStart, {"flush buffer"})));
    }
}

TEST_F(FileEntries, ReadRows) {
    const struct {
        uint32_t rowBytes, pitch;
        int32_t rows, offset;
        const char* expected;
    } cases[] = {
        {4, 6, 3, 0, "0123..4567..89ab"},
        {5, 5, 2, 1, "123456789a"},
        {6, 2, 3, 0, "0167cdefgh"},
        {8, 10, 4, 8, "89abcdef..ghij"},  // a short row, then none
        {4, 6, 0, 3, ""},
        {4, 6, -2, 3, ""},
    };
    writeFile(filePath_, kText);
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.rowBytes << " bytes of " << c.pitch << ", rows " << c.rows);
        test::clearEvents();
        fillBuffer("");
        EXPECT_EQ(readRows(c.rowBytes, c.pitch, c.rows, c.offset), 0);
        EXPECT_EQ(bufferText(), c.expected);
        const std::string position = "info File Position [" + std::to_string(c.offset) + "]\n";
        EXPECT_TRUE(test::eventsWere(after(kStart, {position, "flush buffer"})));
    }
}

TEST_F(FileEntries, WriteRows) {
    const struct {
        uint32_t rowBytes, pitch;
        int32_t rows, append;
        const char* expected;
    } steps[] = {{3, 5, 2, 0, "012567"}, {2, 1, 3, 9, "012567011223"}, {4, 4, -1, 1, "012567011223"}, {4, 4, 0, 0, ""}};
    fillBuffer(kText);
    for (const auto& step : steps) {
        test::clearEvents();
        EXPECT_EQ(writeRows(step.rowBytes, step.pitch, step.rows, step.append), 0);
        EXPECT_EQ(readFile(filePath_), step.expected);
        // No flush: the buffer was only read.
        EXPECT_TRUE(test::eventsWere(kStart));
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
    EXPECT_EQ(readRows(5, kHalf, 3, 0), 0);
    EXPECT_EQ(std::string(bytes, 6), std::string("abcde\0", 6));
    EXPECT_EQ(std::string(bytes + kHalf, 6), std::string("56789\0", 6));
    EXPECT_EQ(writeRows(5, kHalf, 3, 0), 0);
    EXPECT_EQ(readFile(filePath_), "abcde56789abcde");
    munmap(memory, kHalf + 4096);
}

TEST_F(FileEntries, AddressesThatDoNotConvert) {
    const std::function<int()> entries[] = {[&] { return read(1, 20, 3); }, [&] { return write(1, 20, 0); },
                                            [&] { return readRows(4, 4, 2, 3); },
                                            [&] { return writeRows(4, 4, 2, 0); }};
    const struct {
        const char* refused;
        int entry;
        int status;
        Events rest;
        const char* fileAfter;
    } cases[] = {
        {"path", 0, retStsFileError, {"info Can not open (null) file!\n"}, kText},
        {"path", 1, retStsFileError, {"info Can not open (null) file!"}, kText},
        {"path", 2, retStsFileError, {"info Can not open (null) file!\n"}, kText},
        {"path", 3, retStsFileError, {"info Can not open (null) file!"}, kText},
        // Without a buffer the transfer alone is left out.
        {"buffer", 0, retStsOK, {"info File Position [3]\n", "flush null"}, kText},
        {"buffer", 1, retStsOK, {"flush null"}, ""},
        {"buffer", 2, retStsFileError, {"info Read Buf is NULL!\n"}, kText},
        {"buffer", 3, retStsBadAddress, {"info Write Buf is NULL!\n"}, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.refused << " of entry " << c.entry);
        writeFile(filePath_, kText);
        space_.refuse(c.refused);
        test::clearEvents();
        const test::ResourceWatch watch;
        EXPECT_EQ(entries[c.entry](), c.status);
        EXPECT_TRUE(watch.nothingLeft());
        const bool noPath = std::strcmp(c.refused, "path") == 0;
        EXPECT_TRUE(
            test::eventsWere(after({"convert path", "convert buffer", noPath ? "invalidate null" : "invalidate path",
                                    noPath ? "invalidate buffer" : "invalidate null"},
                                   c.rest)));
        EXPECT_EQ(readFile(filePath_), c.fileAfter);
        space_.allow();
    }
}

TEST_F(FileEntries, FileDoesNotOpen) {
    const struct {
        std::function<int()> run;
        const char* lineEnd;
        Events good;
    } cases[] = {{[&] { return read(1, 4, 2); }, "\n", {"info File Position [2]\n", "flush buffer"}},
                 {[&] { return write(1, 4, 0); }, "", {"flush buffer"}},
                 {[&] { return readRows(4, 4, 1, 2); }, "\n", {"info File Position [2]\n", "flush buffer"}},
                 {[&] { return writeRows(4, 4, 1, 1); }, "", {}}};
    for (const auto& c : cases) {
        const int failing =
            test::failEachInTurn({.calls = test::kFopen | test::kAllocation,
                                  .prepare = [&] { writeFile(filePath_, kText); },
                                  .run = c.run,
                                  .failed =
                                      [&](int result, int) {
                                          EXPECT_EQ(result, retStsFileError);
                                          EXPECT_TRUE(test::eventsWere(after(
                                              kStart, {"info Can not open " + filePath_ + " file!" + c.lineEnd})));
                                          EXPECT_EQ(readFile(filePath_), kText);
                                      },
                                  .succeeded =
                                      [&](int result) {
                                          EXPECT_EQ(result, 0);
                                          EXPECT_TRUE(test::eventsWere(after(kStart, c.good)));
                                      }});
        EXPECT_EQ(failing, 1);
    }
    // The same for a folder that is not there, in its own words.
    path_ = space_.addText("path", folder_.path("none/plane.bin"));
    test::clearEvents();
    EXPECT_EQ(write(1, 4, 1), retStsFileError);
    EXPECT_TRUE(test::logWas({"info Can not open " + folder_.path("none/plane.bin") + " file!"}));
}

}  // namespace
}  // namespace eis
