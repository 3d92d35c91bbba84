// What reading a picture leaves out, for the user to know.
#pragma once

#include <string>
#include <string_view>

namespace eishost {

// What the tools drop of a PNG or JPEG file with these bytes: "alpha, depth beyond 8 bits, the colour profile"; empty
// when it is nothing. Damaged files may have any answer.
std::string droppedByReading(std::string_view bytes);

}  // namespace eishost
