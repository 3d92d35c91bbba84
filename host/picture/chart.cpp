#include "host/picture/chart.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <opencv2/imgproc.hpp>

namespace eishost {

namespace {

// Drawn three times as large and reduced, which smooths lines and letters.
constexpr int kScale = 3;
constexpr int kPanelWidth = 800;
constexpr int kPanelHeight = 520;
constexpr int kChartMargin = 24;
constexpr int kTitleHeight = 34;
constexpr int kNoteHeight = 24;
constexpr int kChartFont = cv::FONT_HERSHEY_SIMPLEX;

const cv::Scalar kInk(40, 40, 40);
const cv::Scalar kPale(228, 228, 228);

enum class Align { kLeft, kCentre, kRight };

class Canvas {
  public:
    Canvas(int width, int height) : image_(height * kScale, width * kScale, CV_8UC3, cv::Scalar::all(255)) {}

    void line(cv::Point2d a, cv::Point2d b, const cv::Scalar& color, double thickness) {
        cv::line(image_, fixed(a), fixed(b), color, static_cast<int>(std::lround(thickness * kScale)), cv::LINE_AA,
                 kShift);
    }

    void box(cv::Point2d a, cv::Point2d b, const cv::Scalar& fill, const cv::Scalar& edge) {
        cv::rectangle(image_, fixed(a), fixed(b), fill, cv::FILLED, cv::LINE_AA, kShift);
        cv::rectangle(image_, fixed(a), fixed(b), edge, kScale, cv::LINE_AA, kShift);
    }

    // A path through points; dashes go on through its corners.
    void path(const std::vector<cv::Point2d>& points, const cv::Scalar& color, double thickness, LineStyle style) {
        constexpr double kDash = 9;
        constexpr double kChartGap = 6;
        double walked = 0;
        for (std::size_t i = 1; i < points.size(); ++i) {
            const cv::Point2d step = points[i] - points[i - 1];
            const double length = std::hypot(step.x, step.y);
            if (style == LineStyle::kSolid || length == 0) {
                line(points[i - 1], points[i], color, thickness);
                continue;
            }
            for (double at = 0; at < length;) {
                const double phase = std::fmod(walked + at, kDash + kChartGap);
                const bool drawn = phase < kDash;
                const double next = std::min(length, at + (drawn ? kDash : kDash + kChartGap) - phase + 1e-6);
                if (drawn)
                    line(points[i - 1] + step * (at / length), points[i - 1] + step * (next / length), color,
                         thickness);
                at = next;
            }
            walked += length;
        }
    }

    static cv::Size2d textSize(const std::string& text, double size) {
        const cv::Size pixels = cv::getTextSize(text, kChartFont, size * kScale / 22.0, weight(size), nullptr);
        return {pixels.width / double{kScale}, pixels.height / double{kScale}};
    }

    // The size, at most this one, at which a text is no wider than `space`.
    static double fittingSize(const std::string& text, double size, double space) {
        return std::min(size, size * space / std::max(1.0, textSize(text, size).width));
    }

    // `at` is on the base line. `size` is the height of a capital letter.
    void text(const std::string& text, cv::Point2d at, double size, Align align = Align::kLeft) {
        const double width = textSize(text, size).width;
        if (align == Align::kCentre) at.x -= width / 2;
        if (align == Align::kRight) at.x -= width;
        cv::putText(image_, text, at * kScale, kChartFont, size * kScale / 22.0, kInk, weight(size), cv::LINE_AA);
    }

    // Bottom to top, centred on `at`.
    void verticalText(const std::string& text, cv::Point2d at, double size) {
        const cv::Size2d extent = textSize(text, size);
        const int width = static_cast<int>((extent.width + 4) * kScale);
        const int height = static_cast<int>(extent.height * 2 * kScale);
        cv::Mat strip(height, width, CV_8UC3, cv::Scalar::all(255));
        cv::putText(strip, text, {2 * kScale, height * 3 / 4}, kChartFont, size * kScale / 22.0, kInk, weight(size),
                    cv::LINE_AA);
        cv::rotate(strip, strip, cv::ROTATE_90_COUNTERCLOCKWISE);
        const cv::Rect place(static_cast<int>(at.x * kScale) - height / 2, static_cast<int>(at.y * kScale) - width / 2,
                             height, width);
        if ((place & cv::Rect({0, 0}, image_.size())) == place) strip.copyTo(image_(place));
    }

    cv::Mat reduced() const {
        cv::Mat small;
        cv::resize(image_, small, {}, 1.0 / kScale, 1.0 / kScale, cv::INTER_AREA);
        return small;
    }

  private:
    static constexpr int kShift = 4;
    static cv::Point fixed(cv::Point2d point) {
        const double factor = kScale * (1 << kShift);
        return {static_cast<int>(std::lround(point.x * factor)), static_cast<int>(std::lround(point.y * factor))};
    }
    static int weight(double size) { return std::max(1, static_cast<int>(std::lround(size * kScale / 9.0))); }

    cv::Mat image_;
};

// A step of 1, 2 or 5 times a power of ten that gives about so many ticks.
double tickStep(double range, int ticks) {
    const double rough = range / ticks;
    const double power = std::pow(10.0, std::floor(std::log10(rough)));
    for (const double factor : {1.0, 2.0, 5.0}) {
        if (factor * power >= rough) return factor * power;
    }
    return 10 * power;
}

std::string tickText(double value) {
    char text[32];
    (void)std::snprintf(text, sizeof text, "%g", value);
    return text;
}

class PanelDrawing {
  public:
    PanelDrawing(Canvas& canvas, const Panel& panel, cv::Point2d corner)
        : canvas_(canvas),
          panel_(panel),
          left_(corner.x + 88),
          right_(corner.x + kPanelWidth - kChartMargin),
          top_(corner.y + 44),
          bottom_(corner.y + kPanelHeight - 62),
          maxY_(panel.maxY) {
        // Room above the curves for the legend, where it would cover one in every corner.
        measureLegend();
        for (int i = 0; i < 10 && covered(legendCorner()) > 0; ++i) maxY_ *= 1.07;
    }

    void draw() {
        axes();
        for (const Series& guide : panel_.guides) curve(guide, 1.2);
        for (const Series& series : panel_.series) curve(series, 2.2);
        canvas_.text(panel_.message, {(left_ + right_) / 2, (top_ + bottom_) / 2}, 14, Align::kCentre);
        legend();
    }

  private:
    cv::Point2d place(cv::Point2d value) const {
        return {left_ + (right_ - left_) * value.x / panel_.maxX, bottom_ - (bottom_ - top_) * value.y / maxY_};
    }

    void axes() {
        canvas_.text(panel_.title, {left_, top_ - 14}, 14);
        const double stepX = tickStep(panel_.maxX, 8);
        double free = -1e9;  // from here on the row of numbers is empty
        for (int tick = 0; tick * stepX <= panel_.maxX * 1.0001; ++tick) {
            const double x = tick * stepX;
            const double column = place({x, 0}).x;
            canvas_.line({column, top_}, {column, bottom_}, kPale, 1);
            const double half = Canvas::textSize(tickText(x), 11).width / 2;
            if (column - half < free) continue;
            canvas_.text(tickText(x), {column, bottom_ + 22}, 11, Align::kCentre);
            free = column + half + 8;
        }
        const double stepY = tickStep(maxY_, 6);
        double widest = 0;
        for (int tick = 0; tick * stepY <= maxY_ * 1.0001; ++tick) {
            const double y = tick * stepY;
            const double row = place({0, y}).y;
            canvas_.line({left_, row}, {right_, row}, kPale, 1);
            canvas_.text(tickText(y), {left_ - 8, row + 5}, 11, Align::kRight);
            widest = std::max(widest, Canvas::textSize(tickText(y), 11).width);
        }
        canvas_.line({left_, bottom_}, {right_, bottom_}, kInk, 1.3);
        canvas_.line({left_, top_}, {left_, bottom_}, kInk, 1.3);
        canvas_.text(panel_.xLabel, {(left_ + right_) / 2, bottom_ + 46}, 12, Align::kCentre);
        canvas_.verticalText(panel_.yLabel, {left_ - std::max(68.0, widest + 26), (top_ + bottom_) / 2}, 12);
    }

    // Cut at the upper and lower edge, which values beyond the axis may pass.
    void curve(const Series& series, double thickness) {
        std::vector<cv::Point2d> inside;
        for (std::size_t i = 1; i < series.points.size(); ++i) {
            const cv::Point2d from = series.points[i - 1];
            const cv::Point2d step = series.points[i] - from;
            double first = 0;
            double last = 1;
            if (step.y != 0) {
                const double atBottom = -from.y / step.y;
                const double atTop = (maxY_ - from.y) / step.y;
                first = std::max(first, std::min(atBottom, atTop));
                last = std::min(last, std::max(atBottom, atTop));
            } else if (from.y < 0 || from.y > maxY_) {
                continue;
            }
            if (first > last) continue;
            if (inside.empty() || first > 0) {
                canvas_.path(inside, series.color, thickness, series.style);
                inside.assign(1, place(from + step * first));
            }
            inside.push_back(place(from + step * last));
        }
        canvas_.path(inside, series.color, thickness, series.style);
    }

    void measureLegend() {
        double width = 0;
        for (const auto* list : {&panel_.series, &panel_.guides}) {
            for (const Series& series : *list) {
                if (series.name.empty()) continue;
                named_.push_back(&series);
                width = std::max(width, Canvas::textSize(series.name, kLegendText).width);
            }
        }
        width = std::min(width, right_ - left_ - kLegendSample - 50);
        legendSize_ = {width + kLegendSample + 26, kLegendRow * static_cast<double>(named_.size()) + 10};
    }

    // The corner that covers the fewest points.
    cv::Point2d legendCorner() const {
        const double right = right_ - 12 - legendSize_.width;
        const cv::Point2d corners[] = {
            {left_ + 12, top_ + 8}, {right, top_ + 8}, {right, bottom_ - 10 - legendSize_.height}};
        return *std::min_element(std::begin(corners), std::end(corners),
                                 [&](auto a, auto b) { return covered(a) < covered(b); });
    }

    void legend() {
        if (named_.empty()) return;
        const cv::Point2d corner = legendCorner();
        canvas_.box(corner, corner + cv::Point2d(legendSize_.width, legendSize_.height), cv::Scalar::all(255), kPale);
        double row = corner.y + 5 + kLegendRow / 2;
        for (const Series* series : named_) {
            canvas_.path({{corner.x + 8, row}, {corner.x + 8 + kLegendSample, row}}, series->color, 2.2, series->style);
            const double space = legendSize_.width - kLegendSample - 26;
            canvas_.text(series->name, {corner.x + kLegendSample + 18, row + 5},
                         Canvas::fittingSize(series->name, kLegendText, space));
            row += kLegendRow;
        }
    }

    // Points under a legend at this corner.
    int covered(cv::Point2d corner) const {
        const cv::Rect2d area(corner, legendSize_);
        int count = 0;
        for (const Series& series : panel_.series) {
            for (const cv::Point2d& point : series.points) count += area.contains(place(point));
        }
        return count;
    }

    static constexpr double kLegendRow = 21;
    static constexpr double kLegendText = 11;
    static constexpr double kLegendSample = 34;

    Canvas& canvas_;
    const Panel& panel_;
    double left_;
    double right_;
    double top_;
    double bottom_;
    double maxY_;  // the panel's, raised where the legend needs room
    std::vector<const Series*> named_;
    cv::Size2d legendSize_;
};

}  // namespace

cv::Scalar chartColor(int index) {
    static const cv::Scalar kColors[] = {{178, 114, 0},   {0, 94, 213},  {115, 158, 0},
                                         {167, 121, 204}, {0, 159, 230}, {233, 180, 86}};
    return kColors[index % 6];
}

cv::Mat drawChart(const Chart& chart) {
    const int panels = static_cast<int>(chart.panels.size());
    const int columns = std::max(1, std::min(chart.columns, panels));
    const int rows = (panels + columns - 1) / columns;
    const int head = kChartMargin + kTitleHeight + kNoteHeight * static_cast<int>(chart.notes.size());
    Canvas canvas(columns * kPanelWidth, head + rows * kPanelHeight);
    double base = kChartMargin + 18;
    canvas.text(chart.title, {kChartMargin, base}, 18);
    for (const std::string& note : chart.notes) {
        base += kNoteHeight;
        canvas.text(note, {kChartMargin, base + 4},
                    Canvas::fittingSize(note, 12, columns * kPanelWidth - 2 * kChartMargin));
    }
    for (int i = 0; i < panels; ++i) {
        const int row = i / columns;
        const cv::Point2d corner(kPanelWidth * (i % columns), head + kPanelHeight * row);
        PanelDrawing(canvas, chart.panels[i], corner).draw();
    }
    return canvas.reduced();
}

}  // namespace eishost
