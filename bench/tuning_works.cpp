#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "bench/frame.h"
#include "bench/works.h"
#include "include/acore_api.h"

namespace eisbench {

namespace {

constexpr size_t kFileBytes = 10'000'000;

// A tuning file of 10 MB in two folders: loads from the one and the other in turns read it each time.
class TuningWork {
  public:
    explicit TuningWork(const std::string& piece) {
        std::string folder = std::filesystem::temp_directory_path() / "eis-bench-XXXXXX";
        if (mkdtemp(folder.data()) == nullptr) throw std::runtime_error("no folder for tuning files");
        folder_ = folder;
        std::string content = "<?xml version='1.0'?><Config>";
        while (content.size() < kFileBytes) content += piece;
        content += "<NoiseReduction/></Config>";
        for (std::string& prefix : prefixes_) {
            prefix = folder_ / ("copy" + std::to_string(&prefix - prefixes_)) / "";
            std::filesystem::create_directory(prefix);
            std::ofstream(prefix + "multiframe.xml", std::ios::binary) << content;
        }
    }
    TuningWork(const TuningWork&) = delete;
    TuningWork& operator=(const TuningWork&) = delete;
    ~TuningWork() { std::filesystem::remove_all(folder_); }

    void load() {
        which_ = 1 - which_;
        loadAgain();
    }
    void loadAgain() {
        const ST_PARSE_XML_IN block{deviceAddress(&record_), prefixes_[which_].c_str()};
        benchmark::DoNotOptimize(ParseXML_AcoreAPI_EIS(&block));
    }

  private:
    std::filesystem::path folder_;
    std::string prefixes_[2];
    int which_ = 0;
    ST_CONFIG_XML record_{};
};

}  // namespace

void registerTuningWorks() {
    const auto add = [](const char* name, const char* piece, void (TuningWork::*body)()) {
        benchmark::RegisterBenchmark(name,
                                     [=](benchmark::State& state) {
                                         TuningWork work(piece);
                                         work.load();
                                         for (auto _ : state) (work.*body)();
                                     })
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime();
    };
    // The shapes that take longest: the most elements in 10 MB, beside each other and inside each other.
    add("tuning file of 10 MB, elements side by side/eis", "<x/>", &TuningWork::load);
    add("tuning file of 10 MB, nested elements/eis", "<x>", &TuningWork::load);
    add("tuning file of 10 MB, loaded again/eis", "<x/>", &TuningWork::loadAgain);
}

}  // namespace eisbench
