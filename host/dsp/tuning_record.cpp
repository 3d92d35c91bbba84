#include "host/dsp/tuning_record.h"

#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "host/dsp/dsp_arena.h"
#include "host/dsp/library_log.h"
#include "host/program/exit_codes.h"

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
        std::string folder = (fs::temp_directory_path() / "eis-host-XXXXXX").string();
        if (mkdtemp(folder.data()) == nullptr) throw HostError(kExitUnwritable, folder + ": cannot be made");
        folder_ = folder;
        fs::create_symlink(fs::absolute(file), folder_ / kFileName);
        text_ = folder + "/";
    }
    ~Prefix() {
        std::error_code ignored;
        if (!folder_.empty()) fs::remove_all(folder_, ignored);
    }
    Prefix(const Prefix&) = delete;
    Prefix& operator=(const Prefix&) = delete;

    const std::string& text() const { return text_; }

  private:
    fs::path folder_;
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
    startLibraryLog(log);
    const ret_status status = ParseXML_AcoreAPI_EIS(&block);
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
    const fs::path installed = folder.parent_path() / "share" / "kelvane_eis_ap" / kFileName;
    if (fs::exists(installed)) return installed.string();
    for (fs::path tree = folder; tree.has_relative_path(); tree = tree.parent_path()) {
        const fs::path source = tree / "host" / "share" / kFileName;
        if (fs::exists(source)) return source.string();
    }
    throw HostError(kExitUnreadable, installed.string() + ": no such file; name one with --tuning");
}

}  // namespace eishost
