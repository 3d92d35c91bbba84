#include "host/report/machine.h"

#include <sys/utsname.h>

#include <fstream>
#include <thread>

namespace eishost {

namespace {

// Empty where the system does not tell, as on some AArch64 machines.
std::string processorName() {
    std::ifstream info("/proc/cpuinfo");
    for (std::string line; std::getline(info, line);) {
        const std::size_t colon = line.find(": ");
        if (line.starts_with("model name") && colon != std::string::npos) return line.substr(colon + 2) + ", ";
    }
    return {};
}

}  // namespace

std::string machineName() {
    utsname system{};
    uname(&system);
    return processorName() + std::to_string(std::thread::hardware_concurrency()) + " threads, " + system.sysname + " " +
           system.release + " " + system.machine;
}

}  // namespace eishost
