// A reference frame, a frame to align and their matches in device memory, with the blocks of both registration entries.
#pragma once

#include <string>
#include <vector>

#include "include/acore_api.h"
#include "tests/harness/device_space.h"
#include "tests/harness/watchdog.h"
#include "tests/registration/pairs.h"
#include "tests/registration/pictures.h"

namespace eis::test {

// A block of device memory at an odd address, at the end of its pages.
class OddBlock {
  public:
    explicit OddBlock(size_t bytes) : memory_(bytes, {Placement::kAtEnd, bytes % 2 == 0 ? 1 : 0}) {}
    uint8_t* data() const { return memory_.data(); }
    size_t size() const { return memory_.size(); }
    template <class T>
    T at(size_t i) const {
        return loadUnaligned<T>(data() + i * sizeof(T));
    }
    template <class T>
    void put(size_t i, T value) const {
        storeUnaligned(data() + i * sizeof(T), value);
    }

  private:
    GuardedMemory memory_;
};

struct SceneOptions {
    int width = 600;
    int height = 464;
    double shift = 12;  // of the frame's content to the right, in pixels
    int matches = 80;   // one in eight of them wrong
    int idx = 1;
    int noise = 0;  // of the matches, in pixels
    uint64_t seed = 41;
};

// Buffers are named context, in, out, homography, status, refPoints, curPoints, curIndex, refIndex, distance, refTable,
// curTable and ref0 to ref2, cur0 to cur2, out0 to out2. All but blocks and planes stand at odd addresses.
class Scene {
  public:
    explicit Scene(const SceneOptions& options = {});

    // Puts everything that a call writes back in order.
    void reset();
    ret_status clean() { return RansacEst_AcoreAPI_EIS(&context); }
    ret_status run() {
        return watched("threads of a warp or a copy do not end", [this] { return Ransac_Regis_AcoreAPI_EIS(&block); });
    }

    static bool isWrong(int match) { return match % 8 == 5; }

    SceneOptions options;
    DeviceSpace space;
    OddBlock refTable;
    OddBlock curTable;
    OddBlock refIndex;
    OddBlock curIndex;
    OddBlock distance;
    OddBlock refPoints;
    OddBlock curPoints;
    OddBlock homography{eisSizeOfHomography()};
    OddBlock status{4};
    YuvPicture reference;
    YuvPicture frame;
    YuvPicture output;
    YuvPicture before;  // what the output holds before a call
    RansacEstParaContext context{};
    ST_REGISTRATION_IN_BLOCK in{};
    ST_REGISTRATION_OUT_BLOCK out{};
    ST_RANSAC_REGIS_BLOCK block{};
};

}  // namespace eis::test
