#include "host/dsp/tuning_lines.h"

#include <expat.h>

#include <memory>

#include "host/program/input_file.h"

namespace eishost {

namespace {

struct Walk {
    XML_Parser parser;
    std::string section;  // path of the row
    std::string path;
    std::map<std::string, int> lines;
};

void enter(void* data, const XML_Char* name, const XML_Char** /*attributes*/) {
    auto& walk = *static_cast<Walk*>(data);
    if (walk.path == walk.section) {
        walk.lines.emplace(name, static_cast<int>(XML_GetCurrentLineNumber(walk.parser)));
    }
    walk.path.append("/").append(name);
}

void leave(void* data, const XML_Char* /*name*/) {
    auto& walk = *static_cast<Walk*>(data);
    walk.path.resize(walk.path.rfind('/'));
}

}  // namespace

std::map<std::string, int> tuningLines(const std::string& file, int row) {
    const std::string text = InputFile(file).readAll();
    const std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)> parser(XML_ParserCreate(nullptr),
                                                                              XML_ParserFree);
    Walk walk{parser.get(), "/Config/NoiseReduction/ISO" + std::to_string(row), "", {}};
    XML_SetUserData(parser.get(), &walk);
    XML_SetElementHandler(parser.get(), enter, leave);
    XML_Parse(parser.get(), text.data(), static_cast<int>(text.size()), XML_TRUE);
    return walk.lines;
}

}  // namespace eishost
