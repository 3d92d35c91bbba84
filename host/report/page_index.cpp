#include "host/report/page_index.h"

#include <filesystem>
#include <nlohmann/json.hpp>

#include "host/program/exit_codes.h"
#include "host/program/input_file.h"
#include "host/program/output_file.h"
#include "host/report/machine.h"
#include "host/report/page_text.h"

namespace eishost {

namespace {

namespace fs = std::filesystem;

// What a page carries for its script.
nlohmann::json dataOf(const std::string& file) {
    const std::string text = InputFile(file).readAll();
    const std::string opening = "id=\"data\">";
    const std::size_t start = text.find(opening);
    const std::size_t end = text.find("</script>", start);
    nlohmann::json data;
    if (text.find(kPageMark) != std::string::npos && start != std::string::npos && end != std::string::npos) {
        const std::size_t first = start + opening.size();
        data = nlohmann::json::parse(text.substr(first, end - first), nullptr, false);
    }
    if (!data.is_object()) throw HostError(kExitUnreadable, file + ": is not a page of this tool");
    return data;
}

std::string linkTo(const fs::path& file, const fs::path& from) {
    return fs::absolute(file).lexically_relative(fs::absolute(from)).generic_string();
}

}  // namespace

void savePageIndex(const std::string& file, const std::string& title, const std::vector<std::string>& folders) {
    const fs::path home = fs::absolute(file).parent_path();
    nlohmann::json view{{"command", "pages"},     {"title", title},           {"mark", kPageMark},
                        {"version", EIS_VERSION}, {"machine", machineName()}, {"pages", {}}};
    for (const std::string& folder : folders) {
        const fs::path page = fs::path(folder) / "index.html";
        const nlohmann::json data = dataOf(page.string());
        const nlohmann::json& before = data.at("versions").at(0);
        const nlohmann::json& after = data.at("versions").at(data.at("shown").get<std::size_t>());
        view["pages"].push_back({{"link", linkTo(page, home)},
                                 {"title", data.at("title")},
                                 {"facts", data.at("facts")},
                                 {"beforeTitle", before.at("title")},
                                 {"before", linkTo(fs::path(folder) / before.at("whole"), home)},
                                 {"afterTitle", after.at("title")},
                                 {"after", linkTo(fs::path(folder) / after.at("whole"), home)}});
    }
    saveFile(file, renderPage(kBurstsTemplate, view));
}

}  // namespace eishost
