// Every entry but the setters, on a block, planes and tables that are what the headers ask for and no byte larger: it
// ends, its status is one that is promised, and nothing outside is read or written.
//
// The first byte chooses the entry, the second one an address that does not convert. Sizes, settings and a seed for the
// contents follow; what is left stands at the start of planes and in files.
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

#include "fuzz/inline_threads.h"
#include "fuzz/input.h"
#include "fuzz/memory_file.h"
#include "include/acore_api.h"
#include "libCore/core/source/frame/slots.h"

// The log, whose lines would take most of a run: they are formatted, and go nowhere.
extern "C" int __android_log_print(int, const char*, const char* format, ...) {
    char line[256];
    va_list args;
    va_start(args, format);
    const int length = std::vsnprintf(line, sizeof line, format, args);
    va_end(args);
    return length;
}

namespace {

using namespace eisfuzz;

// Device memory: address k << 20 is the k-th buffer of the run.
struct Device {
    uint8_t* buffers[32];
    uint32_t count;
    uint32_t refused;

    DeviceAddress share(const void* memory) {
        buffers[count++] = static_cast<uint8_t*>(const_cast<void*>(memory));
        return count << 20;
    }
};
Device device;

void* convert(DeviceAddress address) {
    const uint32_t k = address >> 20;
    return k == 0 || k > device.count || k == device.refused ? nullptr : device.buffers[k - 1] + (address & 0xFFFFF);
}

struct Run {
    Input in;
    Memory& memory;

    template <class T>
    DeviceAddress share(const T& value) {
        return device.share(memory.of(value));
    }
    DeviceAddress bytes(int64_t count) { return device.share(memory.bytes(count)); }
};

// A plane that ends with its last sample.
int64_t planeBytes(int32_t pitch, int32_t width, int32_t height) {
    return width < 1 || height < 1 ? 0 : int64_t{pitch} * (height - 1) + width;
}

bool isOneOf(ret_status status, std::initializer_list<ret_status> promised) {
    return std::find(promised.begin(), promised.end(), status) != promised.end();
}

constexpr int kMaxWidth = 160;
constexpr int kMaxHeight = 280;

void scale(Run& run) {
    Input& in = run.in;
    ST_SCALE_BLOCK b{};
    b.srcWidth = in.side(kMaxWidth + 1) - 1;
    b.srcHeight = in.side(kMaxHeight + 1) - 1;
    const int relation = in.in(0, 4);  // ratios that have forms of their own, and any
    const int whole[] = {b.srcWidth, 2 * b.srcWidth, b.srcWidth / 2};
    b.dstWidth = relation < 3 ? whole[relation] : in.side(kMaxWidth + 1) - 1;
    const int high[] = {b.srcHeight, 2 * b.srcHeight, b.srcHeight / 2};
    b.dstHeight = relation < 3 ? high[relation] : in.side(kMaxHeight + 1) - 1;
    b.srcStride = b.srcWidth + in.of({0, 0, 1, 96});
    b.dstStride = b.dstWidth + in.of({0, 0, 3, 128});
    b.border = 2;
    const auto luma = [](int w, int h, int stride) { return planeBytes(stride, w, h); };
    const auto chroma = [](int w, int h, int stride) { return planeBytes(eisPitch(stride / 2), w / 2, h / 2 * 2); };
    b.Yin = run.bytes(std::max(luma(b.srcWidth, b.srcHeight, b.srcStride), int64_t{1}));
    b.Uvin = run.bytes(std::max(chroma(b.srcWidth, b.srcHeight, b.srcStride), int64_t{1}));
    b.Yout = run.bytes(std::max(luma(b.dstWidth, b.dstHeight, b.dstStride), int64_t{1}));
    b.Uvout = run.bytes(std::max(chroma(b.dstWidth, b.dstHeight, b.dstStride), int64_t{1}));
    // In place.
    if (b.dstWidth == b.srcWidth && b.dstHeight == b.srcHeight && b.dstStride == b.srcStride && in.oneIn(2)) {
        b.Yout = b.Yin;
        b.Uvout = b.Uvin;
    }
    const ret_status status = Scale_Bilinear_AcoreAPI(run.memory.of(b));
    FUZZ_CHECK(isOneOf(status, {retStsOK, retStsBadAddress}) && (status == retStsOK || device.refused != 0));
}

// A k-nearest-neighbour result on a picture: pairs that one shift explains, and outliers.
RansacEstParaContext pairsOf(Run& run, int width, int height) {
    Input& in = run.in;
    const int matches = in.side(49) - 1;
    const int keypoints = in.in(1, 64);
    const int outliers = in.of({0, 0, 0, 1, 4, 8});
    const int shift[3] = {in.in(-600, 600), in.in(-600, 600), 0};
    Random random(in.take<uint16_t>());
    auto* ref = run.memory.empty<int32_t>(3 * keypoints);
    auto* cur = run.memory.empty<int32_t>(3 * keypoints);
    for (int i = 0; i < 3 * keypoints; ++i) {
        ref[i] = static_cast<int32_t>(random.in(0, 64 * (i % 3 == 0 ? width : height)));
        const bool isOutlier = random.in(0, 15) < outliers;
        cur[i] = isOutlier ? static_cast<int32_t>(random.bits() >> random.in(32, 63)) : ref[i] + shift[i % 3];
    }
    auto* refIndex = run.memory.empty<int16_t>(matches);
    auto* curIndex = run.memory.empty<int16_t>(matches);
    for (int i = 0; i < matches; ++i) {
        refIndex[i] = static_cast<int16_t>(i % keypoints);
        curIndex[i] = static_cast<int16_t>(random.in(0, 15) < outliers ? random.in(0, keypoints - 1) : refIndex[i]);
    }
    RansacEstParaContext context{};
    context.stMatchPairs = {device.share(run.memory.numbers<float>(2 * matches, 0, 100)),
                            device.share(run.memory.numbers<float>(2 * matches, 0, 100)),
                            in.oneIn(8) ? in.take<int32_t>() : matches};
    context.pCurIndex = device.share(curIndex);
    context.pRefIndex = device.share(refIndex);
    context.pDistance = device.share(run.memory.numbers<int32_t>(matches, in.oneIn(4) ? INT32_MIN : 0, INT32_MAX));
    context.matchNum = matches;
    context.coordScale = in.oneIn(6) ? in.take<int32_t>() : 1;
    context.ratio = in.oneIn(6) ? in.take<float>() : 0.8F;
    context.pRefKeypoints = device.share(ref);
    context.pCurKeypoints = device.share(cur);
    return context;
}

void ransac(Run& run) {
    auto* context = run.memory.of(pairsOf(run, 2000, 1500));
    const ret_status status = RansacEst_AcoreAPI_EIS(context);
    FUZZ_CHECK(isOneOf(status, {retStsOK, retStsNotEnoughKeypoints, retStsBadAddress}));
    FUZZ_CHECK(status != retStsOK ||
               (context->stMatchPairs.pointNum >= 4 && context->stMatchPairs.pointNum <= context->matchNum));
}

void registration(Run& run) {
    Input& in = run.in;
    const int width = 16 + in.in(0, kMaxWidth - 16);
    const int height = 16 + in.in(0, kMaxHeight - 16);
    const RansacEstParaContext context = pairsOf(run, width, height);
    const int idx = in.in(1, 3);
    const int32_t stride = eisPitch(width);
    const auto picture = [&] {
        const int64_t chroma = int64_t{eisPitch(stride / 2)} * (height / 2);
        return ST_PICTURE_DEV{width,
                              height,
                              stride,
                              {run.bytes(int64_t{stride} * height), run.bytes(chroma), run.bytes(chroma)},
                              in.oneIn(16) ? in.take<int32_t>() : 2};
    };
    ST_REGISTRATION_IN_BLOCK inBlock{};
    inBlock.astInImg[0] = picture();
    inBlock.astInImg[idx] = picture();
    inBlock.astPairs[idx - 1] = {context.stMatchPairs.pRefPoints, context.stMatchPairs.pCurPoints, 0};
    ST_REGISTRATION_OUT_BLOCK outBlock{};
    outBlock.astOutImg[idx] = picture();
    outBlock.pStatus = run.share(int32_t{-1});
    ST_RANSAC_REGIS_BLOCK b{};
    b.pRansacEstParaContext = run.share(context);
    b.stImgRegistrationParamsIn = run.share(inBlock);
    b.stImgRegistrationParamsOut = run.share(outBlock);
    b.idx = idx;
    b.lumaOnly = in.in(0, 1);
    b.pHomography = device.share(run.memory.numbers<float>(9, 0, 1));
    const ret_status status = Ransac_Regis_AcoreAPI_EIS(run.memory.of(b));
    FUZZ_CHECK(isOneOf(status, {retStsOK, retStsBadAddress}));
    if (status != retStsOK) return;
    const int32_t outcome = *static_cast<int32_t*>(convert(outBlock.pStatus));
    FUZZ_CHECK(outcome == retStsOK || outcome == retStsNotEnoughKeypoints);
}

ST_DN_PARAMS_NEW denoiseSettings(Run& run, int64_t maskBytes) {
    Input& in = run.in;
    const auto strength = [&](int low, int high) { return in.oneIn(8) ? in.take<int32_t>() : in.in(low, high); };
    ST_DN_PARAMS_NEW dn{};
    dn.iirImgCount = in.take<uint8_t>();
    dn.lumaMed = in.in(0, 1);
    dn.lumaLF = strength(-100, 0);
    dn.lumaHF1 = strength(-128, 0);
    dn.chromaS = strength(-100, 156);
    dn.detail = strength(-110, 0);
    dn.lumaNrEnable = !in.oneIn(4);
    dn.chromaNrEnable = !in.oneIn(4);
    dn.chromaEdgeLevel = in.take<uint8_t>();
    dn.chromaGainIndex = strength(0, 10);
    dn.chromaEdgeAlpha = strength(0, 255);
    dn.pMaskIIR = run.bytes(maskBytes);
    dn.pSpatialChromaNrLUT = device.share(run.memory.numbers<uint32_t>(64, 0, in.oneIn(4) ? UINT32_MAX : 800));
    return dn;
}

// The whole picture on this thread; now and then bands, whose threads take most of a run.
int denoiseHeight(Input& in) {
    return in.oneIn(32) ? 252 + 4 * in.side((kMaxHeight - 252) / 4) : 126 + in.side(129);
}

void chroma(Run& run, ret_status (*entry)(const ST_CHROMA_CALL_BLOCK*)) {
    Input& in = run.in;
    ST_CHROMA_CALL_BLOCK b{};
    b.width = 126 + in.side(kMaxWidth - 126);
    b.height = denoiseHeight(in);
    b.stride = b.width + in.of({0, 0, 1, 128});
    b.stDNParams = run.share(denoiseSettings(run, eisSizeOfMotionMask(b.width, b.stride, b.height)));
    b.memSize = static_cast<int32_t>(chromaScratchSize(b.width, b.height));
    b.pMemoryManagement = device.share(run.memory.empty<uint8_t>(b.memSize));
    b.pData1 = run.bytes(eisSizeOfChromaPlane(b.stride, b.height));
    b.pData2 = run.bytes(eisSizeOfChromaPlane(b.stride, b.height));
    FUZZ_CHECK(isOneOf(entry(run.memory.of(b)), {retStsOK, retStsBadAddress}));
}
void chromaLow(Run& run) {
    chroma(run, ChromaLowLevelMainCall_2);
}
void chromaHigh(Run& run) {
    chroma(run, ChromaHighLevelMainCall_2);
}

void spatial(Run& run) {
    Input& in = run.in;
    const int width = 128 + in.in(0, kMaxWidth - 128) / 2 * 2;
    const int height = denoiseHeight(in) / 2 * 2;
    const int64_t chroma = int64_t{eisPitch(width / 2)} * (height / 2);
    ST_MULTIDENOISE_PARAMS_IN_DEV inPara{};
    inPara.stDNParams = denoiseSettings(run, int64_t{eisPitch(width)} * height);
    ST_MULTIDENOISE_PARAMS_OUT_DEV outPara{};
    outPara.stPicOut = {in.oneIn(16) ? 127 : width,
                        height,
                        in.take<int32_t>(),
                        {run.bytes(int64_t{eisPitch(width)} * height), run.bytes(chroma), run.bytes(chroma)},
                        2};
    const ST_SPATIAL_NR_CALL_BLOCK b{run.share(inPara), run.share(outPara)};
    FUZZ_CHECK(isOneOf(SpatialNrHLMain_ACoreApi(run.memory.of(b)), {retStsOK, retStsBadAddress}));
}

void fastControl(Run& run) {
    auto b = run.in.take<ST_FAST_DN2D_CONTROL>();
    b.iDnCoefs = device.share(run.memory.empty<int16_t>(kFastEntries));
    FUZZ_CHECK(CalcFastDn2dControl_AcoreAPI(run.memory.of(b)) == retStsOK);
}

void* allocate(uint32_t size, const char*, uintptr_t) {
    return std::malloc(size);
}
void release(void* memory, const char*, uintptr_t) {
    std::free(memory);
}

void shrinkTables(Run& run) {
    static MemAllocatorTable table{allocate, release, nullptr};
    auto b = run.in.take<ST_SHRINK_LUT_CONTROL>();
    b.memAllocator = run.in.oneIn(2) ? reinterpret_cast<uintptr_t>(&table) : 0;
    b.iLutCoefs = device.share(run.memory.empty<int16_t>(kShrinkEntries));
    const bool refused = device.refused == device.count;
    FUZZ_CHECK(CalcShrinkLUTDnCoef(run.memory.of(b)) == (refused ? retStsBadAddress : retStsOK));
}

// The same name is not read twice in a row.
void tuning(Run& run) {
    static bool turn;
    turn = !turn;
    const std::string prefix = "/dev/shm/eis-fuzz-" + std::to_string(getpid()) + (turn ? "-a-" : "-b-");
    const std::string name = prefix + "multiframe.xml";
    std::ofstream(name) << run.in.text() << std::string(200, ' ');
    const ST_PARSE_XML_IN b{run.bytes(sizeof(ST_CONFIG_XML)), prefix.c_str()};
    const ret_status status = ParseXML_AcoreAPI_EIS(run.memory.of(b));
    unlink(name.c_str());
    FUZZ_CHECK(isOneOf(status, {retStsOK, retStsBadAddress, retStsFileError}));
}

// Rows that are tight in the file, and in the buffer unless they are aligned.
template <bool reads, bool aligned>
void transfer(Run& run) {
    static const MemoryFile file("file");
    Input& in = run.in;
    const int width = in.side(100);
    const int pitch = width + (aligned ? in.in(0, 30) : 0);
    const int rows = in.side(70) - (aligned ? 2 : 1);
    const int offset = in.in(0, reads ? 50 : 1);
    const std::string content = in.text();
    file.set(content);
    char* path = run.memory.empty<char>(file.path().size() + 1);
    std::strcpy(path, file.path().c_str());
    const DeviceAddress name = device.share(path);
    const DeviceAddress buffer = run.bytes(planeBytes(pitch, width, rows));
    const auto bytes = static_cast<uint32_t>(width);
    ret_status status = 0;
    if constexpr (aligned) {
        const ST_FILE_ALIGN_BLOCK b{name, buffer, 0, bytes, static_cast<uint32_t>(pitch), rows, offset};
        status = (reads ? ivp_fread_align : ivp_fwrite_align)(run.memory.of(b));
    } else {
        const ST_FILE_BLOCK b{name, buffer, bytes, static_cast<uint32_t>(rows), offset};
        status = (reads ? ivp_fread : ivp_fwrite)(run.memory.of(b));
    }
    const ret_status withoutBuffer = !aligned ? retStsOK : reads ? retStsFileError : retStsBadAddress;
    FUZZ_CHECK(status == (device.refused == 1 ? retStsFileError : device.refused == 2 ? withoutBuffer : retStsOK));
    if (device.refused != 0) return;
    std::string held;
    for (int y = 0; y < rows; ++y) held.append(static_cast<char*>(convert(buffer)) + y * pitch, width);
    const std::string rest = content.substr(std::min<size_t>(offset, content.size()), held.size());
    FUZZ_CHECK(reads ? held.starts_with(rest) : file.holds((offset != 0 ? content : "") + held));
}

void cleanGpu(Run&) {
    FUZZ_CHECK(CleanOpenclMFNR_AcoreAPI() == retStsOK);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static constexpr void (*kEntries[])(Run&) = {scale,
                                                 ransac,
                                                 registration,
                                                 chromaLow,
                                                 chromaHigh,
                                                 spatial,
                                                 fastControl,
                                                 shrinkTables,
                                                 tuning,
                                                 transfer<true, false>,
                                                 transfer<true, true>,
                                                 transfer<false, false>,
                                                 transfer<false, true>,
                                                 cleanGpu};
    static Memory memory;
    setIO2VAConverter(convert);
    setGraphicBufferInvalidater([](void*) {});
    setGraphicBufferFlusher([](void*) {});
    eis::setMemAllocatorMFNR(nullptr);
    Run run{{data, size}, memory};
    const auto entry = kEntries[run.in.take<uint8_t>() % std::size(kEntries)];
    device.count = 0;
    device.refused = run.in.take<uint8_t>() % 64;
    if (device.refused > 24) device.refused = 0;
    const auto seed = run.in.take<uint16_t>();
    memory.begin(seed, run.in);
    entry(run);
    return 0;
}
