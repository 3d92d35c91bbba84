// A tuning file as the library takes it, with what the library does not tell: whether and why it refuses it, and where
// each value comes from.
#pragma once

#include <string>
#include <vector>

#include "config/tuning_keys.h"
#include "config/tuning_load.h"
#include "config/xml_file.h"
#include "host/lab/tuning_origin.h"
#include "host/program/exit_codes.h"

namespace eislab {

struct KeyReading {
    const eis::TuningKey* key;
    eis::TuningOrigin origin;
};

struct TuningFile {
    std::string name;
    bool nameTooLong = false;  // for the library, which then does not look at the file
    eis::XmlFileReport report;
    eis::XmlConfig config;
    eis::XmlNode root;  // "/Config", the empty node where a lookup does not find it
    ST_CONFIG_XML record;

    bool refused() const { return IsNull(config.root()); }
};

// Loads a file as the first one of a process: nothing of an earlier load shows in the record, and its reserved bytes
// are 0. A refused file has a record of defaults.
TuningFile loadTuningFile(const std::string& name);

// All keys in the order of reading.
std::vector<KeyReading> readKeys(const TuningFile& file);

// Why the library refuses the file, with the place in the file where it is known.
struct Refusal {
    int line = 0;
    int column = 0;
    std::string reason;
    eishost::ExitCode code = eishost::kExitLibrary;  // kExitUnreadable when nothing can be read
};
Refusal refusalOf(const TuningFile& file);

// "FILE:LINE:COLUMN", or "FILE" for a line of 0.
std::string placeText(const TuningFile& file, int line, int column);
// "FILE:LINE:COLUMN: refused: REASON".
std::string refusalText(const TuningFile& file);

// As loadTuningFile; HostError with the refusal's code and text for a file that is refused.
TuningFile loadAcceptedFile(const std::string& name);

}  // namespace eislab
