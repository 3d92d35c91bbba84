#include "host/merge/wiener.h"

#include <algorithm>

namespace eishost {

namespace {

constexpr int kReach = 2;

}  // namespace

NeighbourRows::NeighbourRows(const cv::Mat& plane) : plane_(plane) {
    for (std::vector<std::int16_t>& row : rows_) row.resize(plane.cols + 2 * kReach);
    for (std::vector<std::int32_t>& group : groups_) group.resize(plane.cols);
}

const std::int16_t* NeighbourRows::padded(int asked) {
    const int row = std::clamp(asked, 0, plane_.rows - 1);
    std::vector<std::int16_t>& kept = rows_[row % 5];
    if (held_[row % 5] != row) {
        held_[row % 5] = row;
        const auto* const samples = plane_.ptr<std::uint16_t>(row);
        std::copy_n(samples, plane_.cols, kept.begin() + kReach);
        std::fill_n(kept.begin(), kReach, kept[kReach]);
        std::fill_n(kept.end() - kReach, kReach, kept[kReach + plane_.cols - 1]);
    }
    return kept.data() + kReach;
}

void NeighbourRows::load(int row) {
    using Row = const std::int16_t* __restrict;
    Row up2 = padded(row - 2);
    Row up = padded(row - 1);
    Row here = padded(row);
    Row down = padded(row + 1);
    Row down2 = padded(row + 2);
    std::int32_t* __restrict const one = groups_[0].data();
    std::int32_t* __restrict const diagonal = groups_[1].data();
    std::int32_t* __restrict const two = groups_[2].data();
    std::int32_t* __restrict const knight = groups_[3].data();
    std::int32_t* __restrict const corner = groups_[4].data();
    for (int x = 0; x < plane_.cols; ++x) {
        const int middle = here[x];
        one[x] = up[x] + down[x] + here[x - 1] + here[x + 1] - 4 * middle;
        diagonal[x] = up[x - 1] + up[x + 1] + down[x - 1] + down[x + 1] - 4 * middle;
        two[x] = up2[x] + down2[x] + here[x - 2] + here[x + 2] - 4 * middle;
        corner[x] = up2[x - 2] + up2[x + 2] + down2[x - 2] + down2[x + 2] - 4 * middle;
    }
    for (int x = 0; x < plane_.cols; ++x) {
        knight[x] = up2[x - 1] + up2[x + 1] + down2[x - 1] + down2[x + 1] + up[x - 2] + up[x + 2] + down[x - 2] +
                    down[x + 2] - 8 * here[x];
    }
}

void FilterFit::add(const std::array<double, kFilterGroups>& neighbours, double wanted) {
    for (int i = 0; i < kFilterGroups; ++i) {
        for (int j = 0; j <= i; ++j) products_[i][j] += neighbours[i] * neighbours[j];
        wanted_[i] += neighbours[i] * wanted;
    }
    energy_ += wanted * wanted;
    count_ += 1;
}

void FilterFit::add(const FilterFit& other) {
    for (int i = 0; i < kFilterGroups; ++i) {
        for (int j = 0; j <= i; ++j) products_[i][j] += other.products_[i][j];
        wanted_[i] += other.wanted_[i];
    }
    energy_ += other.energy_;
    count_ += other.count_;
}

std::array<float, kFilterGroups> FilterFit::solve() const {
    // A little of the diagonal more keeps a flat place, where no filter differs from another, solvable.
    constexpr double kRidge = 1e-6;
    cv::Matx<double, kFilterGroups, kFilterGroups> matrix;
    cv::Vec<double, kFilterGroups> right;
    for (int i = 0; i < kFilterGroups; ++i) {
        for (int j = 0; j < kFilterGroups; ++j) matrix(i, j) = products_[std::max(i, j)][std::min(i, j)];
        matrix(i, i) += kRidge * matrix(i, i) + kRidge;
        right[i] = wanted_[i];
    }
    const cv::Vec<double, kFilterGroups> solution = matrix.solve(right, cv::DECOMP_CHOLESKY);
    std::array<float, kFilterGroups> coefficients{};
    for (int i = 0; i < kFilterGroups; ++i) coefficients[i] = static_cast<float>(solution[i]);
    return coefficients;
}

double FilterFit::residual(const std::array<float, kFilterGroups>& coefficients) const {
    double sum = energy_;
    for (int i = 0; i < kFilterGroups; ++i) {
        sum -= 2 * coefficients[i] * wanted_[i];
        for (int j = 0; j < kFilterGroups; ++j) {
            sum += coefficients[i] * coefficients[j] * products_[std::max(i, j)][std::min(i, j)];
        }
    }
    return count_ > 0 ? std::max(sum / count_, 0.0) : 0;
}

}  // namespace eishost
