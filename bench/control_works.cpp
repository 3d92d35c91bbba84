#include <array>

#include "bench/frame.h"
#include "bench/works.h"
#include "include/acore_api.h"
#include "libCore/core/source/control/control_curves.h"

namespace eisbench {

namespace {

struct ControlWork {
    ST_FAST_DN2D_CONTROL control{deviceAddress(tables.data()), {}, -60, -60, 10, -60, 60, 1.2F};

    void ours() { benchmark::DoNotOptimize(CalcFastDn2dControl_AcoreAPI(&control)); }

    // The entry's five curves, one power an entry.
    void plain() {
        eis::BuildLumaCurve_plain(tables.data() + kFastLuma, 110);
        eis::BuildChromaCurve_plain(tables.data() + kFastChroma, 12);
        eis::BuildChromaCurve_plain(tables.data() + kFastShading, 14);
        eis::BuildThresholdCurve_plain(tables.data() + kFastThreshold, 60);
        eis::BuildTailCurve_plain(tables.data() + kFastTail, 16);
        benchmark::DoNotOptimize(tables.data());
    }

    static std::array<int16_t, kFastEntries> tables;
};

std::array<int16_t, kFastEntries> ControlWork::tables;

}  // namespace

void addControlGoals(Goals& goals) {
    const std::string name = "strength tables of the fast denoiser";
    if (!goals.wanted(name)) return;
    const auto work = std::make_shared<ControlWork>();
    goals.addTiming(name, {[=] { work->ours(); }});
    goals.addTiming("plain " + name, {[=] { work->plain(); }});
    goals.addGoal(name, {"plain " + name}, {1.0 / 2, 1.0 / 2});
}

}  // namespace eisbench
