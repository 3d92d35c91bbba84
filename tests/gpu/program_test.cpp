// Program files and the builds from them.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <memory>

#include "opencl/opencl_program.h"
#include "opencl/program_file.h"
#include "tests/gpu/gpu_fixture.h"
#include "tests/harness/calls.h"
#include "tests/harness/events.h"

namespace eis {
namespace {

using test::Events;
using test::logWas;

class Program : public test::GpuTest {
  protected:
    void SetUp() override {
        GpuTest::SetUp();
        if (IsSkipped()) return;
        ASSERT_EQ(setupOpencl(&foundation_, "ARM"), 0);
    }
    void TearDown() override {
        if (foundation_ != nullptr) cleanOpencl(foundation_);
        if (!IsSkipped()) GpuTest::TearDown();
    }

    int build(const char* path, int mode) {
        OpenCLAlgoContext* algo = nullptr;
        const int status = setupOpencl_algo(foundation_, path, mode, &algo);
        EXPECT_EQ(algo != nullptr, status == 0);
        if (algo != nullptr) {
            EXPECT_EQ(releaseProgram(algo), 0);
            std::free(algo);
        }
        return status;
    }

    OpenCLFoundation* foundation_ = nullptr;
};

TEST_F(Program, IsBuiltFromABinaryOrSourceOrSaysWhyNot) {
    placeFile("source.cl", test::programSource());
    placeFile("empty", "");
    placeFile("no program", "this is no program binary, whatever its name says");
    placeFile("lacking", test::programBinary("-DWITHOUT_BYTE_TO_BIT"));
    placeFile("broken.cl", "__kernel void temporalfilter( {");
    struct Case {
        const char* path;
        int mode;
        Events log;
    };
    const Case cases[] = {
        {test::kProgramPath, 1, {}},
        {"source.cl", 0, {}},
        {"missing",
         1,
         {"error ERROR: Failed to open file 'missing'\n",
          "error [GPU]: clCreateProgramWithBinary fail to create program, status = *"}},
        {"empty",
         1,
         {"error ERROR: Failed to check position on file 'empty'\n",
          "error [GPU]: clCreateProgramWithBinary fail to create program, status = *"}},
        {"no program", 1, {"error [GPU]: clCreateProgramWithBinary fail to create program, status = *"}},
        {"lacking", 1, {"error ERROR: Failed to create byteToBit. status = -46\n"}},
        {"broken.cl", 0, {"error [GPU]: clBuildProgram fail to build program, status = -11. build log:\n*error*"}},
        {"missing",
         0,
         {"error ERROR: Failed to open file 'missing'\n",
          "error [GPU]: clCreateProgramWithSource fail to create program, status = *",
          "error [GPU]: clBuildProgram fail to build program, status = *. build log:\n*"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.path);
        test::clearEvents();
        EXPECT_EQ(build(c.path, c.mode) == 0, c.log.empty());
        EXPECT_TRUE(logWas(c.log));
    }
}

TEST(ProgramInput, NullsAreRefused) {
    OpenCLAlgoContext empty{};
    EXPECT_EQ(buildProgram(nullptr, "", 1), -34);
    EXPECT_EQ(buildProgram(&empty, "", 1), -34);
    EXPECT_EQ(releaseProgram(nullptr), -34);
    EXPECT_EQ(releaseProgram(&empty), 0);
    EXPECT_EQ(allocParamBuffer(nullptr), -34);
    EXPECT_EQ(allocParamBuffer(&empty), -34);
    EXPECT_EQ(releaseParamBuffer(nullptr), -34);
    EXPECT_EQ(releaseParamBuffer(&empty), 0);
    EXPECT_TRUE(logWas({"error [GPU]: buildProgram input pCtxAlgo is NULL.\n",
                        "error [GPU]: buildProgram OpenCL foundation context is NULL.\n",
                        "error [GPU]: releaseProgram input pCtxAlgo is NULL.\n",
                        "error [GPU]: allocParamBuffer input pCtxAlgo is NULL.\n",
                        "error [GPU]: allocParamBuffer OpenCL foundation context is NULL.\n",
                        "error [GPU]: releaseParamBuffer input pCtxAlgo is NULL.\n"}));
}

TEST(ProgramFile, IsReadWholeOrNotAtAll) {
    const test::TempFolder folder;
    const std::string path = folder.path("bytes");
    test::writeFile(path, std::string("a\0b\n", 4));
    size_t size = 0;
    const std::unique_ptr<unsigned char, decltype(&std::free)> binary(ReadProgramBinary(path.c_str(), &size),
                                                                      std::free);
    ASSERT_NE(binary, nullptr);
    EXPECT_EQ(size, 4u);
    EXPECT_EQ(std::memcmp(binary.get(), "a\0b\n", 5), 0);
    const std::unique_ptr<char, decltype(&std::free)> text(ReadProgramText(path.c_str()), std::free);
    EXPECT_STREQ(text.get(), "a");

    for (const auto& [fails, what] :
         {std::pair{test::kFopen, "open"}, {test::kMalloc, "allocate memory for"}, {test::kFread, "read"}}) {
        test::clearEvents();
        const test::ResourceWatch watch;
        const test::FailNth fail(fails, 1);
        EXPECT_EQ(ReadProgramBinary(path.c_str(), &size), nullptr);
        EXPECT_TRUE(watch.nothingLeft());
        EXPECT_TRUE(logWas({std::string("error ERROR: Failed to ") + what + " file '" + path + "'\n"}));
    }
}

}  // namespace
}  // namespace eis
