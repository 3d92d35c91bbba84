// Tuning files as a host loads them.
#pragma once

#include <iosfwd>
#include <string>

#include "acore_api.h"

namespace eishost {

// The record that ParseXML_AcoreAPI_EIS makes of a tuning file of any name. `trace` and `log`, when not null, get the
// arena's and the library's lines. HostError: kExitUnreadable when there is no such file, kExitLibrary when the entry
// refuses it.
ST_CONFIG_XML loadTuningRecord(const std::string& file, std::ostream* trace, std::ostream* log);

// The tuning file that comes with the tools: share/kelvane_eis_ap/multiframe.xml beside the program's folder, or
// host/share/multiframe.xml of the source tree that holds it. HostError(kExitUnreadable) when there is neither.
std::string shippedTuningFile();

}  // namespace eishost
