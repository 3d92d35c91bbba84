#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <memory>

#include "host/commands.h"
#include "host/dsp_arena.h"
#include "host/exit_codes.h"
#include "host/library_log.h"
#include "host/record_values.h"

namespace eishost {

namespace {

namespace fs = std::filesystem;

constexpr char kFileName[] = "multiframe.xml";

struct ShowArguments {
    std::string file;
    bool json = false;
    bool trace = false;
    bool log = false;
};

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

ST_CONFIG_XML loadRecord(const std::string& file, std::ostream* trace, std::ostream* log) {
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

void runShow(const ShowArguments& arguments) {
    if (!fs::exists(arguments.file)) throw HostError(kExitUnreadable, arguments.file + ": no such file");
    const ST_CONFIG_XML record =
        loadRecord(arguments.file, arguments.trace ? &std::cerr : nullptr, arguments.log ? &std::cerr : nullptr);
    if (arguments.json) {
        std::cout << recordJson(record).dump() << '\n';
        return;
    }
    for (const eis::TuningKey& key : eis::kTuningKeys) {
        std::cout << shortPath(key) << " = " << recordText(record, key) << '\n';
    }
}

}  // namespace

void addTuningCommand(CLI::App& app) {
    CLI::App* group = app.add_subcommand("tuning", "The tuning file as the DSP gets it");
    group->require_subcommand(1);
    auto arguments = std::make_shared<ShowArguments>();
    CLI::App* show = group->add_subcommand("show", "Loads a file with ParseXML_AcoreAPI_EIS and prints the record");
    show->add_option("FILE", arguments->file, "The tuning file")->required();
    show->add_flag("--json", arguments->json, "As JSON: sections, ISO levels, keys");
    show->add_flag("--trace", arguments->trace, "Print each address conversion and flush to stderr");
    show->add_flag("--log", arguments->log, "Print the library's log to stderr");
    show->callback([arguments] { runShow(*arguments); });
}

}  // namespace eishost
