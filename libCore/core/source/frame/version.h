// The version banners.
#pragma once

namespace eis {

inline constexpr char kVersionText[] = "LOG-Zentrix Video 5.2.VVEIS3.B010";

// Logs the banner of the tuning entry: version text, build date and time.
void LogVersion();
// Logs the banner of the post-processing part, with the same three items.
void LogPostProcessVersion();

}  // namespace eis
