// What the tests of the GPU path share: the program files under their fixed paths, and a layer that presents two
// platforms and two devices, the second of which are to be chosen, and puts each OpenCL call into the journal of
// events.h. Thread names go there too.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/opencl_layer/opencl_test_layer.h"
#include "tests/harness/events.h"
#include "tests/harness/files.h"

namespace eis::test {

inline constexpr char kProgramPath[] = "/system/etc/camera/libcl/mfnr.cl";
inline constexpr char kProgramPathV2[] = "/system/etc/camera/libcl/mfnr_v2.cl";
inline constexpr char kArchitectureKey[] = "/proc/device-tree/orvi,gpu_arch";

void recordCall(const char* call);
inline const EisLayerSettings kPresented{.extraVendor = "ARM Ltd.", .observer = recordCall};
// Starts a fresh journal, and the layer anew.
void resetLayer(EisLayerSettings settings, int failCall = 0, bool failKeepsObject = false);

// The OpenCL calls among the events.
Events openClCalls();

// What the library's `access` says, and EGL: 0 works, 1 no display, 2 no initialisation.
inline int g_accessResult = 0;
inline int g_eglFault = 0;

// The fixture program, and its build for this machine's device.
std::string programSource();
std::string programBinary(const char* options);

// Skips the test where there is no device; checks at the end that nothing of OpenCL is left alive.
class GpuTest : public testing::Test {
  protected:
    void SetUp() override;
    void TearDown() override;

    // Puts content under one of the fixed paths for the rest of the test.
    void placeFile(const std::string& path, const std::string& content);

  private:
    TempFolder folder_;
    std::vector<std::unique_ptr<FileRedirect>> redirects_;
};

}  // namespace eis::test
