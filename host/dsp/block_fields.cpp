#include "host/dsp/block_fields.h"

#include <bit>
#include <cstddef>
#include <cstring>
#include <map>
#include <stdexcept>

namespace eishost {

namespace {

using Layouts = std::map<std::string, BlockLayout, std::less<>>;

// Fills a layout field by field; what no field names between two is reserved.
class Builder {
  public:
    Builder(const char* name, std::size_t bytes) {
        layout_.name = name;
        layout_.bytes = bytes;
    }

    Builder& add(const std::string& name, std::size_t offset, std::size_t bytes, FieldKind kind,
                 const char* record = nullptr) {
        reserveTo(offset);
        layout_.fields.push_back({name, offset, bytes, kind, record});
        end_ = offset + bytes;
        return *this;
    }
    Builder& addAll(const std::string& prefix, std::size_t offset, const BlockLayout& part) {
        for (const BlockField& field : part.fields) {
            if (field.kind == FieldKind::kReserved) continue;
            add(prefix + "." + field.name, offset + field.offset, field.bytes, field.kind, field.record);
        }
        return *this;
    }
    BlockLayout done() {
        reserveTo(layout_.bytes);
        return std::move(layout_);
    }

  private:
    void reserveTo(std::size_t offset) {
        if (offset > end_) layout_.fields.push_back({"reserved", end_, offset - end_, FieldKind::kReserved, nullptr});
    }

    BlockLayout layout_;
    std::size_t end_ = 0;
};

#define EIS_FIELD(kind, field) .add(#field, offsetof(Block, field), sizeof(Block::field), FieldKind::kind)
#define EIS_RECORD(field, name) .add(#field, offsetof(Block, field), sizeof(Block::field), FieldKind::kAddress, name)

// clang-format off
BlockLayout pictureLayout() {
    using Block = ST_PICTURE_DEV;
    return Builder("ST_PICTURE_DEV", sizeof(Block))
        EIS_FIELD(kInteger, width) EIS_FIELD(kInteger, height) EIS_FIELD(kInteger, stride)
        EIS_FIELD(kAddress, pData[0]) EIS_FIELD(kAddress, pData[1]) EIS_FIELD(kAddress, pData[2])
        EIS_FIELD(kInteger, format).done();
}

BlockLayout denoiseLayout() {
    using Block = ST_DN_PARAMS_NEW;
    return Builder("ST_DN_PARAMS_NEW", sizeof(Block))
        EIS_FIELD(kAddress, pMaskIIR) EIS_FIELD(kByte, iirImgCount) EIS_FIELD(kInteger, lumaMed)
        EIS_FIELD(kInteger, lumaLF) EIS_FIELD(kInteger, lumaHF1) EIS_FIELD(kInteger, lumaHF2)
        EIS_FIELD(kInteger, lumaHF3) EIS_FIELD(kInteger, chromaS) EIS_FIELD(kInteger, detail)
        EIS_FIELD(kAddress, pSpatialChromaNrLUT) EIS_FIELD(kAddress, pIIRImgNum) EIS_FIELD(kInteger, lumaNrEnable)
        EIS_FIELD(kInteger, chromaNrEnable) EIS_FIELD(kByte, chromaEdgeLevel) EIS_FIELD(kInteger, chromaGainIndex)
        EIS_FIELD(kInteger, chromaEdgeAlpha).done();
}

void addFileLayouts(Layouts& layouts) {
    {
        using Block = ST_FILE_BLOCK;
        for (const char* entry : {"ivp_fread", "ivp_fwrite"}) {
            layouts[entry] = Builder("ST_FILE_BLOCK", sizeof(Block))
                EIS_FIELD(kAddress, path) EIS_FIELD(kAddress, buffer) EIS_FIELD(kCount, elementSize)
                EIS_FIELD(kCount, elementCount) EIS_FIELD(kInteger, offsetOrAppend).done();
        }
    }
    using Block = ST_FILE_ALIGN_BLOCK;
    for (const char* entry : {"ivp_fread_align", "ivp_fwrite_align"}) {
        layouts[entry] = Builder("ST_FILE_ALIGN_BLOCK", sizeof(Block))
            EIS_FIELD(kAddress, path) EIS_FIELD(kAddress, buffer) EIS_FIELD(kCount, rowBytes) EIS_FIELD(kCount, pitch)
            EIS_FIELD(kInteger, rows) EIS_FIELD(kInteger, offsetOrAppend).done();
    }
}

std::string indexed(std::string name, int index) {
    name += '[';
    name += static_cast<char>('0' + index);
    name += ']';
    return name;
}

void addRegistrationLayouts(Layouts& layouts) {
    {
        using Block = RansacEstParaContext;
        layouts["RansacEst_AcoreAPI_EIS"] = Builder("RansacEstParaContext", sizeof(Block))
            EIS_FIELD(kAddress, stMatchPairs.pRefPoints) EIS_FIELD(kAddress, stMatchPairs.pCurPoints)
            EIS_FIELD(kInteger, stMatchPairs.pointNum) EIS_FIELD(kAddress, pCurIndex) EIS_FIELD(kAddress, pRefIndex)
            EIS_FIELD(kAddress, pDistance) EIS_FIELD(kInteger, matchNum) EIS_FIELD(kInteger, coordScale)
            EIS_FIELD(kFloat, ratio) EIS_FIELD(kAddress, pRefKeypoints) EIS_FIELD(kAddress, pCurKeypoints).done();
    }
    {
        using Block = ST_RANSAC_REGIS_BLOCK;
        layouts["Ransac_Regis_AcoreAPI_EIS"] = Builder("ST_RANSAC_REGIS_BLOCK", sizeof(Block))
            EIS_RECORD(pRansacEstParaContext, "RansacEst_AcoreAPI_EIS")
            EIS_RECORD(stImgRegistrationParamsIn, "ST_REGISTRATION_IN_BLOCK")
            EIS_RECORD(stImgRegistrationParamsOut, "ST_REGISTRATION_OUT_BLOCK")
            EIS_FIELD(kInteger, idx) EIS_FIELD(kInteger, lumaOnly) EIS_FIELD(kAddress, pHomography).done();
    }
    const BlockLayout picture = pictureLayout();
    Builder in("ST_REGISTRATION_IN_BLOCK", sizeof(ST_REGISTRATION_IN_BLOCK));
    Builder out("ST_REGISTRATION_OUT_BLOCK", sizeof(ST_REGISTRATION_OUT_BLOCK));
    for (int i = 0; i < kRegistrationMaxFrames; ++i) {
        in.addAll(indexed("astInImg", i), i * sizeof(ST_PICTURE_DEV), picture);
        out.addAll(indexed("astOutImg", i), i * sizeof(ST_PICTURE_DEV), picture);
    }
    for (int i = 0; i < kRegistrationMaxFrames - 1; ++i) {
        const std::string name = indexed("astPairs", i) + ".";
        const std::size_t at = offsetof(ST_REGISTRATION_IN_BLOCK, astPairs) + i * sizeof(ST_REGISTRATION_PAIR_DEV);
        in.add(name + "pRefPoints", at, sizeof(DeviceAddress), FieldKind::kAddress);
        in.add(name + "pCurPoints", at + sizeof(DeviceAddress), sizeof(DeviceAddress), FieldKind::kAddress);
    }
    layouts["ST_REGISTRATION_IN_BLOCK"] = in.done();
    out.add("pStatus", offsetof(ST_REGISTRATION_OUT_BLOCK, pStatus), sizeof(DeviceAddress), FieldKind::kAddress);
    layouts["ST_REGISTRATION_OUT_BLOCK"] = out.done();
}

void addScaleAndTuningLayouts(Layouts& layouts) {
    {
        using Block = ST_SCALE_BLOCK;
        layouts["Scale_Bilinear_AcoreAPI"] = Builder("ST_SCALE_BLOCK", sizeof(Block))
            EIS_FIELD(kInteger, dstWidth) EIS_FIELD(kInteger, dstHeight) EIS_FIELD(kInteger, dstStride)
            EIS_FIELD(kInteger, srcWidth) EIS_FIELD(kInteger, srcHeight) EIS_FIELD(kInteger, srcStride)
            EIS_FIELD(kInteger, border) EIS_FIELD(kAddress, Yin) EIS_FIELD(kAddress, Uvin) EIS_FIELD(kAddress, Yout)
            EIS_FIELD(kAddress, Uvout).done();
    }
    using Block = ST_PARSE_XML_IN;
    layouts["ParseXML_AcoreAPI_EIS"] = Builder("ST_PARSE_XML_IN", sizeof(Block))
        EIS_FIELD(kAddress, xmlInfo) EIS_FIELD(kText, xmlPath).done();
}

void addDenoiseLayouts(Layouts& layouts) {
    layouts["ST_DN_PARAMS_NEW"] = denoiseLayout();
    {
        using Block = ST_SPATIAL_NR_CALL_BLOCK;
        layouts["SpatialNrHLMain_ACoreApi"] = Builder("ST_SPATIAL_NR_CALL_BLOCK", sizeof(Block))
            EIS_RECORD(inPara, "ST_MULTIDENOISE_PARAMS_IN_DEV")
            EIS_RECORD(outPara, "ST_MULTIDENOISE_PARAMS_OUT_DEV").done();
    }
    {
        using Block = ST_MULTIDENOISE_PARAMS_IN_DEV;
        layouts["ST_MULTIDENOISE_PARAMS_IN_DEV"] = Builder("ST_MULTIDENOISE_PARAMS_IN_DEV", sizeof(Block))
            .addAll("stDNParams", offsetof(Block, stDNParams), denoiseLayout())
            EIS_FIELD(kInteger, globalMotionState) EIS_FIELD(kInteger, waitApFlag).done();
    }
    layouts["ST_MULTIDENOISE_PARAMS_OUT_DEV"] =
        Builder("ST_MULTIDENOISE_PARAMS_OUT_DEV", sizeof(ST_MULTIDENOISE_PARAMS_OUT_DEV))
            .addAll("stPicOut", 0, pictureLayout()).done();
    using Block = ST_CHROMA_CALL_BLOCK;
    for (const char* entry : {"ChromaLowLevelMainCall_2", "ChromaHighLevelMainCall_2"}) {
        layouts[entry] = Builder("ST_CHROMA_CALL_BLOCK", sizeof(Block))
            EIS_RECORD(stDNParams, "ST_DN_PARAMS_NEW") EIS_FIELD(kAddress, pMemoryManagement)
            EIS_FIELD(kInteger, memSize) EIS_FIELD(kInteger, width) EIS_FIELD(kInteger, height)
            EIS_FIELD(kInteger, stride) EIS_FIELD(kAddress, pData1) EIS_FIELD(kAddress, pData2).done();
    }
}

void addControlLayouts(Layouts& layouts) {
    {
        using Block = ST_FAST_DN2D_CONTROL;
        layouts["CalcFastDn2dControl_AcoreAPI"] = Builder("ST_FAST_DN2D_CONTROL", sizeof(Block))
            EIS_FIELD(kAddress, iDnCoefs) EIS_FIELD(kInteger, nrTailRatio) EIS_FIELD(kInteger, nrLumaDetail)
            EIS_FIELD(kInteger, nrLumaRatio) EIS_FIELD(kInteger, nrUVRatio) EIS_FIELD(kInteger, nrTH)
            EIS_FIELD(kFloat, nrShadingStrength).done();
    }
    using Block = ST_SHRINK_LUT_CONTROL;
    layouts["CalcShrinkLUTDnCoef"] = Builder("ST_SHRINK_LUT_CONTROL", sizeof(Block))
        EIS_FIELD(kAddress, iLutCoefs) EIS_FIELD(kInteger, lumaRatio) EIS_FIELD(kInteger, shrinkRatio0)
        EIS_FIELD(kInteger, shrinkRatio1) EIS_FIELD(kInteger, shrinkRatio2) EIS_FIELD(kInteger, lumaDetail)
        EIS_FIELD(kPointer, memAllocator).done();
}
// clang-format on

const BlockLayout& layoutNamed(std::string_view name) {
    static const Layouts layouts = [] {
        Layouts all;
        addFileLayouts(all);
        addRegistrationLayouts(all);
        addScaleAndTuningLayouts(all);
        addDenoiseLayouts(all);
        addControlLayouts(all);
        return all;
    }();
    const auto found = layouts.find(name);
    if (found == layouts.end()) throw std::logic_error("no layout of that name");
    return found->second;
}

void readRecord(const BlockLayout& layout, const std::string& prefix, DeviceAddress record,
                std::span<const std::uint8_t> bytes, const DeviceBytes& memory, std::vector<BlockValue>& values) {
    for (const BlockField& field : layout.fields) {
        BlockValue value{prefix + field.name, record, &field, 0};
        if (field.kind != FieldKind::kReserved) std::memcpy(&value.bits, bytes.data() + field.offset, field.bytes);
        values.push_back(value);
        if (field.record == nullptr) continue;
        const BlockLayout& next = layoutNamed(field.record);
        const auto there = memory(value.address());
        if (there.size() >= next.bytes) {
            readRecord(next, value.name + ".", value.address(), there, memory, values);
        }
    }
}

}  // namespace

float BlockValue::number() const {
    return std::bit_cast<float>(static_cast<std::uint32_t>(bits));
}

const BlockLayout& blockLayout(std::string_view entry) {
    return layoutNamed(entry);
}

std::vector<BlockValue> readBlock(std::string_view entry, std::span<const std::uint8_t> block,
                                  const DeviceBytes& memory) {
    std::vector<BlockValue> values;
    readRecord(blockLayout(entry), "", 0, block, memory, values);
    return values;
}

}  // namespace eishost
