#include "host/report/page_pictures.h"

#include <algorithm>
#include <filesystem>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <string_view>

#include "host/picture/image_codecs.h"
#include "host/program/exit_codes.h"
#include "host/program/output_file.h"

namespace eishost {

namespace {

namespace fs = std::filesystem;

constexpr int kCropWidth = 960;
constexpr int kCropHeight = 720;
constexpr int kTileStep = 4;          // candidates lie a quarter of a crop apart
constexpr double kMostShared = 0.25;  // of two crops' area
constexpr char kSubfolder[] = "pictures";
constexpr char kExtension[] = ".webp";

struct Candidate {
    double contrast;
    cv::Rect area;
};

// From the flattest to the most textured.
std::vector<Candidate> candidates(const cv::Mat& luma, cv::Size crop) {
    cv::Mat smooth;
    cv::GaussianBlur(luma, smooth, {}, 2);
    cv::Mat edges;
    cv::Laplacian(smooth, edges, CV_16S, 3);
    edges = cv::abs(edges);
    cv::Mat sums;
    cv::integral(edges, sums, CV_64F);
    std::vector<Candidate> list;
    for (int y = 0; y + crop.height <= luma.rows; y += std::max(2, crop.height / kTileStep & ~1)) {
        for (int x = 0; x + crop.width <= luma.cols; x += std::max(2, crop.width / kTileStep & ~1)) {
            const cv::Rect area(cv::Point(x, y), crop);
            const double sum = sums.at<double>(area.br()) - sums.at<double>(y, area.br().x) -
                               sums.at<double>(area.br().y, x) + sums.at<double>(y, x);
            list.push_back({sum, area});
        }
    }
    std::stable_sort(list.begin(), list.end(),
                     [](const Candidate& a, const Candidate& b) { return a.contrast < b.contrast; });
    return list;
}

std::string linkTo(const std::string& file) {
    return std::string(kSubfolder) + "/" + file;
}

cv::Rect around(const cv::Rect& moving, cv::Size crop, cv::Size size) {
    const cv::Point middle = (moving.tl() + moving.br()) / 2;
    const int x = std::clamp(middle.x - crop.width / 2, 0, size.width - crop.width) & ~1;
    const int y = std::clamp(middle.y - crop.height / 2, 0, size.height - crop.height) & ~1;
    return {cv::Point(x, y), crop};
}

}  // namespace

std::vector<PagePlace> pickPagePlaces(const cv::Mat& luma, const cv::Rect& moving) {
    const cv::Size crop(std::min(kCropWidth, luma.cols), std::min(kCropHeight, luma.rows));
    std::vector<PagePlace> places;
    const auto isFree = [&](const cv::Rect& area) {
        return std::none_of(places.begin(), places.end(), [&](const PagePlace& place) {
            return (place.area & area).area() > kMostShared * area.area();
        });
    };
    if (!moving.empty()) places.push_back({"what moved", around(moving, crop, luma.size())});
    const std::vector<Candidate> list = candidates(luma, crop);
    const auto add = [&](const std::string& name, auto first, auto last) {
        const auto found = std::find_if(first, last, [&](const Candidate& tile) { return isFree(tile.area); });
        if (found != last) places.push_back({name, found->area});
    };
    add("most texture", list.rbegin(), list.rend());
    add("least texture", list.begin(), list.end());
    add("in between", list.begin() + static_cast<std::ptrdiff_t>(list.size() / 2), list.end());
    return places;
}

void PagePictures::open(const std::string& olderPage) const {
    const fs::path folder = fs::path(folder_) / kSubfolder;
    std::error_code error;
    fs::create_directories(folder, error);
    if (error) throw HostError(kExitUnwritable, folder.string() + ": cannot be made: " + error.message());
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        const fs::path name = entry.path().filename();
        if (name.extension() != kExtension || olderPage.find(linkTo(name.string())) == std::string::npos) continue;
        if (!fs::remove(entry.path(), error) && error) {
            throw HostError(kExitUnwritable, entry.path().string() + ": cannot be removed: " + error.message());
        }
    }
}

std::string PagePictures::save(const std::string& name, const cv::Mat& bgr, int columns, std::size_t bytes) const {
    cv::Mat shown = bgr;
    if (bgr.cols > columns) {
        const int rows = std::max(1, static_cast<int>(std::int64_t{bgr.rows} * columns / bgr.cols));
        cv::resize(bgr, shown, {columns, rows}, 0, 0, cv::INTER_AREA);
    }
    std::vector<std::uint8_t> encoded;
    for (const int quality : {92, 85, 75, 60, 40, 20, 5}) {
        if (!encodeImage(kExtension, shown, {cv::IMWRITE_WEBP_QUALITY, quality}, encoded)) {
            throw HostError(kExitInternal, name + ": encoder failed");
        }
        if (encoded.size() <= bytes) break;
    }
    std::string link = linkTo(name + kExtension);
    saveFile((fs::path(folder_) / link).string(),
             std::string_view(reinterpret_cast<const char*>(encoded.data()), encoded.size()));
    return link;
}

}  // namespace eishost
