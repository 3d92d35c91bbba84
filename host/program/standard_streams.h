// Standard input, output and error of a tool.
#pragma once

namespace eishost {

// To be called first. A stream that the caller closed is opened so that its use fails: the next file to be opened would
// take its place, and get what is printed. A file size limit becomes an error that can be told.
void holdStandardStreams();

// To be called last. HostError(kExitUnwritable) when anything that was printed did not arrive.
void finishStandardOutput();

}  // namespace eishost
