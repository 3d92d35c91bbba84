// eis-lab gpu, on this machine's OpenCL behind the test layer.
#include <gtest/gtest.h>

#include "host/picture.h"
#include "opencl/cl_platform.h"
#include "tests/hostcli/cli.h"
#include "tests/hosttools/scratch_folder.h"

namespace {

using eishost::Picture;

TEST(LabGpu, FiltersAFrame) {
    cl_uint platforms = 0;
    if (clGetPlatformIDs(0, nullptr, &platforms) != CL_SUCCESS || platforms == 0) GTEST_SKIP() << "no OpenCL device";
    const eishost::ScratchFolder folder;
    Picture frame(64, 32);
    Picture reference(64, 32);
    Picture mask(64, 32);
    for (int i = 0; i < 64 * 32; ++i) {
        frame.planes[0][i] = 100;
        reference.planes[0][i] = 200;
        mask.planes[0][i] = i % 64 < 32 ? 255 : 0;
    }
    const auto file = [&](const char* name) { return folder.file(std::string(name) + ".y4m"); };
    eishost::savePicture(file("frame"), frame);
    eishost::savePicture(file("reference"), reference);
    eishost::savePicture(file("mask"), mask);
    const std::string common = "gpu " + file("frame") + " " + file("reference") + " --mask " + file("mask") +
                               " --out " + file("out") + " --alpha 64 --program ";
    EXPECT_EQ(eishost::runCli(common + "missing.cl").exitCode, 70);
    const eishost::CliResult run = eishost::runCli(common + EIS_TEST_FOLDER "/../gpu/program_fixture.cl");
    ASSERT_EQ(run.exitCode, 0) << run.err;
    const Picture out = eishost::loadPicture(file("out"));
    EXPECT_EQ(out.planes[0][5], 100) << "masked";
    EXPECT_EQ(out.planes[0][40], 125);
}

}  // namespace
