// Every entry that takes a block, on buffers of the bytes that the functions in the headers give, each of which ends at
// a protected page: one after the other, and all at once as far as the table of acore_api.h lets them.
#include <gtest/gtest.h>

#include <deque>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "host/dsp/dsp_arena.h"
#include "include/acore_api.h"
#include "tests/harness/content.h"
#include "tests/harness/files.h"
#include "tests/harness/planes.h"
#include "tests/harness/watchdog.h"

namespace eis::test {

namespace {

using Bytes = std::vector<uint8_t>;

struct Size {
    int32_t width;
    int32_t height;
    int32_t stride;
};

// A call and its buffers.
class Job {
  public:
    Job(std::string jobName, eishost::DspArena& arena) : name(std::move(jobName)), arena_(arena) {}

    // A buffer of as many elements of T as the bytes hold.
    template <class T, class Value>
    DeviceAddress list(size_t bytes, Value value) {
        const GuardedMemory& memory = memory_.emplace_back(bytes);
        for (size_t i = 0; i < bytes / sizeof(T); ++i) {
            const T element = static_cast<T>(value(i));
            std::memcpy(memory.data() + i * sizeof(T), &element, sizeof(T));
        }
        before_.emplace_back(memory.data(), memory.data() + bytes);
        return arena_.share(memory.data(), bytes, name);
    }
    template <class T>
    DeviceAddress put(const T& record) {
        return list<T>(sizeof(T), [&](size_t) { return record; });
    }
    DeviceAddress text(const std::string& words) {
        return list<char>(words.size() + 1, [&](size_t i) { return words.c_str()[i]; });
    }
    DeviceAddress plane(size_t bytes) {
        return list<uint8_t>(bytes, [](size_t i) { return 60 + (i >> 5 & 63) + (i * 2654435761U >> 20 & 7); });
    }
    ST_PICTURE_DEV picture(const Size& s, size_t luma, size_t chroma) {
        return {s.width, s.height, s.stride, {plane(luma), plane(chroma), plane(chroma)}, 2};
    }

    // The same call each time.
    ret_status runAfresh() const {
        for (size_t i = 0; i < memory_.size(); ++i)
            std::memcpy(memory_[i].data(), before_[i].data(), before_[i].size());
        return run();
    }
    uint64_t digestAll() const {
        uint64_t value = 0;
        for (const GuardedMemory& memory : memory_) value = value * 31 + digest(memory.data(), memory.size());
        return value;
    }
    testing::AssertionResult surroundingsIntact() const {
        for (const GuardedMemory& memory : memory_) {
            if (const auto intact = memory.surroundingsIntact(); !intact) return intact;
        }
        return testing::AssertionSuccess();
    }
    // Of the buffer that was made last.
    template <class T>
    T* last() const {
        return reinterpret_cast<T*>(memory_.back().data());
    }

    std::string name;
    std::function<ret_status()> run;

  private:
    eishost::DspArena& arena_;
    std::deque<GuardedMemory> memory_;
    std::vector<Bytes> before_;
};

template <class Block>
std::function<ret_status()> callOf(ret_status (*entry)(const Block*), const Block& block) {
    return [=] { return entry(&block); };
}

void makeScale(Job& job, const Size& s) {
    const Size half{s.width / 2, s.height / 2, s.stride / 2};
    const ST_SCALE_BLOCK block{half.width,
                               half.height,
                               half.stride,
                               s.width,
                               s.height,
                               s.stride,
                               2,
                               job.plane(eisSizeOfScaleLuma(s.stride, s.height)),
                               job.plane(eisSizeOfScaleChroma(s.stride, s.height)),
                               job.plane(eisSizeOfScaleLuma(half.stride, half.height)),
                               job.plane(eisSizeOfScaleChroma(half.stride, half.height))};
    job.run = callOf(Scale_Bilinear_AcoreAPI, block);
}

// Everything on; a mask of so many bytes.
ST_DN_PARAMS_NEW denoiseParams(Job& job, size_t maskBytes) {
    ST_DN_PARAMS_NEW dn{};
    dn.pMaskIIR = job.plane(maskBytes);
    dn.lumaMed = dn.lumaNrEnable = dn.chromaNrEnable = 1;
    dn.lumaLF = dn.lumaHF1 = -50;
    dn.detail = -80;
    dn.chromaS = 20;
    dn.chromaEdgeLevel = 65;
    dn.chromaEdgeAlpha = 192;
    dn.chromaGainIndex = 3;
    dn.pSpatialChromaNrLUT = job.list<uint32_t>(eisSizeOfChromaThresholds(), [](size_t i) { return 60 + i; });
    return dn;
}

void makeSpatial(Job& job, const Size& s) {
    ST_MULTIDENOISE_PARAMS_IN_DEV in{};
    in.stDNParams = denoiseParams(job, 1);
    const ST_MULTIDENOISE_PARAMS_OUT_DEV out{
        job.picture(s, eisSizeOfDenoiseLuma(s.width, s.height), eisSizeOfDenoiseChroma(s.width, s.height))};
    job.run = callOf(SpatialNrHLMain_ACoreApi, ST_SPATIAL_NR_CALL_BLOCK{job.put(in), job.put(out)});
}

void makeChroma(Job& job, const Size& s, bool low) {
    const size_t planeBytes = eisSizeOfChromaPlane(s.stride, s.height);
    const auto scratch = static_cast<int32_t>(chromaScratchSize(s.width, s.height));
    const ST_DN_PARAMS_NEW dn = denoiseParams(job, low ? eisSizeOfMotionMask(s.width, s.stride, s.height) : 1);
    const ST_CHROMA_CALL_BLOCK block{job.put(dn),           job.plane(scratch),   scratch, s.width, s.height, s.stride,
                                     job.plane(planeBytes), job.plane(planeBytes)};
    job.run = callOf(low ? ChromaLowLevelMainCall_2 : ChromaHighLevelMainCall_2, block);
}

// Matches of a frame that has moved by 12 columns.
RansacEstParaContext makeMatches(Job& job, const Size& s, int32_t count) {
    RansacEstParaContext context{};
    context.stMatchPairs = {job.plane(eisSizeOfMatchPoints(count)), job.plane(eisSizeOfMatchPoints(count)), count};
    const auto number = [](size_t i) { return i; };
    context.pCurIndex = job.list<int16_t>(eisSizeOfMatchIndices(count), number);
    context.pRefIndex = job.list<int16_t>(eisSizeOfMatchIndices(count), number);
    context.pDistance = job.list<int32_t>(eisSizeOfMatchDistances(count), number);
    const auto table = [&](int32_t moved) {
        return job.list<int32_t>(eisSizeOfKeypoints(count), [=](size_t i) {
            const auto row = static_cast<int32_t>(i / 3);
            return 64 * (i % 3 == 0 ? 20 + row * 37 % (s.width - 40) + moved : 20 + row * 53 % (s.height - 40));
        });
    };
    context.pRefKeypoints = table(0);
    context.pCurKeypoints = table(12);
    context.matchNum = count;
    context.coordScale = 1;
    context.ratio = 0.8F;
    return context;
}

void makeClean(Job& job, const Size& s) {
    job.put(makeMatches(job, s, 41));
    auto* block = job.last<RansacEstParaContext>();
    job.run = [=] { return RansacEst_AcoreAPI_EIS(block); };
}

// Of the last frame number, so that the blocks are used to their ends; few pairs make a copy.
void makeRegistration(Job& job, const Size& s, int32_t pairs, int32_t lumaOnly) {
    const RansacEstParaContext context = makeMatches(job, s, pairs);
    const auto picture = [&] {
        return job.picture(s, eisSizeOfRegistrationLuma(s.width, s.height),
                           eisSizeOfRegistrationChroma(s.width, s.height));
    };
    ST_REGISTRATION_IN_BLOCK in{};
    in.astInImg[0] = picture();
    in.astInImg[3] = picture();
    in.astPairs[2] = {context.stMatchPairs.pRefPoints, context.stMatchPairs.pCurPoints, 0};
    ST_REGISTRATION_OUT_BLOCK out{};
    out.astOutImg[3] = picture();
    out.pStatus = job.put(int32_t{7});
    job.run = callOf(Ransac_Regis_AcoreAPI_EIS, ST_RANSAC_REGIS_BLOCK{job.put(context), job.put(in), job.put(out), 3,
                                                                      lumaOnly, job.plane(eisSizeOfHomography())});
}

void makeFile(Job& job, ret_status (*entry)(const ST_FILE_BLOCK*), const std::string& path) {
    job.run = callOf(entry, ST_FILE_BLOCK{job.text(path), job.plane(eisSizeOfFileBuffer(7, 301)), 7, 301, 0});
}
void makeFileRows(Job& job, ret_status (*entry)(const ST_FILE_ALIGN_BLOCK*), const std::string& path) {
    const DeviceAddress buffer = job.plane(eisSizeOfFileRows(70, 128, 30));
    job.run = callOf(entry, ST_FILE_ALIGN_BLOCK{job.text(path), buffer, 0, 70, 128, 30, 0});
}

struct Recipe {
    const char* name;
    std::function<void(Job&, const Size&)> make;
    bool twice = true;  // may run twice at once
};

const Recipe kRecipes[] = {
    {"scale", makeScale},
    {"spatial", makeSpatial, false},
    {"chroma high", [](Job& job, const Size& s) { makeChroma(job, s, false); }},
    {"chroma low", [](Job& job, const Size& s) { makeChroma(job, s, true); }},
    {"clean pairs", makeClean},
    {"warp", [](Job& job, const Size& s) { makeRegistration(job, s, 41, 0); }},
    {"warp luma", [](Job& job, const Size& s) { makeRegistration(job, s, 41, 1); }},
    {"copy", [](Job& job, const Size& s) { makeRegistration(job, s, 6, 0); }},
    {"copy, luma asked for", [](Job& job, const Size& s) { makeRegistration(job, s, 6, 1); }},
    {"fast tables",
     [](Job& job, const Size&) {
         const DeviceAddress tables = job.plane(eisSizeOfFastTables());
         job.run =
             callOf(CalcFastDn2dControl_AcoreAPI, ST_FAST_DN2D_CONTROL{tables, {}, -50, -70, -60, -40, 100, 0.5F});
     }},
    {"shrink tables",
     [](Job& job, const Size&) {
         const DeviceAddress tables = job.plane(eisSizeOfShrinkTables());
         job.run = callOf(CalcShrinkLUTDnCoef, ST_SHRINK_LUT_CONTROL{tables, -50, -40, 0, 200, -60, 0});
     }},
    {"tuning",
     [](Job& job, const Size&) {
         const DeviceAddress record = job.plane(eisSizeOfTuningRecord());
         job.run = callOf(ParseXML_AcoreAPI_EIS, ST_PARSE_XML_IN{record, EIS_TEST_FOLDER "/../../host/share/"});
     },
     false},
    {"GPU", [](Job& job, const Size&) { job.run = CleanOpenclMFNR_AcoreAPI; }, false},
};

class BlockSizes : public testing::Test {
  protected:
    Job& add(const Recipe& recipe, const Size& size) {
        Job& job = jobs.emplace_back(recipe.name, arena);
        recipe.make(job, size);
        return job;
    }
    // A file that is read stands there before.
    void addFileJobs(const std::string& suffix) {
        for (const char* name : {"read", "read rows"}) folder.write(name + suffix, std::string(2107, 'x'));
        makeFile(jobs.emplace_back("read", arena), ivp_fread, folder.path("read" + suffix));
        makeFile(jobs.emplace_back("write", arena), ivp_fwrite, folder.path("write" + suffix));
        makeFileRows(jobs.emplace_back("read rows", arena), ivp_fread_align, folder.path("read rows" + suffix));
        makeFileRows(jobs.emplace_back("write rows", arena), ivp_fwrite_align, folder.path("write rows" + suffix));
    }

    TempFolder folder;
    eishost::DspArena arena;
    std::deque<Job> jobs;
};

TEST_F(BlockSizes, EntriesStayInThem) {
    // Strides beside the pitch of a width, heights of one band and of four.
    constexpr Size kSizes[] = {{128, 128, 128},  {128, 256, 256}, {130, 136, 200},  {257, 264, 257},   {362, 256, 384},
                               {400, 320, 1024}, {640, 480, 768}, {720, 1280, 720}, {1920, 1080, 2048}};
    for (const Size& size : kSizes) {
        const std::string shape = std::to_string(size.width) + "x" + std::to_string(size.height);
        for (const Recipe& recipe : kRecipes) add(recipe, size);
        addFileJobs(shape);
        for (const Job& job : jobs) {
            SCOPED_TRACE(job.name + " " + shape + " stride " + std::to_string(size.stride));
            EXPECT_EQ(job.run(), retStsOK);
            EXPECT_TRUE(job.surroundingsIntact());
        }
        jobs.clear();
    }
}

TEST_F(BlockSizes, WhatMayRunAtOnceGivesTheSameBytes) {
    for (const Recipe& recipe : kRecipes) {
        for (int i = 0; i < (recipe.twice ? 2 : 1); ++i) add(recipe, {384, 320, 384});
    }
    for (const char* suffix : {"1", "2"}) addFileJobs(suffix);
    std::vector<uint64_t> alone;
    for (const Job& job : jobs) {
        EXPECT_EQ(job.runAfresh(), retStsOK) << job.name;
        alone.push_back(job.digestAll());
    }
    std::vector<int> wrong(jobs.size());
    std::vector<std::thread> threads;
    for (size_t i = 0; i < jobs.size(); ++i) {
        threads.emplace_back([&, i] {
            for (int round = 0; round < 5; ++round) {
                wrong[i] += jobs[i].runAfresh() != retStsOK || jobs[i].digestAll() != alone[i] ? 1 : 0;
            }
        });
    }
    const Watchdog watchdog("entries that run at once");
    for (std::thread& thread : threads) thread.join();
    for (size_t i = 0; i < jobs.size(); ++i) EXPECT_EQ(wrong[i], 0) << jobs[i].name;
}

}  // namespace

}  // namespace eis::test
