// The pictures of a page, small enough to be sent around.
#pragma once

#include <cstddef>
#include <opencv2/core.hpp>
#include <string>
#include <vector>

namespace eishost {

// A part of the picture that the page shows at its true size.
struct PagePlace {
    std::string name;
    cv::Rect area;
};

// The places worth a look: the most textured part of 960 by 720, the flattest and the one in the middle between them,
// and the one around `moving`, which is empty when nothing is known to move. Parts overlap little; a small picture has
// fewer. `luma` is judged without its noise.
std::vector<PagePlace> pickPagePlaces(const cv::Mat& luma, const cv::Rect& moving);

// Writes WebP files into DIR/pictures. HostError(kExitUnwritable).
class PagePictures {
  public:
    explicit PagePictures(std::string folder) : folder_(std::move(folder)) {}

    // Makes the folder, and removes the pictures that `olderPage`, the text of a page, links to.
    void open(const std::string& olderPage) const;

    // The picture at most `columns` wide, in at most `bytes` bytes: as little is lost as fits into them. The name to
    // link to, "pictures/NAME.webp".
    std::string save(const std::string& name, const cv::Mat& bgr, int columns, std::size_t bytes) const;

  private:
    std::string folder_;
};

}  // namespace eishost
