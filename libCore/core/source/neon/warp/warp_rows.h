// The row kernel of the warp.
#pragma once

namespace eis {

struct WarpRecord;

// Resamples destination rows `row` and `row + 1` of the record's motion area, in groups of eight columns: luma
// bilinearly with 7-bit weights, and, unless lumaOnly, chroma row `row / 2` from the nearest sample. Even columns of
// even rows are projected and each position serves two by two pixels; one reciprocal serves a group. Samples outside
// the source plane are taken from its first or last byte. Returns whether the last group was contiguous: its four steps
// add up to those of an unscaled row, so that its columns are read from eight bytes in a row; false when there is no
// group.
bool WarpRowPair(const WarpRecord& record, int row, bool lumaOnly);
bool WarpRowPair_plain(const WarpRecord& record, int row, bool lumaOnly);

// One group of a row pair, `inverse` being the reciprocal of its denominator. Returns whether it is contiguous. The
// vector form leaves groups to it that touch the plane's ends or have other than common coordinates.
bool WarpGroup_plain(const WarpRecord& record, int row, int group, float inverse, bool lumaOnly);

}  // namespace eis
