#include "host/dsp/tuning_record.h"

#include <cstring>
#include <filesystem>
#include <optional>

#include "host/dsp/dsp_arena.h"
#include "host/dsp/entry_call.h"
#include "host/program/exit_codes.h"
#include "host/program/temporary_folder.h"

namespace eishost {

namespace {

namespace fs = std::filesystem;

constexpr char kFileName[] = "multiframe.xml";

// The prefix that makes the entry open a file. It puts "multiframe.xml" behind whatever it is given, so a file of
// another name gets a link of this one, in a folder that goes with the object.
class Prefix {
  public:
    explicit Prefix(const std::string& file) {
        if (file.ends_with(kFileName)) {
            text_ = file.substr(0, file.size() - std::strlen(kFileName));
            return;
        }
        fs::create_symlink(fs::absolute(file), folder_.emplace().path() / kFileName);
        text_ = folder_->path().string() + "/";
    }

    const std::string& text() const { return text_; }

  private:
    std::optional<TemporaryFolder> folder_;
    std::string text_;
};

}  // namespace

ST_CONFIG_XML loadTuningRecord(const std::string& file, std::ostream* trace, std::ostream* log) {
    if (!fs::exists(file)) throw HostError(kExitUnreadable, file + ": no such file");
    const Prefix prefix(file);
    DspArena arena(trace);
    ST_PARSE_XML_IN block{};
    block.xmlInfo = arena.put(ST_CONFIG_XML{}, "xmlInfo");
    // The entry writes over part of the record, so what the DSP has in the rest must reach the CPU first.
    arena.syncToCpu(block.xmlInfo);
    block.xmlPath = prefix.text().c_str();
    const ret_status status = callEntry(arena, ParseXML_AcoreAPI_EIS, &block, log).status;
    if (status == retStsFileError) {
        throw HostError(kExitLibrary, file + ": the library refuses this file (-999); 'eis-lab tuning lint' says why");
    }
    if (status != retStsOK) {
        throw HostError(kExitLibrary, "ParseXML_AcoreAPI_EIS returned " + std::to_string(status));
    }
    return arena.get<ST_CONFIG_XML>(block.xmlInfo);
}

std::string shippedTuningFile() {
    std::error_code error;
    const fs::path folder = fs::read_symlink("/proc/self/exe", error).parent_path();
    const fs::path shared = folder.parent_path() / "share" / "kelvane_eis_ap" / kFileName;
    if (fs::exists(shared)) return shared.string();
    for (fs::path tree = folder; tree.has_relative_path(); tree = tree.parent_path()) {
        const fs::path source = tree / "host" / "share" / kFileName;
        if (fs::exists(source)) return source.string();
    }
    throw HostError(kExitUnreadable, shared.string() + ": no such file; name one with --tuning");
}

}  // namespace eishost
