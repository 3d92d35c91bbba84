// eis-lab gpu, on this machine's OpenCL behind the test layer.
#include <gtest/gtest.h>

#include <cstdlib>

#include "host/picture/picture.h"
#include "opencl/cl_platform.h"
#include "tests/harness/files.h"
#include "tests/harness/tools/cli.h"

namespace {

using eishost::Picture;

TEST(LabGpu, FiltersAFrame) {
    cl_uint platforms = 0;
    if (clGetPlatformIDs(0, nullptr, &platforms) != CL_SUCCESS || platforms == 0) GTEST_SKIP() << "no OpenCL device";
    const eis::test::TempFolder folder;
    Picture frame(68, 32);
    Picture reference(68, 32);
    Picture mask(68, 32);
    for (int i = 0; i < 68 * 32; ++i) {
        frame.planes[0][i] = 100;
        reference.planes[0][i] = 200;
        mask.planes[0][i] = i % 68 < 32 ? 255 : 0;
    }
    const auto file = [&](const char* name) { return folder.path(std::string(name) + ".y4m"); };
    eishost::savePicture(file("frame"), frame);
    eishost::savePicture(file("reference"), reference);
    eishost::savePicture(file("mask"), mask);
    // The frame comes and the result goes by a pipe, through the restart behind the layer and one of the user's.
    setenv("OPENCL_LAYERS", "user.so", 1);
    const std::string common = "gpu - " + file("reference") + " --mask " + file("mask") + " --alpha 64 --out - <" +
                               file("frame") + " --program ";
    const eishost::CliResult missing = eishost::runCli(common + "missing.cl");
    EXPECT_EQ(missing.exitCode, 2);
    EXPECT_NE(missing.err.find("missing.cl: "), std::string::npos) << missing.err;
    const eishost::CliResult run = eishost::runCli(common + EIS_TEST_FOLDER "/../gpu/program_fixture.cl");
    ASSERT_EQ(run.exitCode, 0) << run.err;
    for (const char* note : {".so:user.so\n", "last 4 columns"}) EXPECT_NE(run.err.find(note), std::string::npos);
    const Picture out = eishost::loadPicture(folder.write("out.y4m", run.out));
    EXPECT_EQ(out.planes[0][5], 100) << "masked";
    EXPECT_EQ(out.planes[0][40], 125);
    EXPECT_EQ(out.planes[0][67], 100) << "not filtered";
}

}  // namespace
