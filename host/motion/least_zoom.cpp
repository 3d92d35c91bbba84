#include "host/motion/least_zoom.h"

#include <algorithm>
#include <limits>

namespace eishost {

namespace {

constexpr double kSpare = 1e-3;

// The zoom about the middle at which the corners of a correction's view, which is of zoom 1, are inside the frame.
double zoomFor(const cv::Matx33d& correction, cv::Size frame) {
    const auto inside = [&](double zoom) {
        return shareOutside(correction * Similarity{1 / zoom, 0, 0, 0}.inPixels(frame), frame) <= 0;
    };
    double low = 1;
    double high = 2;
    if (inside(low)) return low;
    while (high - low > kSpare / 2) {
        const double middle = (low + high) / 2;
        (inside(middle) ? high : low) = middle;
    }
    return high;
}

}  // namespace

double leastZoom(const StabilizerOptions& options, const std::function<std::optional<Picture>()>& next) {
    std::optional<Picture> picture = next();
    if (!picture) return 1;
    const cv::Size frame(picture->width, picture->height);
    StabilizerOptions free = options;
    free.path.zoom = 1;
    free.path.mirror = true;
    free.measureOnly = true;
    double zoom = 1;
    Stabilizer stabilizer(frame, free,
                          [&](SteadyFrame&& each) { zoom = std::max(zoom, zoomFor(each.correction, frame)); });
    for (; picture; picture = next()) stabilizer.add(std::move(*picture), {});
    stabilizer.finish();
    return zoom + kSpare;
}

}  // namespace eishost
