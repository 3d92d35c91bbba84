// What the tests of the GPU path share: the program files under their fixed paths, and a clean layer.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/opencl_layer/opencl_test_layer.h"
#include "tests/harness/files.h"

namespace eis::test {

inline constexpr char kProgramPath[] = "/system/etc/camera/libcl/mfnr.cl";
inline constexpr char kProgramPathV2[] = "/system/etc/camera/libcl/mfnr_v2.cl";
inline constexpr char kArchitectureKey[] = "/proc/device-tree/orvi,gpu_arch";

// Whether the library's `access` finds a file.
void setAccessResult(bool present);
// What EGL answers: 0 works, 1 no display, 2 no initialisation.
void setEglFault(int fault);

// The fixture program, built for this machine's device.
std::string programSource();
std::string programBinary(const char* options);

// Skips the test where there is no device; checks at the end that nothing of OpenCL is left alive.
class GpuTest : public testing::Test {
  protected:
    void SetUp() override;
    void TearDown() override;

    // Puts content under one of the fixed paths for the rest of the test.
    void placeFile(const char* path, const std::string& content);

    TempFolder folder_;

  private:
    std::vector<std::unique_ptr<FileRedirect>> redirects_;
};

}  // namespace eis::test
