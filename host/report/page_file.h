// The index.html of a folder that a command fills with a page.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "host/report/page_pictures.h"

namespace eishost {

// All throw HostError(kExitUnwritable) for what cannot be written.
class PageFile {
  public:
    // Also for a folder that has an index.html of someone else.
    explicit PageFile(const std::string& folder);

    const std::string& path() const { return path_; }

    // Before pictures are written: removes the page before, which with other pictures would show what never was, and
    // its pictures. Does so once.
    void open(const PagePictures& pictures);

    // The page of a template and its values, under our mark.
    void write(const char* pageTemplate, nlohmann::json view) const;

  private:
    std::string path_;
    std::string older_;  // text of the page that is replaced
    bool opened_ = false;
};

}  // namespace eishost
