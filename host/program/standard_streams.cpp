#include "host/program/standard_streams.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iostream>

#include "host/program/exit_codes.h"

namespace eishost {

void holdStandardStreams() {
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(descriptor, F_GETFD) >= 0) continue;
        // The lowest descriptor that is free is this one.
        (void)open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    }
    signal(SIGXFSZ, SIG_IGN);
}

void finishStandardOutput() {
    errno = 0;
    std::cout.flush();
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0 && std::cout) return;
    // The stream does not keep why an earlier write failed. What was printed has a gap by now, so that another byte
    // does no harm, and its write tells.
    if (errno == 0 && write(STDOUT_FILENO, "\n", 1) == 1) errno = EIO;
    throw HostError(kExitUnwritable, std::string("standard output: cannot be written: ") + std::strerror(errno));
}

}  // namespace eishost
