// Pictures from one file to another, one at a time.
#pragma once

#include <functional>

#include "host/picture/picture.h"

namespace eishost {

// Writes what `make` makes of each picture of `reader`, before the next one is read. When a picture cannot be read or
// made, the clip of those before it is kept and the error says how many they are. HostError as reader, `make` and
// writer.
void streamPictures(PictureReader& reader, PictureWriter& writer, const std::function<Picture(const Picture&)>& make);

}  // namespace eishost
