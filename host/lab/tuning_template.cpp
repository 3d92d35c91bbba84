#include "host/lab/tuning_template.h"

#include <cstring>

#include "config/tuning_keys.h"
#include "config/tuning_load.h"
#include "host/dsp/key_meanings.h"
#include "host/dsp/record_values.h"

namespace eislab {

namespace {

std::string remark(const ST_CONFIG_XML& defaults, const eis::TuningKey& key) {
    const eishost::KeyMeaning& meaning = eishost::meaningOf(key.section, key.name);
    const eishost::KeySet set = eishost::keySet(key.name);
    std::string text = set.ending.empty() ? meaning.meaning : "as " + std::string(set.name);
    text += std::string("; ") + (key.isArray() ? std::to_string(key.count) + " numbers, give all of them, " : "") +
            meaning.range() + (key.isClamped() ? ", others are clamped" : "");
    if (meaning.unit[0] != '\0') text += std::string(" (") + meaning.unit + ")";
    return text + "; default " + (key.isArray() ? "all 0" : eishost::recordText(defaults, key));
}

void writeKey(std::string& text, const char* indent, const ST_CONFIG_XML& defaults, const eis::TuningKey& key) {
    text += std::string(indent) + "<" + key.name + ">" + eishost::recordText(defaults, key) + "</" + key.name +
            "> <!-- " + remark(defaults, key) + " -->\n";
}

}  // namespace

std::string tuningTemplate() {
    eis::g_tuningStaging = {};
    ST_CONFIG_XML defaults{};
    (void)ImgProc_ParseXMLMfnr(eis::XmlConfig(), &defaults);
    // The declaration must come first: with a comment ahead of it no key would be found.
    std::string text =
        "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
        "<Config>\n"
        "    <!-- Every key with its default. A key that is left out has its default too. -->\n";
    const eis::TuningKey* last = nullptr;
    const auto close = [&](const eis::TuningKey* next) {
        if (last == nullptr) return;
        const bool sameSection = next != nullptr && std::strcmp(next->section, last->section) == 0;
        if (last->iso > 0 && !(sameSection && next->iso == last->iso)) {
            text += "        </ISO" + std::to_string(last->iso) + ">\n";
        }
        if (!sameSection) text += "    </" + std::string(last->section) + ">\n";
    };
    for (const eis::TuningKey& key : eis::kTuningKeys) {
        close(&key);
        const bool newSection = last == nullptr || std::strcmp(key.section, last->section) != 0;
        if (newSection) text += "    <" + std::string(key.section) + ">\n";
        if (key.iso > 0 && (newSection || key.iso != last->iso)) {
            text += "        <ISO" + std::to_string(key.iso) + ">\n";
        }
        writeKey(text, key.iso > 0 ? "            " : "        ", defaults, key);
        last = &key;
    }
    close(nullptr);
    return text + "</Config>\n";
}

}  // namespace eislab
