#include "host/lab/lint.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "host/program/exit_codes.h"
#include "tests/harness/tools/cli.h"

namespace eislab {
namespace {

using namespace eishost;

constexpr char kFaults[] = EIS_TEST_FOLDER "/faults.xml";

// Long enough for the reader; a comment at the end changes nothing.
std::string padded(const std::string& text) {
    return text + "<!--" + std::string(220, '.') + "-->";
}

constexpr char kGood[] = "<Config><Global><ExposureFusionFlag>1</ExposureFusionFlag></Global></Config>";

// A deliberately bad file, one fault a line; then files of which no key is found, or one although they look so.
TEST(Lint, FindsEachFault) {
    const TempFolder folder;
    const std::string good = kGood;
    const std::string head = "<?xml version='1.0'?>\n";
    std::string wide;
    for (const char c : padded(kGood)) wide += {c, '\0'};
    std::string seen;
    for (const std::string& text :
         {eis::test::readFile(kFaults), padded(head + good), padded("<!-- no declaration -->" + good),
          good + std::string(200, ' '), padded("<!-- mine -->\n" + head + good), padded("<!DOCTYPE x>\n" + head + good),
          padded(head + "<All>\n" + good + "</All>"), padded(head + "<Confg></Confg>"),
          padded(head + "<Other></Other>"), padded(head + good + "\n" + good),
          padded(head + "<Config>\n<?editor x?>\n<Global></Global></Config>"), wide, "\xFF\xFE" + wide}) {
        const TuningFile file = loadTuningFile(folder.write("multiframe.xml", text));
        ASSERT_FALSE(file.refused()) << text;
        seen += "ExposureFusionFlag " + std::to_string(file.record.ExposureFusionFlag) + '\n';
        for (const auto& [line, column, key, rule, message] : lintTuning(file)) {
            seen.append("    ").append(std::to_string(line)).append(":").append(std::to_string(column));
            seen.append(" ").append(key).append(" ").append(rule).append(": ").append(message).append("\n");
        }
    }
    folder.write("findings.txt", seen);
    EXPECT_EQ(seen, eis::test::readFile(EIS_TEST_FOLDER "/recorded/findings.txt"));
}

TEST(Lint, ExitCodesTellCleanFromWarningsFromRefusals) {
    const TempFolder folder;
    const std::string head = "<?xml version='1.0'?>\n";
    const struct {
        std::string text;
        int exitCode;
        const char* says;
    } cases[] = {
        {padded(head + kGood), kExitOk, ": clean, 1 of 376 keys given"},
        {padded(head + "<Config><Nothing></Nothing></Config>"), kExitFindings, ": 1 warning, 0 of 376"},
        {head + "<Config></Config>", kExitLibrary, "refused: shorter than 200 bytes"},
        {padded(head + "<Config>\n  </Konfig>"), kExitLibrary, "xml:3:3: refused: an end tag"},
        {padded(head + "<Config>&#300;</Config>"), kExitLibrary, "xml:2:9: refused: a numeric entity"},
        {head + "<Config> <!-- " + std::string(200, '.'), kExitLibrary, "xml:2:10: refused: a comment"},
    };
    for (const auto& c : cases) {
        const CliResult result = runCli("tuning lint '" + folder.write("multiframe.xml", c.text) + "'");
        EXPECT_EQ(result.exitCode, c.exitCode) << result.out << result.err;
        EXPECT_NE(result.out.find(c.says), std::string::npos) << result.out;
    }
    // As JSON, whose names are in any encoding.
    const CliResult latin = runCli("tuning lint --json '" +
                                   folder.write("multiframe.xml", padded("<?xml encoding='latin-1'?><Config>"
                                                                         "<sch\xE4rfe></sch\xE4rfe></Config>")) +
                                   "'");
    EXPECT_EQ(latin.exitCode, kExitFindings);
    const auto json = nlohmann::json::parse(latin.out);
    EXPECT_EQ(json["verdict"], "warnings");
    ASSERT_EQ(json["findings"].size(), 1u);
    EXPECT_EQ(json["findings"][0]["key"], "sch\uFFFDrfe");
    EXPECT_EQ(json["findings"][0]["line"], 1);
    EXPECT_EQ(json["findings"][0]["rule"], "unknown");
}

// Every beginning of a file and changed bytes all over it: a verdict with its place in the file, always.
TEST(Lint, HasAVerdictOnAnyDamage) {
    const TempFolder folder;
    const std::string whole = eis::test::readFile(kFaults);
    const auto lines = std::count(whole.begin(), whole.end(), '\n') + 1;
    const auto check = [&](const std::string& text) {
        const TuningFile file = loadTuningFile(folder.write("multiframe.xml", text));
        EXPECT_TRUE(!file.refused() || (!refusalOf(file).reason.empty() && refusalOf(file).line <= lines));
        if (file.refused()) return;
        for (const Finding& finding : lintTuning(file)) EXPECT_LE(finding.line, lines) << finding.message;
    };
    for (std::size_t length = 0; length < whole.size(); length += 7) check(whole.substr(0, length));
    for (std::size_t at = 0; at < whole.size(); at += 11) {
        std::string damaged = whole;
        damaged[at] = "</>&"[at % 5];
        check(damaged);
    }
}

}  // namespace
}  // namespace eislab
