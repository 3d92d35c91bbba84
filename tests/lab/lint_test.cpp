#include "host/lab/lint.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>

#include "host/program/exit_codes.h"
#include "tests/hostcli/cli.h"
#include "tests/hosttools/scratch_folder.h"

namespace eislab {
namespace {

using namespace eishost;

std::string readWhole(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

struct Expected {
    int line;
    const char* key;
    const char* rule;
    const char* says;
};

void expectFindings(const std::vector<Finding>& findings, const std::vector<Expected>& expected) {
    ASSERT_EQ(findings.size(), expected.size());
    for (std::size_t i = 0; i < findings.size(); ++i) {
        EXPECT_EQ(findings[i].line, expected[i].line) << findings[i].message;
        EXPECT_EQ(findings[i].key, expected[i].key) << findings[i].message;
        EXPECT_EQ(findings[i].rule, expected[i].rule) << findings[i].message;
        EXPECT_NE(findings[i].message.find(expected[i].says), std::string::npos) << findings[i].message;
    }
}

TEST(Lint, FindsEachFaultOfADeliberatelyBadFile) {
    const TuningFile file = loadTuningFile(std::string(EIS_TEST_FOLDER) + "/faults.xml");
    ASSERT_FALSE(file.refused());
    expectFindings(
        lintTuning(file),
        {{7, "NoiseReduction/ISO1/lumaMde", "unknown", "did you mean lumaMed?"},
         {8, "NoiseReduction/ISO1/lumaLF", "out-of-range", "outside the useful range, -100 to 0"},
         {9, "NoiseReduction/ISO1/lumaHF1", "no-number", "'strong' is no number: the default 0"},
         {10, "NoiseReduction/ISO1/lumaHF2", "rest-ignored", "only '12' is read, '.5'"},
         {11, "NoiseReduction/ISO1/lumaHF3", "clamped", "beyond 32 bits: 2147483647"},
         {12, "NoiseReduction/ISO1/detail", "empty", "the default"},
         {13, "NoiseReduction/ISO1/lumaMed_M", "attribute", "'value'"},
         {13, "NoiseReduction/ISO1/lumaMed_M", "empty", "the default"},
         {15, "NoiseReduction/ISO1/chromaS", "hidden", "line 14"},
         {16, "NoiseReduction/ISO1/chromaNrLUT", "table-short", "3 of 40 numbers; the rest keeps what the file loaded"},
         {17, "NoiseReduction/ISO1/lumaTH_Low", "unknown", "a key of GhostDetection"},
         {18, "NoiseReduction/ISO1/lumaMed_BN", "more-text", "<![CDATA["},
         {18, "NoiseReduction/ISO1/lumaMed_BN", "empty", "the default"},
         {19, "NoiseReduction/ISO1/lumaLF_BN", "more-text", "only the first"},
         {19, "NoiseReduction/ISO1/lumaLF_BN", "inside-key", "<unit>"},
         {21, "NoiseReduction/ISO2/isovalue", "row-order", "ISO2 has 50, which is not above the 50 of ISO1"},
         {22, "NoiseReduction/ISO2/chromaNrLUT", "table-long", "42 numbers, only 40"},
         {25, "NoiseReduction/ISO3/chromaNrLUT", "table-ends", "'x' in place 2"},
         {28, "NoiseReduction/ISO4/chromaNrLUT", "table-wraps", "'-1' in place 2 is taken as 4294967295"},
         {30, "NoiseReduction/ISO9", "unknown", "ISO1 to ISO8"},
         {33, "NoiseReduction/ISO1", "hidden", "line 5"},
         {39, "SFNoiseReduction/ISO1/luma", "clamped", "'5' is beyond -100 to 0: 0"},
         {40, "SFNoiseReduction/ISO1/chroma", "clamped", "-100 is taken"},
         {41, "SFNoiseReduction/ISO1/shading", "rest-ignored", "only '1' is read, ',5'"},
         {42, "SFNoiseReduction/ISO1/diffusion", "no-number", "the default 0"},
         {43, "SFNoiseReduction/ISO1/percentLow", "not-finite", "'nan'"},
         {44, "SFNoiseReduction/ISO1/alphaLUT", "table-ends",
          "the number in place 3 is beyond the type's range: 32767"},
         {47, "SFNoiseReduction/ISO2/alphaLUT", "table-short", "3 of 17 numbers; the rest is 0"},
         {50, "RouteSwich", "unknown", "did you mean RouteSwitch?"},
         {53, "Global", "stray-text", "ExposureFusionFlag 1"},
         {58, "ChromaEnhancement/enhancementLevel", "inside-key", "<chromaDetail>"},
         {59, "", "end-tag", "without an end tag"}});
}

// Long enough for the reader; a comment at the end changes nothing.
std::string padded(const std::string& text) {
    return text + "<!--" + std::string(220, '.') + "-->";
}

constexpr char kGood[] = "<Config><Global><ExposureFusionFlag>1</ExposureFusionFlag></Global></Config>";

TEST(Lint, TellsWhyKeysAreNotFound) {
    const ScratchFolder folder;
    const std::string good = kGood;
    const std::string head = "<?xml version='1.0'?>\n";
    std::string wide;
    for (const char c : padded(kGood)) wide += {c, '\0'};
    const struct {
        std::string text;
        std::vector<Expected> findings;
        int flag;
    } cases[] = {
        {padded(head + good), {}, 1},
        // Found, although it is not how a file should look.
        {padded("<!-- no declaration -->" + good), {}, 1},
        {good + std::string(200, ' '),
         {{1, "Config", "no-config", "no <?xml ...?> declaration stands in front of <Config>"}},
         0},
        {padded("<!-- mine -->\n" + head + good),
         {{3, "Config", "no-config", "a comment stands ahead of the declaration"}},
         0},
        {padded("<!DOCTYPE x>\n" + head + good),
         {{3, "Config", "no-config", "something stands ahead of the declaration"}},
         0},
        {padded(head + "<All>\n" + good + "</All>"), {{3, "Config", "no-config", "<Config> stands inside <All>"}}, 0},
        {padded(head + "<Confg></Confg>"), {{1, "Config", "no-config", "there is no <Config>; is it <Confg>?"}}, 0},
        {padded(head + "<Other></Other>"), {{1, "Config", "no-config", "there is no <Config>: no key is found"}}, 0},
        {padded(head + good + "\n" + good), {{3, "Config", "hidden", "line 2"}}, 1},
        {padded(head + "<Config>\n<?editor x?>\n<Global></Global></Config>"),
         {{3, "editor", "unknown", "everything behind it"}, {4, "", "end-tag", "without an end tag"}},
         0},
        {wide,
         {{0, "Config", "no-config", "there is no <Config>"}, {1, "", "zero-byte", "everything from here on"}},
         0},
        {"\xFF\xFE" + wide,
         {{0, "", "wide-text", "its head looks like 16- or 32-bit text"},
          {0, "Config", "no-config", "there is no <Config>"},
          {1, "", "zero-byte", "is it 16- or 32-bit text?"}},
         0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        const TuningFile file = loadTuningFile(folder.write("multiframe.xml", c.text));
        ASSERT_FALSE(file.refused());
        expectFindings(lintTuning(file), c.findings);
        EXPECT_EQ(file.record.ExposureFusionFlag, c.flag);
    }
}

TEST(Lint, ExitCodesTellCleanFromWarningsFromRefusals) {
    const ScratchFolder folder;
    const struct {
        std::string text;
        int exitCode;
        const char* says;
    } cases[] = {
        {padded(std::string("<?xml version='1.0'?>") + kGood), kExitOk, ": clean, 1 of 376 keys given"},
        {padded("<?xml version='1.0'?><Config><Nothing></Nothing></Config>"), kExitFindings, ": 1 warning, 0 of 376"},
        {"<?xml version='1.0'?><Config></Config>", kExitLibrary, "refused: shorter than 200 bytes"},
        {padded("<?xml version='1.0'?>\n<Config>\n  </Konfig>"), kExitLibrary, "xml:3:3: refused: an end tag"},
        {padded("<?xml version='1.0'?>\n<Config>&#300;</Config>"), kExitLibrary, "xml:2:9: refused: a numeric entity"},
        {"<?xml version='1.0'?>\n<Config> <!-- " + std::string(200, '.'), kExitLibrary, "xml:2:10: refused: a comment"},
    };
    for (const auto& c : cases) {
        const CliResult result = runCli("tuning lint '" + folder.write("multiframe.xml", c.text) + "'");
        EXPECT_EQ(result.exitCode, c.exitCode) << result.out << result.err;
        EXPECT_NE(result.out.find(c.says), std::string::npos) << result.out;
    }
    const CliResult missing = runCli("tuning lint /nowhere/multiframe.xml");
    EXPECT_EQ(missing.exitCode, kExitUnreadable);
    EXPECT_NE(missing.out.find("refused: cannot be opened"), std::string::npos) << missing.out;
    const CliResult longPath = runCli("tuning lint " + std::string(241, 'x') + "/multiframe.xml");
    EXPECT_EQ(longPath.exitCode, kExitLibrary);
    EXPECT_NE(longPath.out.find("the path has 256 characters, the library takes 255"), std::string::npos);
    EXPECT_EQ(runCli("tuning lint").exitCode, kExitUsage);
}

TEST(Lint, GivesFindingsAsJson) {
    const CliResult result = runCli("tuning lint --json '" + std::string(EIS_TEST_FOLDER) + "/faults.xml'");
    EXPECT_EQ(result.exitCode, kExitFindings);
    const auto json = nlohmann::json::parse(result.out);
    EXPECT_EQ(json["verdict"], "warnings");
    EXPECT_EQ(json["findings"].size(), 32u);
    EXPECT_EQ(json["findings"][0]["line"], 7);
    EXPECT_EQ(json["findings"][0]["column"], 13);
    EXPECT_EQ(json["findings"][0]["rule"], "unknown");
    const ScratchFolder folder;
    const std::string other = folder.write(
        "multiframe.xml", padded("<?xml version='1.0' encoding='latin-1'?><Config><sch\xE4rfe></sch\xE4rfe></Config>"));
    const CliResult latin = runCli("tuning lint --json '" + other + "'");
    EXPECT_EQ(nlohmann::json::parse(latin.out)["findings"][0]["key"], "sch\uFFFDrfe") << "a name in any encoding";
}

// Every beginning of a file and changed bytes all over it: a verdict with its place in the file, always.
TEST(Lint, HasAVerdictOnAnyDamage) {
    const ScratchFolder folder;
    const std::string whole = readWhole(std::string(EIS_TEST_FOLDER) + "/faults.xml");
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
