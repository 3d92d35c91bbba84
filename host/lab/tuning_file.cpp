#include "host/lab/tuning_file.h"

#include <cstring>

namespace eislab {

namespace {

const char* parserError(int code) {
    switch (code) {
        case eis::kXmlUnmatchedEndTag:
            return "an end tag that no open element matches";
        case eis::kXmlUnclosedClearTag:
            return "a comment, CDATA, DOCTYPE or PRE section without its end";
        case eis::kXmlUnexpectedToken:
            return "something in a tag that does not belong there";
        case eis::kXmlBadEntity:
            return "an unknown or malformed entity";
        case eis::kXmlEntityOutOfRange:
            return "a numeric entity above 255";
        default:
            return "an error that the parser has no words for";
    }
}

}  // namespace

TuningFile loadTuningFile(const std::string& name) {
    TuningFile file;
    file.name = name;
    file.nameTooLong = name.size() >= eis::XmlConfig::kFileNameSize;
    (void)file.config.LoadConfig(name.c_str(), &file.report);
    file.root = FindXmlNode(file.config.root(), "/Config");
    eis::g_tuningStaging = {};
    std::memset(&file.record, 0, sizeof file.record);
    (void)ImgProc_ParseXMLMfnr(file.config, &file.record);
    return file;
}

std::vector<KeyReading> readKeys(const TuningFile& file) {
    std::vector<KeyReading> readings;
    readings.reserve(eis::kTuningKeyCount);
    for (const eis::TuningKey& key : eis::kTuningKeys) {
        readings.push_back({&key, traceTuningKey(file.config, key)});
    }
    return readings;
}

Refusal refusalOf(const TuningFile& file) {
    if (file.nameTooLong) {
        return {0, 0, "the path has " + std::to_string(file.name.size()) + " characters, the library takes 255"};
    }
    const std::string wide = file.report.wideText ? "; its head looks like 16- or 32-bit text" : "";
    const eis::XmlResults& results = file.report.results;
    switch (file.report.outcome) {
        case eis::XmlFileOutcome::tooShort:
            return {0, 0, "shorter than " + std::to_string(eis::kXmlSmallestFile) + " bytes"};
        case eis::XmlFileOutcome::cannotRead:
            return {0, 0, "empty or unreadable" + wide, eishost::kExitUnreadable};
        case eis::XmlFileOutcome::noMemory:
            return {0, 0, "no memory for it", eishost::kExitInternal};
        case eis::XmlFileOutcome::parseError:
            return {results.line, results.column, parserError(results.code) + wide};
        default:
            return {0, 0, "cannot be opened", eishost::kExitUnreadable};
    }
}

std::string placeText(const TuningFile& file, int line, int column) {
    return line > 0 ? file.name + ":" + std::to_string(line) + ":" + std::to_string(column) : file.name;
}

std::string refusalText(const TuningFile& file) {
    const Refusal refusal = refusalOf(file);
    return placeText(file, refusal.line, refusal.column) + ": refused: " + refusal.reason;
}

TuningFile loadAcceptedFile(const std::string& name) {
    TuningFile file = loadTuningFile(name);
    if (file.refused()) throw eishost::HostError(refusalOf(file).code, refusalText(file));
    return file;
}

}  // namespace eislab
