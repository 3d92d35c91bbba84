// Timings of the library's main work beside peers, in one process, single-threaded unless a row says otherwise.
// --goals measures the speed goals instead: --only REGEX some of them, --rounds N, --target avx2 without AVX-512.
#include <hwy/targets.h>

#include <cstring>
#include <opencv2/core.hpp>

#include "bench/frame.h"
#include "bench/ratios.h"
#include "bench/works.h"

// The log is not what is timed.
extern "C" int __android_log_print(int /*priority*/, const char* /*tag*/, const char* /*format*/, ...) {
    return 0;
}

namespace {

int goalsUsage() {
    std::fprintf(stderr, "eis-bench --goals [--only REGEX] [--rounds N] [--target avx2]\n");
    return 2;
}

int measureGoals(int argc, char** argv) {
    eisbench::Goals::Options options;
    for (int i = 0; i < argc; i += 2) {
        const std::string name = argv[i];
        if (i + 1 == argc) return goalsUsage();
        const char* value = argv[i + 1];
        if (name == "--only") {
            options.only = value;
        } else if (name == "--rounds" && std::atoi(value) > 0) {
            options.rounds = std::atoi(value);
        } else if (name == "--target" && std::strcmp(value, "avx2") == 0) {
            hwy::DisableTargets(HWY_AVX3 | HWY_AVX3_DL);
        } else {
            return goalsUsage();
        }
    }
    const int64_t targets = hwy::SupportedTargets() & HWY_TARGETS;
    hwy::GetChosenTarget().Update(targets);  // asking has chosen among all of them
    options.avx3 = (targets & HWY_AVX3) != 0;
    options.targetName = hwy::TargetName(targets & -targets);
    eisbench::Goals goals(options);
    eisbench::addScaleGoals(goals);
    eisbench::addRegistrationGoals(goals);
    eisbench::addDenoiseGoals(goals);
    eisbench::addControlGoals(goals);
    goals.measure();
    goals.print();
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    eisbench::installCallbacks();
    if (argc > 1 && std::strcmp(argv[1], "--goals") == 0) {
        try {
            return measureGoals(argc - 2, argv + 2);
        } catch (const std::exception& fault) {  // of the regular expression
            std::fprintf(stderr, "eis-bench: %s\n", fault.what());
            return 2;
        }
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
    cv::setNumThreads(1);
    eisbench::registerScaleWorks();
    eisbench::registerRegistrationWorks();
    eisbench::registerDenoiseWorks();
    eisbench::registerGhostWorks();
    eisbench::registerTuningWorks();
    eisbench::RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.printRatios();
    return 0;
}
