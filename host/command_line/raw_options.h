// The options of the command line that describe raw pictures.
#pragma once

#include "host/picture/picture.h"

namespace CLI {
class App;
}

namespace eishost {

enum class RawUse { kRead, kReadAndWrite };

// Adds --raw-size, --raw-format and --raw-stride, and --out-stride where pictures are written too. `raw` outlives the
// parsing.
void addRawOptions(CLI::App& command, RawOptions& raw, RawUse use = RawUse::kRead);

}  // namespace eishost
