// A complete tuning file of defaults.
#pragma once

#include <string>

namespace eislab {

// Every key with its default and a comment on what it may be. Loading it gives the record of defaults.
std::string tuningTemplate();

}  // namespace eislab
