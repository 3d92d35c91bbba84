// A reference frame, a frame to align and their matches in device memory, with the blocks of both registration entries.
#pragma once

#include <string>
#include <vector>

#include "include/acore_api.h"
#include "tests/harness/device_space.h"
#include "tests/harness/events.h"
#include "tests/registration/pairs.h"
#include "tests/registration/pictures.h"

namespace eis::test {

// A block of device memory at an odd address, at the end of its pages.
class OddBlock {
  public:
    explicit OddBlock(size_t bytes) : memory_(bytes, {Placement::kAtEnd, bytes % 2 == 0 ? 1 : 0}) {}
    uint8_t* data() const { return memory_.data(); }
    size_t size() const { return memory_.size(); }
    std::vector<uint8_t> bytes() const { return {data(), data() + size()}; }
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
};

// Buffers are named context, in, out, homography, status, refPoints, curPoints, curIndex, refIndex, distance, refTable,
// curTable and ref0 to ref2, cur0 to cur2, out0 to out2. All but blocks and planes stand at odd addresses.
class Scene {
  public:
    static constexpr int32_t kNoStatus = 77;

    explicit Scene(const SceneOptions& options = {});

    // Puts everything that a call writes back in order.
    void reset();
    ret_status clean() { return RansacEst_AcoreAPI_EIS(&context); }
    ret_status run() { return Ransac_Regis_AcoreAPI_EIS(&block); }

    int32_t statusWord() const { return status.at<int32_t>(0); }
    bool homographyUntouched() const { return homography.bytes() == std::vector<uint8_t>(36, 0xEE); }
    bool homographyIsIdentity() const;
    bool outputUntouched() const { return static_cast<bool>(samePictures(output, before)); }
    bool pointsUntouched() const {
        const std::vector<uint8_t> filled(refPoints.size(), 0xEE);
        return refPoints.bytes() == filled && curPoints.bytes() == filled;
    }
    static bool isWrong(int match) { return match % 8 == 5; }
    // The number of pairs that are right.
    int inliers() const;

    SceneOptions options;
    DeviceSpace space;
    OddBlock refTable;
    OddBlock curTable;
    OddBlock refIndex;
    OddBlock curIndex;
    OddBlock distance;
    OddBlock refPoints;
    OddBlock curPoints;
    OddBlock homography{36};
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

// The journal of RansacEst_AcoreAPI_EIS for a block that says so many pairs, all its addresses good.
Events cleaningEvents(int pointNum);
// What an entry shows for planes: "convert ref0" and so on.
Events forPlanes(const std::string& what, const std::string& picture);

}  // namespace eis::test
