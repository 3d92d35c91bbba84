#include "host/lab/lint.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>

#include "host/dsp/key_meanings.h"
#include "host/dsp/record_values.h"
#include "host/lab/lint_tree.h"
#include "host/lab/value_check.h"

namespace eislab {

namespace {

// A zero byte ends the text for the parser, which takes that for the end of the file.
void checkZeroBytes(const TuningFile& file, std::vector<Finding>& findings) {
    std::ifstream stream(file.name, std::ios::binary);
    const std::string content{std::istreambuf_iterator<char>(stream), {}};
    const std::size_t zero = content.find('\0');
    if (zero == std::string::npos) return;
    const std::size_t lineEnd = content.rfind('\n', zero);
    const auto line = static_cast<int>(std::count(content.begin(), content.begin() + static_cast<long>(zero), '\n'));
    const std::size_t column = zero - (lineEnd == std::string::npos ? 0 : lineEnd + 1);
    findings.push_back({line + 1, static_cast<int>(column) + 1, "", "zero-byte",
                        "a zero byte: everything from here on is not read; is it 16- or 32-bit text?"});
}

// Told at the row itself, or at the one before it where only that one stands in the file.
void checkRowOrder(const std::vector<KeyReading>& readings, const TuningFile& file, std::vector<Finding>& findings) {
    for (const char* section : {"NoiseReduction", "SFNoiseReduction"}) {
        std::vector<const KeyReading*> rows;
        for (const KeyReading& reading : readings) {
            const eis::TuningKey& key = *reading.key;
            if (std::strcmp(key.section, section) == 0 && std::strcmp(key.name, "isovalue") == 0) {
                rows.push_back(&reading);
            }
        }
        for (const int row : eishost::rowsOutOfOrder(file.record, section)) {
            const KeyReading& before = *rows[row - 2];
            const KeyReading& here = *rows[row - 1];
            const KeyReading& told = here.origin.line() > 0 ? here : before;
            if (told.origin.line() == 0) continue;
            findings.push_back({told.origin.line(), told.origin.column(), std::string(eishost::shortPath(*told.key)),
                                "row-order",
                                "ISO" + std::to_string(row) + " has " + eishost::recordText(file.record, *here.key) +
                                    ", which is not above the " + eishost::recordText(file.record, *before.key) +
                                    " of ISO" + std::to_string(row - 1)});
        }
    }
}

}  // namespace

std::vector<Finding> lintTuning(const TuningFile& file) {
    std::vector<Finding> findings;
    if (file.report.wideText) {
        findings.push_back({0, 0, "", "wide-text", "its head looks like 16- or 32-bit text, which is read as bytes"});
    }
    checkZeroBytes(file, findings);
    const eis::XmlResults& results = file.report.results;
    if (results.code == eis::kXmlMissingEndTag) {
        findings.push_back(
            {results.line, results.column, "", "end-tag",
             "an element is still open here and is closed without an end tag of its own; the last such place"});
    }
    checkRoot(file, findings);
    checkTree(file, findings);
    const std::vector<KeyReading> readings = readKeys(file);
    checkRowOrder(readings, file, findings);
    for (const KeyReading& reading : readings) {
        for (const ValueProblem& problem : valueProblems(file, reading)) {
            findings.push_back({reading.origin.line(), reading.origin.column(),
                                std::string(eishost::shortPath(*reading.key)), problem.rule, problem.message});
        }
    }
    std::stable_sort(findings.begin(), findings.end(), [](const Finding& a, const Finding& b) {
        return a.line != b.line ? a.line < b.line : a.column < b.column;
    });
    return findings;
}

}  // namespace eislab
