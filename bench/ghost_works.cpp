#include <cstring>
#include <memory>
#include <vector>

#include "bench/frame.h"
#include "bench/works.h"
#include "libCore/core/source/neon/GhostDetection_Multithread.h"
#include "libCore/core/source/neon/ghost/ghost_detection.h"
#include "libCore/core/source/neon/ghost/ghost_filter.h"

namespace eisbench {

namespace {

constexpr eis::GhostThresholds kThresholds{6, 10, 90};

// A frame and its reference, of one scene with different noise.
struct GhostWork {
    GhostWork(int width, int height)
        : frame(width, height),
          reference(width, height),
          copy(frame.bytes().size()),
          mask(static_cast<size_t>(frame.stride()) * height),
          filtered(static_cast<size_t>(width) * height / 16) {
        frame.fill(4);
        reference.fill(5);
        for (eis::ST_PICTURE* picture : {&in.img, &in.imgRef}) {
            Frame& planes = picture == &in.img ? frame : reference;
            *picture = {width, height, planes.stride(), {planes.plane(0), planes.plane(1), planes.plane(2)}, 0};
        }
        in.ghostEnable = 1;
        in.lumaTH_Low = in.chromaTH_Low = kThresholds.low;
        in.lumaTH_High = in.chromaTH_High = kThresholds.high;
        in.lumaNoiseTH = in.chromaNoiseTH = kThresholds.noise;
        out.pMask = mask.data();
        out.pGhostSize = &ghostSize;
    }

    void filter(void (*filterPlanes)(const eis::GhostPlanes&, const eis::GhostThresholds&)) {
        filterPlanes(
            {frame.plane(0), reference.plane(0), filtered.data(), mask.data(), frame.width() / 4, frame.height() / 4},
            kThresholds);
        benchmark::ClobberMemory();
    }

    Frame frame, reference;
    std::vector<uint8_t> copy;
    std::vector<uint8_t> mask;
    std::vector<int16_t> filtered;
    uint32_t ghostSize = 0;
    eis::ST_GHOSTDETECTION_PARAMS_IN in{};
    eis::ST_GHOSTDETECTION_PARAMS_OUT out{};
};

}  // namespace

void registerGhostWorks() {
    const auto work = std::make_shared<GhostWork>(4000, 3008);
    const std::string detection = "ghost detection, four threads 4000x3008";
    const std::string whole = "ghost detection, one thread 4000x3008";
    addRow(detection, "eis",
           [=] { benchmark::DoNotOptimize(eis::GhostDetection_Multithread_Maincall(&work->in, &work->out)); });
    addRow(whole, "eis",
           [=] { benchmark::DoNotOptimize(eis::GhostDetectionMFNRPrivate_UpScaleX16_neon(&work->in, &work->out)); });
    for (const std::string& name : {detection, whole}) {
        addRow(name, "memcpy of the planes", [=] {
            std::memcpy(work->copy.data(), work->frame.bytes().data(), work->copy.size());
            benchmark::ClobberMemory();
        });
    }
    const std::string filter = "ghost filter, quarter size";
    addRow(filter, "eis", [=] { work->filter(eis::GhostFilter); });
    addRow(filter, "plain", [=] { work->filter(eis::GhostFilter_plain); });
}

}  // namespace eisbench
