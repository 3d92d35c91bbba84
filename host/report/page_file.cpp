#include "host/report/page_file.h"

#include <filesystem>

#include "host/program/exit_codes.h"
#include "host/program/input_file.h"
#include "host/program/output_file.h"
#include "host/report/page_text.h"

namespace eishost {

namespace fs = std::filesystem;

PageFile::PageFile(const std::string& folder) : path_((fs::path(folder) / "index.html").string()) {
    std::error_code ignored;
    if (!fs::exists(path_, ignored)) return;
    older_ = InputFile(path_).readAll();
    if (older_.find(kPageMark) == std::string::npos) {
        throw HostError(kExitUnwritable, path_ + ": is not a page of this tool; take another folder");
    }
}

void PageFile::open(const PagePictures& pictures) {
    if (opened_) return;
    std::error_code error;
    if (!fs::remove(path_, error) && error) {
        throw HostError(kExitUnwritable, path_ + ": cannot be removed: " + error.message());
    }
    pictures.open(older_);
    opened_ = true;
}

void PageFile::write(const char* pageTemplate, nlohmann::json view) const {
    view["mark"] = kPageMark;
    saveFile(path_, renderPage(pageTemplate, view));
}

}  // namespace eishost
