// File names of pictures.
#pragma once

#include <string>

namespace eishost {

// In small letters, with the dot. "-" has that of a Y4M.
std::string extensionOf(const std::string& path);

// Whether this is the extension of a PNG or JPEG.
bool isImageName(const std::string& extension);

}  // namespace eishost
