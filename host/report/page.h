// The HTML page that shows what a command did with a picture or a burst.
#pragma once

#include <nlohmann/json.hpp>
#include <opencv2/core.hpp>
#include <optional>
#include <string>
#include <vector>

#include "host/picture/picture.h"
#include "host/report/page_file.h"
#include "host/report/page_measures.h"
#include "host/report/page_pictures.h"

namespace eishost {

struct PageOptions {
    std::string folder;  // empty for no page
    std::string stages;  // a folder of eis-lab stages; may be empty
};

// What the page of a burst is about: the reference, with the folder that tells bursts apart where all name their frames
// alike.
std::string burstTitle(const std::string& reference);

// index.html and its pictures in one folder. Pictures are written as they are added, the page last, so that nobody
// finds half of one. All throw HostError(kExitUnwritable) for what cannot be written.
class Page {
  public:
    // `title` is what the page is about, as a file name. HostError: kExitUnwritable for a folder that has an index.html
    // of someone else, kExitUnreadable for stages that cannot be read.
    Page(const PageOptions& options, const std::string& command, const std::string& title);

    // Before versions are added: the clean picture that they are measured against, also a version of its own, and where
    // of it an object moves by itself (255 on 0; empty for nowhere), which is measured apart.
    void setTruth(const Picture& clean, const cv::Mat& mover);

    // The picture at one stage of the work, all of one size. Keys, in the order on the page: "reference", which comes
    // first, "mean", "merged", "denoised", "truth".
    void addVersion(const std::string& key, const std::string& title, const Picture& picture);

    // A frame of the burst: what --json prints of it, and the pictures of it by their names, 8-bit BGR.
    void addFrame(nlohmann::json frame, const std::vector<std::pair<std::string, cv::Mat>>& pictures);

    // Another picture with a title and a sentence, 8-bit BGR.
    void addMap(const std::string& title, const std::string& text, const cv::Mat& bgr);

    // As settingsOrigins() tells them.
    void setSettings(nlohmann::json settings) { document_["settings"] = std::move(settings); }

    // What was measured for the page, for the command's own JSON.
    nlohmann::json figures() const;

    // Writes the page, with what --json prints of the whole.
    void write(const nlohmann::json& result);

    const std::string& file() const { return file_.path(); }

  private:
    void addStages();

    PageOptions options_;
    PagePictures pictures_;
    PageFile file_;
    nlohmann::json document_;
    std::optional<Picture> truth_;
    cv::Mat mover_;    // 255 on 0
    cv::Mat counted_;  // 255 where no object moves; empty for everywhere
    std::optional<EdgeMeasure> edges_;
    std::vector<PagePlace> places_;
};

}  // namespace eishost
