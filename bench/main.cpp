// Timings of the library's main work beside peers, in one process, single-threaded unless a row says otherwise.
#include <opencv2/core.hpp>

#include "bench/frame.h"
#include "bench/ratios.h"
#include "bench/works.h"

// The log is not what is timed.
extern "C" int __android_log_print(int /*priority*/, const char* /*tag*/, const char* /*format*/, ...) {
    return 0;
}

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
    cv::setNumThreads(1);
    eisbench::installCallbacks();
    eisbench::registerScaleWorks();
    eisbench::registerRegistrationWorks();
    eisbench::registerDenoiseWorks();
    eisbench::RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.printRatios();
    return 0;
}
