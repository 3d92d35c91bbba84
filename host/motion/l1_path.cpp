#include "host/motion/l1_path.h"

#include <array>
#include <coin/ClpSimplex.hpp>
#include <coin/CoinPackedMatrix.hpp>
#include <initializer_list>

#include "host/program/exit_codes.h"

namespace eishost {

namespace {

constexpr int kParts = 4;              // of a similarity
constexpr double kNarrowest = 0.98;    // of the shown part's size, by how much the path may zoom in further
constexpr double kFarthestTurn = 0.2;  // radians
constexpr double kCentring = 0.02;     // weight that a path has which may lie anywhere to lie about the middle
constexpr int kCentredEach = 6;        // frames
constexpr double kBeyond = 1000;       // weight of what lies beyond the bounds, where no path keeps to all of them

// Rows of a linear program, term by term. Columns are free unless they are bounded.
class Program {
  public:
    int addColumn(double cost, double least, double most) {
        costs_.push_back(cost);
        least_.push_back(least);
        most_.push_back(most);
        return static_cast<int>(costs_.size()) - 1;
    }

    int addRow(double least, double most) {
        rowLeast_.push_back(least);
        rowMost_.push_back(most);
        return static_cast<int>(rowLeast_.size()) - 1;
    }

    void addTerm(int row, int column, double factor) {
        if (factor == 0) return;
        rows_.push_back(row);
        columns_.push_back(column);
        factors_.push_back(factor);
    }

    // A row whose terms so far are to be near 0, at a cost of `weight` for each unit.
    void addDistance(int row, double weight) {
        addTerm(row, addColumn(weight, 0, COIN_DBL_MAX), -1);
        addTerm(row, addColumn(weight, 0, COIN_DBL_MAX), 1);
    }

    // The values of all columns; empty when no value fits.
    std::vector<double> solve() const {
        const CoinPackedMatrix matrix(true, rows_.data(), columns_.data(), factors_.data(),
                                      static_cast<CoinBigIndex>(factors_.size()));
        ClpSimplex solver;
        solver.setLogLevel(0);
        solver.loadProblem(matrix, least_.data(), most_.data(), costs_.data(), rowLeast_.data(), rowMost_.data());
        solver.dual();
        if (!solver.isProvenOptimal()) return {};
        return {solver.primalColumnSolution(), solver.primalColumnSolution() + costs_.size()};
    }

  private:
    std::vector<double> costs_;
    std::vector<double> least_;
    std::vector<double> most_;
    std::vector<double> rowLeast_;
    std::vector<double> rowMost_;
    std::vector<int> rows_;
    std::vector<int> columns_;
    std::vector<double> factors_;
};

// The program of one window. Its unknowns are the path itself, as similarities from the result's frames to the window's
// first frame, so that its differences are plain ones.
class PathProgram {
  public:
    // Strictly within the bounds, or as far as it can be.
    PathProgram(const PathWindow& window, const FrameBounds& bounds, const PathWeights& weights, bool strict)
        : window_(window), bounds_(bounds), strict_(strict) {
        for (std::size_t frame = 0; frame < window.size(); ++frame) addPosition(frame);
        for (std::size_t frame = window.held.size(); frame < window.size(); ++frame) {
            addBounds(frame);
            if (frame % kCentredEach == 0) addCentring(frame);
            addDifference(frame, {-1, 1}, weights.speed);
            addDifference(frame, {1, -2, 1}, weights.acceleration);
            addDifference(frame, {-1, 3, -3, 1}, weights.jerk);
        }
    }

    // Empty when there is no solution.
    std::vector<Similarity> solve() const {
        const std::vector<double> values = program_.solve();
        std::vector<Similarity> corrections;
        if (values.empty()) return corrections;
        for (std::size_t frame = 0; frame < window_.size(); ++frame) {
            const double* const at = values.data() + frame * kParts;
            corrections.push_back(window_.camera[frame].inverse() * Similarity{at[0], at[1], at[2], at[3]});
        }
        return corrections;
    }

  private:
    using Parts = std::array<double, kParts>;

    // The columns of the path come first, four a frame.
    void addPosition(std::size_t frame) {
        if (frame < window_.held.size()) {
            const Similarity path = window_.camera[frame] * window_.held[frame];
            for (const double value : {path.a, path.b, path.dx, path.dy}) program_.addColumn(0, value, value);
            return;
        }
        for (int part = 0; part < kParts; ++part) program_.addColumn(0, -COIN_DBL_MAX, COIN_DBL_MAX);
    }

    int addRow(std::size_t frame, const Parts& factors, double least, double most) {
        const int row = program_.addRow(least, most);
        for (int part = 0; part < kParts; ++part) {
            program_.addTerm(row, static_cast<int>(frame) * kParts + part, factors[part]);
        }
        return row;
    }

    // The corners of the shown part are inside the frame; it is nearly upright, and not much smaller than it has to be.
    void addBounds(std::size_t frame) {
        const Similarity to = window_.camera[frame].inverse();
        const double mostX = 1 + bounds_.overhang;
        const double mostY = bounds_.aspect + bounds_.overhang;
        for (std::size_t i = 0; i < 4; ++i) {
            const double x = i % 2 == 0 ? -1 : 1;
            const double y = i / 2 == 0 ? -bounds_.aspect : bounds_.aspect;
            const cv::Point2d off = window_.slack[frame][i] + cv::Point2d(to.dx, to.dy);
            addBound(frame, {to.a * x - to.b * y, -to.b * x - to.a * y, to.a, -to.b}, -mostX - off.x, mostX - off.x);
            addBound(frame, {to.b * x + to.a * y, -to.b * y + to.a * x, to.b, to.a}, -mostY - off.y, mostY - off.y);
        }
        addBound(frame, {to.a, -to.b, 0, 0}, kNarrowest / bounds_.zoom, COIN_DBL_MAX);
        addBound(frame, {to.b, to.a, 0, 0}, -kFarthestTurn, kFarthestTurn);
    }

    void addBound(std::size_t frame, const Parts& factors, double least, double most) {
        const int row = addRow(frame, factors, least, most);
        if (!strict_) program_.addDistance(row, kBeyond);
    }

    void addCentring(std::size_t frame) {
        const Similarity to = window_.camera[frame].inverse();
        program_.addDistance(addRow(frame, {0, 0, to.a, -to.b}, -to.dx, -to.dx), kCentring);
        program_.addDistance(addRow(frame, {0, 0, to.b, to.a}, -to.dy, -to.dy), kCentring);
        program_.addDistance(addRow(frame, {to.a, -to.b, 0, 0}, 1 / bounds_.zoom, 1 / bounds_.zoom), kCentring);
    }

    // Of the path up to `frame`, unless it begins later.
    void addDifference(std::size_t frame, std::initializer_list<double> factors, double weight) {
        if (weight == 0 || frame + 1 < factors.size()) return;
        const std::size_t first = frame + 1 - factors.size();
        for (int part = 0; part < kParts; ++part) {
            const int row = program_.addRow(0, 0);
            int column = static_cast<int>(first) * kParts + part;
            for (const double factor : factors) {
                program_.addTerm(row, column, factor);
                column += kParts;
            }
            program_.addDistance(row, weight);
        }
    }

    const PathWindow& window_;
    const FrameBounds& bounds_;
    bool strict_;
    Program program_;
};

}  // namespace

std::vector<Similarity> l1Path(const PathWindow& window, const FrameBounds& bounds, const PathWeights& weights) {
    std::vector<Similarity> path = PathProgram(window, bounds, weights, true).solve();
    if (path.empty()) path = PathProgram(window, bounds, weights, false).solve();
    if (path.empty()) throw HostError(kExitInternal, "the camera's path has no smooth one under the frame's bounds");
    return path;
}

}  // namespace eishost
