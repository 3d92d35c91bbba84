#include "host/lab/log_calls.h"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <utility>

#include "acore_api.h"

namespace eislab {

namespace {

constexpr char kRegistration[] = "Ransac_Regis_AcoreAPI_EIS";
constexpr char kPairs[] = "RansacEst_AcoreAPI_EIS";
constexpr char kShrink[] = "CalcShrinkLUTDnCoef";

// What a line begins: an entry whose first line has this text.
struct Opening {
    const char* text;
    const char* entry;
};
constexpr Opening kOpenings[] = {
    {"enter func ParseXML_AcoreAPI_EIS", "ParseXML_AcoreAPI_EIS"},
    {"enter func RansacEst_AcoreAPI_EIS", kPairs},
    {"Ransac_Regis run idx", kRegistration},
    {"Enter func Scale_Bilinear_AcoreAPI", "Scale_Bilinear_AcoreAPI"},
    {"enter func SpatialNrHLMain_ACoreApi", "SpatialNrHLMain_ACoreApi"},
    {"PJ_ ARM SpatialNrHighLevel_MultiThread_2 start", "ChromaHighLevelMainCall_2"},
    {"[MFNR_TIME][ChromaHighLevelMainCall_2]", "ChromaHighLevelMainCall_2"},
    {"[MFNR_TIME][ChromaLowLevelMainCall_2]", "ChromaLowLevelMainCall_2"},
    {"stDNParams | pMemoryManagement", "a chroma entry"},
    {"PJ_ ARM width height failed", "a chroma entry"},
    {"CalcFastDn2dControl_AcoreAPI START", "CalcFastDn2dControl_AcoreAPI"},
    {"Enter CalcShrinkLUTDnCoef", kShrink},
    {"Can not open ", "a file entry"},
    {"File Position [", "a file entry"},
    {"Read Buf is NULL!", "ivp_fread_align"},
    {"Write Buf is NULL!", "ivp_fwrite_align"},
};

enum class End { kNo, kYes, kWithNumber };

// What a line says of the call that is open. The status is that of a line that ends the call or names its failure.
struct Saying {
    const char* text;
    End end;
    int status;
    const char* reason;
};
constexpr int kNone = 1;
constexpr Saying kSayings[] = {
    {"exit func ", End::kYes, retStsOK, nullptr},
    {"Exit func ", End::kYes, retStsOK, nullptr},
    {"return retStsOK", End::kYes, retStsOK, nullptr},
    {"ret = ", End::kWithNumber, kNone, nullptr},
    {"[MFNR_TIME][Chroma", End::kYes, retStsOK, nullptr},
    {"====CalcFastDn2dControl_AcoreAPI cost", End::kYes, retStsOK, nullptr},
    {"IMG_REGISTRATION: not enough keypoints", End::kNo, kNone, "refused, the frame is copied: under 8 pairs are left"},
    {"IMG_REGISTRATION: Incorrect h!", End::kNo, kNone, "refused, the frame is copied: the perspective is too strong"},
    {"IMG_REGISTRATION: the global motion between two frames is too large!", End::kNo, kNone,
     "refused, the frame is copied: over 300 pixels are lost"},
    {"IMG_REGISTRATION: calculate motion area error", End::kNo, kNone,
     "refused, the frame is copied: no rectangle of it fills half of the frame"},
    {"IMG_REGISTRATION: not suppport yuv format", End::kNo, retStsBadAddress, "registration takes format 2 alone"},
    {"IMG_REGISTRATION: malloc failed!", End::kNo, retStsNoMemory, "no memory"},
    {"ransac RansacEstimation: not enough keypoints", End::kNo, retStsNotEnoughKeypoints, "under five pairs came in"},
    {"ransac RansacEstimation convert adrr Invalid", End::kNo, retStsBadAddress, "the pair arrays do not convert"},
    {"ransac RansacEstimation knnResult convert adrr Invalid", End::kNo, retStsBadAddress,
     "an index, distance or keypoint list does not convert"},
    {"ransac malloc failed!", End::kNo, retStsNoMemory, "no memory"},
    {"Ransac_Regis_AcoreAPI_EIS FunConvert2Addr convert addr error", End::kYes, retStsBadAddress,
     "pRansacEstParaContext does not convert"},
    {"FunConvert2Addr for input and output parameter error", End::kYes, retStsBadAddress,
     "the input or the output block does not convert"},
    {"FunConvert2Addr for Homo parameter error", End::kYes, retStsBadAddress, "pHomography does not convert"},
    {"input stImgRegistrationParamsIn addr convert error", End::kNo, retStsBadAddress, "astPairs do not convert"},
    {"I/O pData addr convert error", End::kNo, retStsBadAddress, "a plane or pStatus does not convert"},
    {"imgDataCopy Error", End::kNo, retStsThreadError, "a thread of the copy did not start"},
    {"Convert Addr is NULL", End::kYes, retStsBadAddress, "a plane does not convert"},
    {"pMem malloc error!", End::kYes, retStsNoMemory, "no memory"},
    {"y_bilinear_scale_crop_fixed_neon error!", End::kYes, retStsThreadError, "scaling failed"},
    {"SpatialNrHLMain_ACoreApi ", End::kYes, retStsBadAddress, "a record or plane of it does not convert"},
    {"pic size error ret", End::kNo, retStsBadAddress, "width or height is below 128"},
    {"MultiThread Create Error", End::kNo, retStsThreadError, "a thread did not start"},
    {"MultiThread Init Error", End::kNo, retStsThreadError, "the meeting points could not be set up"},
    {"memery allocate Error", End::kNo, kNone, "a band found no memory and stays as it came"},
    {"stDNParams | pMemoryManagement", End::kYes, retStsBadAddress, "stDNParams or pMemoryManagement does not convert"},
    {"PJ_ ARM width height failed", End::kYes, retStsOK, "nothing was done: width, height or stride is below 128"},
    {"xmlFileName = ", End::kYes, retStsBadAddress, "the tuning file's path is null"},
    {"xml XmlConfig.LoadConfig failed", End::kYes, retStsFileError, "the tuning file does not load"},
    {"CalcShrinkLUTDnCoef_AcoreAPI FunConvert2Addr error", End::kYes, retStsBadAddress, "iLutCoefs does not convert"},
    {"Can not open ", End::kYes, retStsFileError, "the file does not open"},
    {"File Position [", End::kYes, retStsOK, nullptr},
    {"Read Buf is NULL!", End::kYes, retStsFileError, "the buffer does not convert"},
    {"Write Buf is NULL!", End::kYes, retStsBadAddress, "the buffer does not convert"},
};

bool contains(const std::string& text, const char* part) {
    return text.find(part) != std::string::npos;
}

// "[MFNR_TIME][ImgRegistration] cost 4 ms", "[EIS_TIME][SCALE_C] crop_scale_color0 cost 0.3 ms".
void takeTime(LoggedCall& call, const std::string& text) {
    const std::size_t cost = text.find(" cost ");
    if (cost == std::string::npos) return;
    const std::size_t last = text.find_last_of(']', cost);
    const std::size_t first = last == std::string::npos ? last : text.find_last_of('[', last);
    const bool bracketed = first != std::string::npos;
    call.times.push_back({bracketed ? text.substr(first + 1, last - first - 1) : call.entry,
                          std::strtod(text.c_str() + cost + 6, nullptr)});
}

class Grouping {
  public:
    std::vector<LoggedCall> calls;

    void take(const LogLine& line) {
        const Key key{line.process, line.thread};
        for (const Opening& opening : kOpenings) {
            if (contains(line.text, opening.text)) open(key, line, opening.entry);
        }
        const auto place = placeOf(key);
        if (place == open_.end()) return;
        LoggedCall& call = calls[place->second.call];
        takeTime(call, line.text);
        for (const Saying& saying : kSayings) {
            if (!contains(line.text, saying.text)) continue;
            if (saying.status != kNone) call.status = call.status.value_or(saying.status);
            if (saying.reason != nullptr) call.reasons.emplace_back(saying.reason);
            if (saying.end == End::kNo || (saying.end == End::kWithNumber && !isLeave(call, line.text))) break;
            if (saying.end == End::kWithNumber)
                call.status = std::atoi(line.text.c_str() + line.text.find("ret = ") + 6);
            end(place, line);
            break;
        }
    }

    // Calls that log no end of their own have come to one.
    void finish() {
        for (const auto& [key, place] : open_) closeSilently(calls[place.call]);
    }

  private:
    using Key = std::pair<int, int>;
    struct Place {
        std::size_t call;
        std::optional<double> begin;
    };
    using Places = std::map<Key, Place>;

    static bool isLeave(const LoggedCall& call, const std::string& text) {
        if (call.entry == kRegistration) return text.starts_with("ret = ");
        return contains(text, "ImgProc_ParseXMLMfnr end, ret = ") && !text.ends_with("ret = 0");
    }

    static void closeSilently(LoggedCall& call) {
        if (call.entry != kPairs && call.entry != kShrink) return;
        call.ended = true;
    }

    void open(const Key& key, const LogLine& line, const char* entry) {
        const auto at = open_.find(key);
        if (at != open_.end()) {
            LoggedCall& call = calls[at->second.call];
            const bool inside = call.entry == entry || (call.entry == kRegistration && entry == std::string(kPairs));
            // A second first line of the same entry is a second call.
            if (inside && !isFirstLine(line.text)) return;
            if (inside && call.entry != entry) return;
            closeSilently(call);
            open_.erase(at);
        }
        LoggedCall call;
        call.entry = entry;
        call.firstLine = line.number;
        call.process = line.process;
        call.thread = line.thread;
        calls.push_back(std::move(call));
        open_[key] = {calls.size() - 1, line.milliseconds};
    }

    static bool isFirstLine(const std::string& text) {
        return contains(text, "nter ") || contains(text, "run idx") || contains(text, " START") ||
               contains(text, " start");
    }

    Places::iterator placeOf(const Key& key) {
        const auto own = open_.find(key);
        if (own != open_.end()) return own;
        auto found = open_.end();
        for (auto place = open_.begin(); place != open_.end(); ++place) {
            if (place->first.first != key.first) continue;
            if (found != open_.end()) return open_.end();
            found = place;
        }
        return found;
    }

    void end(Places::iterator place, const LogLine& line) {
        LoggedCall& call = calls[place->second.call];
        call.ended = true;
        const std::optional<double> begin = place->second.begin;
        if (begin && line.milliseconds && *line.milliseconds >= *begin) {
            call.times.push_back({"whole call", *line.milliseconds - *begin});
        }
        open_.erase(place);
    }

    Places open_;
};

}  // namespace

std::vector<LoggedCall> groupCalls(const std::vector<LogLine>& lines) {
    Grouping grouping;
    for (const LogLine& line : lines) grouping.take(line);
    grouping.finish();
    return std::move(grouping.calls);
}

}  // namespace eislab
