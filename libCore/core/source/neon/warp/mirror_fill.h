// Fills a picture outside a rectangle by mirroring what is inside.
#pragma once

#include "include/st_picture.h"

namespace eis {

// The rectangle: x and y even, w and h multiples of 8, above half of the picture. Columns left of it mirror about
// column x, which is not repeated; columns right of it, up to the pitch, mirror about its edge, so that the last column
// repeats; then rows above and below likewise. `_Y` does luma alone.
void MirrorFillOutside(const ST_PICTURE* dstPic, int x, int y, int w, int h);
void MirrorFillOutside_Y(const ST_PICTURE* dstPic, int x, int y, int w, int h);

// MirrorFillOutside in two steps: columns of rows `first` to `end - 1` and, both being even, of their chroma rows; when
// all rows of the rectangle have theirs, the rows above and below.
void MirrorFillColumns(const ST_PICTURE& picture, int x, int w, int first, int end);
void MirrorFillRows(const ST_PICTURE& picture, int y, int h);

}  // namespace eis
