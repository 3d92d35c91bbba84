// The gain tables, by linear interpolation between a few points of each.
#include "highLevel/src/chroma/chroma_gain.h"

namespace eis {

namespace {

constexpr int kTables = 9;

// The left half's points behind 48 (gain 128), and the gain at 100 where the top lies between the points, else 0.
constexpr int kLeftColumns[] = {56, 64, 72, 80, 88, 96, 104, 112, 120, 124};
constexpr int kLeft[kTables][10] = {
    {134, 139, 141, 141, 141, 141, 141, 141, 137, 131}, {135, 143, 150, 153, 154, 154, 154, 153, 140, 131},
    {135, 145, 155, 164, 166, 166, 166, 165, 141, 131}, {136, 147, 159, 172, 179, 179, 179, 174, 142, 131},
    {136, 147, 160, 175, 190, 192, 192, 181, 143, 132}, {136, 148, 162, 179, 199, 205, 205, 187, 144, 132},
    {136, 149, 163, 180, 203, 217, 217, 192, 145, 132}, {136, 149, 164, 182, 206, 229, 230, 195, 146, 132},
    {137, 149, 165, 184, 209, 239, 242, 199, 147, 133},
};
constexpr int kTop[kTables] = {0, 0, 0, 0, 0, 0, 218, 0, 243};

// The right half's own points; between them it mirrors points of the left half.
constexpr int kRightColumns[] = {132, 136, 144, 160, 176, 192, 200};
constexpr int kRight[kTables][7] = {
    {131, 137, 141, 141, 141, 139, 133}, {131, 140, 153, 154, 153, 142, 134}, {131, 141, 165, 166, 164, 144, 134},
    {131, 142, 174, 179, 172, 146, 135}, {132, 143, 181, 192, 176, 147, 135}, {132, 144, 187, 205, 178, 147, 135},
    {132, 145, 192, 217, 180, 147, 135}, {132, 146, 195, 229, 182, 148, 135}, {133, 147, 199, 239, 183, 148, 135},
};
constexpr int kMirrored[] = {152, 168, 184};

struct GainTables {
    int16_t entries[kTables][256];
};

// Known gains are positive; fills the zeros between them.
constexpr void interpolate(int16_t* gains) {
    int from = 0;
    for (int k = 1; k < 256; ++k) {
        if (gains[k] == 0) continue;
        const int span = k - from;
        for (int i = 1; i < span; ++i) {
            const int sum = gains[from] * (span - i) + gains[k] * i;
            gains[from + i] = static_cast<int16_t>((2 * sum + span) / (2 * span));
        }
        from = k;
    }
}

constexpr void fillTable(int table, int16_t* gains) {
    for (int k = 0; k < 256; ++k) gains[k] = k <= 48 || k >= 207 || (k >= 127 && k <= 129) ? 128 : 0;
    gains[126] = gains[130] = 129;
    for (int i = 0; i < 10; ++i) gains[kLeftColumns[i]] = static_cast<int16_t>(kLeft[table][i]);
    for (int i = 0; i < 7; ++i) gains[kRightColumns[i]] = static_cast<int16_t>(kRight[table][i]);
    for (const int k : kMirrored) gains[k] = gains[256 - k];
    if (kTop[table] != 0) gains[100] = static_cast<int16_t>(kTop[table]);
    interpolate(gains);
}

constexpr GainTables buildTables() {
    GainTables tables{};
    for (int table = 0; table < kTables; ++table) fillTable(table, tables.entries[table]);
    return tables;
}

constexpr GainTables kGainTables = buildTables();

}  // namespace

const int16_t (&chromaGainTables)[9][256] = kGainTables.entries;

}  // namespace eis
