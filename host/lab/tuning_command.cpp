#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>

#include "host/dsp/record_values.h"
#include "host/lab/commands.h"
#include "host/lab/key_page.h"
#include "host/lab/lint.h"
#include "host/lab/tuning_template.h"
#include "host/program/output_file.h"

namespace eislab {

namespace {

using eishost::recordText;
using eishost::recordValue;
using eishost::shortPath;
using nlohmann::ordered_json;

// A file may be in any encoding, JSON is not.
void printJson(const ordered_json& json) {
    std::cout << json.dump(-1, ' ', false, ordered_json::error_handler_t::replace) << '\n';
}

std::string originText(const KeyReading& reading) {
    const eis::TuningOrigin& origin = reading.origin;
    const std::string line = "line " + std::to_string(origin.line());
    if (origin.source == eis::TuningSource::missing) return "default";
    if (origin.source != eis::TuningSource::file) return line + " has no number: default";
    if (reading.key->isArray()) return line + (origin.stored < reading.key->count ? ", in part" : "");
    return origin.isClamped ? line + " says " + origin.text + ": clamped" : line;
}

int keysGiven(const TuningFile& file) {
    int given = 0;
    for (const KeyReading& reading : readKeys(file)) given += reading.origin.line() > 0;
    return given;
}

std::string plural(std::size_t count, const std::string& noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

void runLint(const std::string& name, bool json) {
    const TuningFile file = loadTuningFile(name);
    const bool refused = file.refused();
    const std::vector<Finding> findings = refused ? std::vector<Finding>() : lintTuning(file);
    if (json) {
        const Refusal refusal = refused ? refusalOf(file) : Refusal();
        ordered_json list = ordered_json::array();
        if (refused) {
            list.push_back({{"line", refusal.line},
                            {"column", refusal.column},
                            {"key", ""},
                            {"rule", "refused"},
                            {"message", refusal.reason}});
        }
        for (const Finding& finding : findings) {
            list.push_back({{"line", finding.line},
                            {"column", finding.column},
                            {"key", finding.key},
                            {"rule", finding.rule},
                            {"message", finding.message}});
        }
        const char* verdict = refused ? "refused" : findings.empty() ? "clean" : "warnings";
        const ordered_json all = {
            {"file", name}, {"verdict", verdict}, {"keysGiven", keysGiven(file)}, {"findings", list}};
        printJson(all);
    } else if (refused) {
        std::cout << refusalText(file) << '\n';
    } else {
        for (const Finding& finding : findings) {
            std::cout << placeText(file, finding.line, finding.column) << ": "
                      << (finding.key.empty() ? "" : finding.key + ": ") << finding.message << " [" << finding.rule
                      << "]\n";
        }
        std::cout << name << ": " << (findings.empty() ? "clean" : plural(findings.size(), "warning")) << ", "
                  << keysGiven(file) << " of " << eis::kTuningKeyCount << " keys given\n";
    }
    if (refused) throw CLI::RuntimeError(refusalOf(file).code);
    if (!findings.empty()) throw CLI::RuntimeError(eishost::kExitFindings);
}

void runExplain(const std::string& name, bool given, bool json) {
    const TuningFile file = loadAcceptedFile(name);
    ordered_json list = ordered_json::array();
    for (const KeyReading& reading : readKeys(file)) {
        if (given && reading.origin.line() == 0) continue;
        const std::string key(shortPath(*reading.key));
        if (json) {
            list.push_back({{"key", key},
                            {"value", recordValue(file.record, *reading.key)},
                            {"origin", originText(reading)},
                            {"line", reading.origin.line()}});
        } else {
            std::cout << key << " = " << recordText(file.record, *reading.key) << "  (" << originText(reading) << ")\n";
        }
    }
    if (json) printJson(list);
}

void runDiff(const std::string& nameA, const std::string& nameB, bool json) {
    const TuningFile a = loadAcceptedFile(nameA);
    const TuningFile b = loadAcceptedFile(nameB);
    const std::vector<KeyReading> fromA = readKeys(a);
    const std::vector<KeyReading> fromB = readKeys(b);
    ordered_json list = ordered_json::array();
    for (std::size_t i = 0; i < fromA.size(); ++i) {
        const eis::TuningKey& key = *fromA[i].key;
        const std::string valueA = recordText(a.record, key);
        const std::string valueB = recordText(b.record, key);
        if (valueA == valueB) continue;
        list.push_back({{"key", shortPath(key)},
                        {"a", recordValue(a.record, key)},
                        {"b", recordValue(b.record, key)},
                        {"originA", originText(fromA[i])},
                        {"originB", originText(fromB[i])}});
        if (json) continue;
        std::cout << shortPath(key) << ":\n  - " << valueA << "  (" << originText(fromA[i]) << ")\n  + " << valueB
                  << "  (" << originText(fromB[i]) << ")\n";
    }
    if (json) printJson(list);
    if (!json) std::cout << (list.empty() ? "same values" : plural(list.size(), "key") + " differ") << '\n';
    if (!list.empty()) throw CLI::RuntimeError(eishost::kExitFindings);
}

void writeText(const std::string& text, const std::string& out) {
    if (out.empty()) {
        std::cout << text;
        return;
    }
    eishost::saveFile(out, text);
}

struct TuningArguments {
    std::string a;
    std::string b;
    std::string out;
    bool json = false;
    bool given = false;
};

}  // namespace

void addTuningCommand(CLI::App& app) {
    CLI::App* group = app.add_subcommand("tuning", "The tuning file");
    group->require_subcommand(1);
    auto arguments = std::make_shared<TuningArguments>();
    const auto add = [&](const char* name, const char* description) {
        return group->add_subcommand(name, description);
    };

    CLI::App* lint = add("lint", "Tells what the library accepts in silence, or why it refuses the file");
    lint->add_option("FILE", arguments->a, "The tuning file")->required();
    lint->add_flag("--json", arguments->json, "As JSON");
    lint->footer("Exit codes: 0 clean, 7 warnings, 5 refused by the library, 2 cannot be read.");
    lint->callback([arguments] { runLint(arguments->a, arguments->json); });

    CLI::App* explain = add("explain", "Every key with its value and where it comes from");
    explain->add_option("FILE", arguments->a, "The tuning file")->required();
    explain->add_flag("--given", arguments->given, "Only the keys that the file gives");
    explain->add_flag("--json", arguments->json, "As JSON");
    explain->callback([arguments] { runExplain(arguments->a, arguments->given, arguments->json); });

    CLI::App* diff = add("diff", "The keys whose values differ once both files are loaded");
    diff->add_option("A", arguments->a, "A tuning file")->required();
    diff->add_option("B", arguments->b, "Another one")->required();
    diff->add_flag("--json", arguments->json, "As JSON");
    diff->footer("Exit codes: 0 same values, 7 differences, 5 a file is refused by the library, 2 cannot be read.");
    diff->callback([arguments] { runDiff(arguments->a, arguments->b, arguments->json); });

    CLI::App* pattern = add("template", "Writes a complete file of defaults, each key with a comment");
    pattern->add_option("--out", arguments->out, "The file to write, standard output when not given");
    pattern->callback([arguments] { writeText(tuningTemplate(), arguments->out); });

    CLI::App* keys =
        add("keys", "Writes the page of all keys, as Markdown: meaning, unit, useful range, place in the record");
    keys->add_option("--out", arguments->out, "The file to write, standard output when not given");
    keys->callback([arguments] { writeText(keyPage(), arguments->out); });
}

}  // namespace eislab
