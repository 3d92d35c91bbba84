#include "host/lab/block_planes.h"

#include <algorithm>
#include <functional>
#include <map>

namespace eislab {

namespace {

// A run of bytes that the entry reads or writes.
struct BlockArea {
    std::string field;
    DeviceAddress address = 0;
    std::uint64_t bytes = 0;
    bool written = false;
};

using eishost::BlockValue;
using eishost::FieldKind;

constexpr std::int64_t kLeastDenoised = 128;
constexpr std::int64_t kBanded = 256;  // denoising cuts pictures of so many rows into bands

std::int64_t aligned(std::int64_t bytes) {
    return (bytes + 127) / 128 * 128;
}

std::string text(std::int64_t number) {
    return std::to_string(number);
}

// Looks at one call's values by their names, and collects areas and faults.
class Survey {
  public:
    explicit Survey(const std::vector<BlockValue>& values) {
        for (const BlockValue& value : values) values_.emplace(value.name, value);
    }

    std::vector<BlockArea> areas;
    std::vector<std::string> faults;

    // False, too, where the record that holds the field is not known.
    bool has(const std::string& name) const { return values_.contains(name); }
    std::int64_t number(const std::string& name) const { return has(name) ? values_.at(name).integer() : 0; }
    DeviceAddress address(const std::string& name) const { return has(name) ? values_.at(name).address() : 0; }

    void area(const std::string& name, std::int64_t bytes, bool written) {
        if (has(name))
            areas.push_back(
                {name, address(name), static_cast<std::uint64_t>(std::max<std::int64_t>(bytes, 0)), written});
    }
    // Rows of `width` bytes, `pitch` apart.
    void plane(const std::string& name, std::int64_t width, std::int64_t rows, std::int64_t pitch, bool written) {
        area(name, rows < 1 || width < 1 ? 0 : pitch * (rows - 1) + width, written);
    }
    void require(const std::string& name, const std::function<bool(std::int64_t)>& sound, const std::string& rule) {
        if (has(name) && !sound(number(name))) faults.push_back(name + " is " + text(number(name)) + ": " + rule);
    }

  private:
    std::map<std::string, BlockValue> values_;
};

void surveyScale(Survey& survey) {
    for (const std::string side : {"src", "dst"}) {
        survey.require(
            side + "Width", [](auto v) { return v > 0; }, "there is nothing to scale");
        survey.require(
            side + "Height", [](auto v) { return v > 0; }, "there is nothing to scale");
        const std::int64_t width = survey.number(side + "Width");
        const std::int64_t rows = survey.number(side + "Height");
        const std::int64_t stride = survey.number(side + "Stride");
        survey.require(
            side + "Stride", [=](auto v) { return v >= width; }, "below the width of " + text(width));
        const bool out = side == "dst";
        survey.plane(out ? "Yout" : "Yin", width, rows, stride, out);
        survey.plane(out ? "Uvout" : "Uvin", width / 2, rows / 2 * 2, aligned(stride / 2), out);
    }
    survey.require(
        "border", [](auto v) { return v == 2; }, "must be 2");
}

// A plane that is not used must convert all the same.
void surveyPicture(Survey& survey, const std::string& picture, const std::string& sizes, bool chroma, bool written) {
    const std::int64_t width = survey.number(sizes + ".width");
    const std::int64_t rows = survey.number(sizes + ".height");
    survey.plane(picture + ".pData[0]", width, rows, aligned(width), written);
    for (const char* plane : {".pData[1]", ".pData[2]"}) {
        survey.plane(picture + plane, chroma ? width / 2 : 1, chroma ? rows / 2 : 1, aligned(aligned(width) / 2),
                     written && chroma);
    }
}

void surveyDenoiseRecord(Survey& survey, const std::string& record, std::int64_t maskBytes) {
    survey.area(record + ".pMaskIIR", maskBytes, false);
    survey.area(record + ".pSpatialChromaNrLUT", 160, false);
}

void surveySpatial(Survey& survey) {
    const std::string picture = "outPara.stPicOut";
    for (const char* side : {".width", ".height"}) {
        survey.require(
            picture + side, [](auto v) { return v >= kLeastDenoised; }, "denoising starts at 128");
        survey.require(
            picture + side, [](auto v) { return v % 2 == 0; }, "must be even");
    }
    survey.require(
        picture + ".height", [](auto v) { return v < kBanded || v % 4 == 0; },
        "from 256 on it must be a multiple of 4");
    const std::int64_t pitch = aligned(survey.number(picture + ".width"));
    survey.require(
        picture + ".stride", [=](auto v) { return v == pitch; },
        "plays no part, rows of luma lie " + text(pitch) + " bytes apart");
    surveyPicture(survey, picture, picture, true, true);
    surveyDenoiseRecord(survey, "inPara.stDNParams", 1);
}

void surveyChroma(Survey& survey, bool low) {
    for (const char* side : {"width", "height", "stride"}) {
        survey.require(
            side, [](auto v) { return v >= kLeastDenoised; }, "nothing is done below 128, with status 0");
    }
    const std::int64_t width = survey.number("width");
    const std::int64_t rows = survey.number("height");
    const std::int64_t pitch = aligned(survey.number("stride") / 2);
    survey.require(
        "stride", [=](auto v) { return v >= width; }, "below the width of " + text(width));
    if (low) {
        survey.require(
            "stride", [=](auto v) { return rows < kBanded || v == aligned(width); },
            "bands of the mask start at rows of that, and its rows lie " + text(aligned(width)) + " bytes apart");
    }
    survey.plane("pData1", width / 2, rows / 2, pitch, true);
    survey.plane("pData2", width / 2, rows / 2, pitch, true);
    if (width >= kLeastDenoised && rows >= kLeastDenoised) {
        const std::int64_t scratch =
            chromaScratchSize(static_cast<std::int32_t>(width), static_cast<std::int32_t>(rows));
        survey.require(
            "memSize", [=](auto v) { return v >= scratch; }, "the scratch takes " + text(scratch) + " bytes");
    }
    survey.area("pMemoryManagement", survey.number("memSize"), true);
    surveyDenoiseRecord(survey, "stDNParams", low ? rows * std::max(survey.number("stride"), aligned(width)) : 1);
}

void surveyMatches(Survey& survey, const std::string& prefix) {
    const std::int64_t entries = survey.number(prefix + "matchNum");
    survey.require(
        prefix + "matchNum", [](auto v) { return v >= 0; }, "is no number of pairs");
    survey.require(
        prefix + "stMatchPairs.pointNum", [](auto v) { return v > 4; }, "must exceed 4, or the status is 3");
    survey.area(prefix + "stMatchPairs.pRefPoints", entries * 8, true);
    survey.area(prefix + "stMatchPairs.pCurPoints", entries * 8, true);
    survey.area(prefix + "pCurIndex", entries * 2, false);
    survey.area(prefix + "pRefIndex", entries * 2, false);
    survey.area(prefix + "pDistance", entries * 4, false);
    survey.area(prefix + "pRefKeypoints", 12, false);
    survey.area(prefix + "pCurKeypoints", 12, false);
}

void surveyRegistration(Survey& survey) {
    surveyMatches(survey, "pRansacEstParaContext.");
    survey.area("pHomography", 9 * sizeof(float), true);
    survey.require(
        "idx", [](auto v) { return v >= 1 && v < kRegistrationMaxFrames; }, "frames are 1 to 3");
    const std::int64_t idx = survey.number("idx");
    const std::string in = "stImgRegistrationParamsIn.astInImg[";
    const std::string reference = in + "0]";
    survey.require(
        reference + ".format", [](auto v) { return v == 2; }, "registration takes format 2 alone");
    survey.require(
        reference + ".width", [](auto v) { return v > 0; }, "is no size");
    survey.require(
        reference + ".height", [](auto v) { return v > 0 && v % 8 == 0; },
        "should be a multiple of 8, or a copy leaves the last rows");
    const std::int64_t pitch = aligned(survey.number(reference + ".width"));
    survey.require(
        reference + ".stride", [=](auto v) { return v == pitch; },
        "plays no part, rows of luma lie " + text(pitch) + " bytes apart");
    if (idx < 1 || idx >= kRegistrationMaxFrames) return;
    surveyPicture(survey, reference, reference, false, false);
    // Chroma for luma alone, too: a frame that is not warped is copied whole.
    surveyPicture(survey, in + text(idx) + "]", reference, true, false);
    surveyPicture(survey, "stImgRegistrationParamsOut.astOutImg[" + text(idx) + "]", reference, true, true);
    survey.area("stImgRegistrationParamsOut.pStatus", 4, true);
    const std::string pairs = "stImgRegistrationParamsIn.astPairs[" + text(idx - 1) + "].";
    for (const char* list : {"pRefPoints", "pCurPoints"}) {
        const std::string pair = pairs + list;
        const std::string match = std::string("pRansacEstParaContext.stMatchPairs.") + list;
        if (survey.has(pair) && survey.has(match) && survey.address(pair) != survey.address(match)) {
            survey.faults.push_back(std::string(pair).append(" is not ").append(match));
        }
    }
}

void surveyFile(Survey& survey, bool writes) {
    survey.area("path", 1, false);
    if (survey.has("rows")) {
        const std::int64_t rowBytes = survey.number("rowBytes");
        survey.require(
            "pitch", [=](auto v) { return v >= rowBytes; }, "rows of " + text(rowBytes) + " bytes overlap");
        survey.plane("buffer", rowBytes, survey.number("rows"), survey.number("pitch"), !writes);
    } else {
        survey.area("buffer", survey.number("elementSize") * survey.number("elementCount"), !writes);
    }
}

Survey surveyed(std::string_view entry, const std::vector<BlockValue>& values) {
    Survey survey(values);
    if (entry == "Scale_Bilinear_AcoreAPI") surveyScale(survey);
    if (entry == "SpatialNrHLMain_ACoreApi") surveySpatial(survey);
    if (entry == "ChromaLowLevelMainCall_2" || entry == "ChromaHighLevelMainCall_2") {
        surveyChroma(survey, entry == "ChromaLowLevelMainCall_2");
    }
    if (entry == "RansacEst_AcoreAPI_EIS") surveyMatches(survey, "");
    if (entry == "Ransac_Regis_AcoreAPI_EIS") surveyRegistration(survey);
    if (entry.starts_with("ivp_")) surveyFile(survey, entry.starts_with("ivp_fwrite"));
    if (entry == "ParseXML_AcoreAPI_EIS") survey.area("xmlInfo", sizeof(ST_CONFIG_XML), true);
    if (entry == "CalcFastDn2dControl_AcoreAPI") survey.area("iDnCoefs", kFastEntries * 2, true);
    if (entry == "CalcShrinkLUTDnCoef") survey.area("iLutCoefs", kShrinkEntries * 2, true);
    return survey;
}

// Areas of buffers that are known are compared where they lie, others by address.
bool overlap(const BlockArea& a, const BlockArea& b, const eishost::DeviceBytes& memory) {
    const auto* const placeA = memory(a.address).data();
    const auto* const placeB = memory(b.address).data();
    const bool known = placeA != nullptr && placeB != nullptr;
    const auto startA = known ? reinterpret_cast<std::uintptr_t>(placeA) : a.address;
    const auto startB = known ? reinterpret_cast<std::uintptr_t>(placeB) : b.address;
    return a.bytes != 0 && b.bytes != 0 && startA < startB + b.bytes && startB < startA + a.bytes;
}

void requireRoom(const BlockArea& area, const eishost::DeviceBytes& memory, std::vector<std::string>& faults) {
    const auto there = memory(area.address);
    if (there.empty()) {
        faults.push_back(area.field + " does not convert: it is in no buffer");
    } else if (there.size() < area.bytes) {
        faults.push_back(area.field + ": the entry takes " + std::to_string(area.bytes) + " bytes, its buffer has " +
                         std::to_string(there.size()) + " from there on");
    }
}

}  // namespace

std::vector<std::string> blockFaults(std::string_view entry, const std::vector<BlockValue>& values,
                                     const eishost::DeviceBytes& memory, bool memoryIsKnown) {
    Survey survey = surveyed(entry, values);
    std::vector<std::string> faults = std::move(survey.faults);
    for (const BlockValue& value : values) {
        const bool leads = value.field->record != nullptr || value.field->kind == FieldKind::kText;
        if (leads && value.bits == 0) faults.push_back(value.name + " is 0");
        if (!memoryIsKnown || value.field->record == nullptr || value.bits == 0) continue;
        const std::size_t wanted = eishost::blockLayout(value.field->record).bytes;
        requireRoom({value.name, value.address(), wanted, false}, memory, faults);
    }
    for (std::size_t i = 0; i < survey.areas.size(); ++i) {
        const BlockArea& area = survey.areas[i];
        if (area.address == 0) {
            faults.push_back(area.field + " is 0");
            continue;
        }
        if (memoryIsKnown) requireRoom(area, memory, faults);
        for (std::size_t k = 0; k < i; ++k) {
            const BlockArea& other = survey.areas[k];
            // Scaling works on a copy where its output lies over its input.
            const bool allowed = entry == "Scale_Bilinear_AcoreAPI" && area.written != other.written;
            if ((area.written || other.written) && !allowed && overlap(area, other, memory)) {
                faults.push_back(area.field + " overlaps " + other.field);
            }
        }
    }
    return faults;
}

}  // namespace eislab
