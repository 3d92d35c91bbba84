// The machine that a report was made on.
#pragma once

#include <string>

namespace eishost {

// "AMD EPYC 7763 64-Core Processor, 8 threads, Linux 6.1.0 x86_64".
std::string machineName();

}  // namespace eishost
