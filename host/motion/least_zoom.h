// The zoom that a clip needs.
#pragma once

#include <functional>
#include <optional>

#include "host/motion/stabilizer.h"

namespace eishost {

// The least zoom at which the Gaussian path of `options` shows no border in any frame of a clip, which `next` reads to
// its end or to an error of its own.
double leastZoom(const StabilizerOptions& options, const std::function<std::optional<Picture>()>& next);

}  // namespace eishost
