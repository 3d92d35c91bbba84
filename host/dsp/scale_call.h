// Scale_Bilinear_AcoreAPI as a host calls it.
#pragma once

#include <iosfwd>

#include "host/picture/picture.h"

namespace eishost {

struct Area {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
};

struct ScaleOutcome {
    Picture picture;
    double milliseconds = 0;  // as the library logged it
};

// Scales `crop` of `source` to `size`. All numbers must be even and the crop inside the picture. `trace` and `log`,
// when not null, get the arena's and the library's lines. HostError(kExitLibrary) when the entry fails.
ScaleOutcome scalePicture(const Picture& source, const Area& crop, PictureSize size, std::ostream* trace,
                          std::ostream* log);

}  // namespace eishost
