// The fields of the parameter blocks, and of the records that their addresses lead to: one table for all who name them.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "acore_api.h"

namespace eishost {

enum class FieldKind {
    kInteger,  // signed, 32 bits
    kCount,    // unsigned, 32 bits
    kByte,
    kFloat,
    kAddress,  // a device address
    kText,     // a host pointer to a text
    kPointer,  // a host pointer as 64 bits
    kReserved
};

struct BlockField {
    std::string name;
    std::size_t offset = 0;
    std::size_t bytes = 0;
    FieldKind kind = FieldKind::kReserved;
    const char* record = nullptr;  // of an address: the name of the record that stands there
};

struct BlockLayout {
    std::string name;  // of the struct
    std::size_t bytes = 0;
    std::vector<BlockField> fields;  // by offset, without gaps
};

// The block of an entry, the name of one that takes a block.
const BlockLayout& blockLayout(std::string_view entry);

// A field with what stands in it.
struct BlockValue {
    std::string name;          // with the names of the addresses that lead to its record: "outPara.stPicOut.width"
    DeviceAddress record = 0;  // address of its record, 0 for the block itself
    const BlockField* field = nullptr;
    std::uint64_t bits = 0;  // of a word; a reserved field has none

    std::int32_t integer() const { return static_cast<std::int32_t>(bits); }
    DeviceAddress address() const { return static_cast<DeviceAddress>(bits); }
    float number() const;
};

// The bytes from a device address to the end of its buffer, empty where nothing is known.
using DeviceBytes = std::function<std::span<const std::uint8_t>(DeviceAddress)>;

// All fields of a block, which holds blockLayout(entry).bytes at least, each address followed by the fields of its
// record where `memory` has that whole.
std::vector<BlockValue> readBlock(std::string_view entry, std::span<const std::uint8_t> block,
                                  const DeviceBytes& memory);

}  // namespace eishost
