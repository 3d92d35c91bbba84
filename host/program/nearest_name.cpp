#include "host/program/nearest_name.h"

#include <algorithm>
#include <cctype>
#include <vector>

namespace eishost {

namespace {

bool sameLetter(char a, char b) {
    return std::tolower(static_cast<unsigned char>(a)) == std::tolower(static_cast<unsigned char>(b));
}

}  // namespace

int editDistance(std::string_view a, std::string_view b) {
    // Rows of the optimal string alignment table: the one before last, the last and the one in work.
    std::vector<int> beforeLast(b.size() + 1);
    std::vector<int> last(b.size() + 1);
    std::vector<int> row(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j) last[j] = static_cast<int>(j);
    for (std::size_t i = 1; i <= a.size(); ++i) {
        row[0] = static_cast<int>(i);
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const int replaced = last[j - 1] + (sameLetter(a[i - 1], b[j - 1]) ? 0 : 1);
            row[j] = std::min({replaced, last[j] + 1, row[j - 1] + 1});
            const bool swapped = i > 1 && j > 1 && sameLetter(a[i - 1], b[j - 2]) && sameLetter(a[i - 2], b[j - 1]);
            if (swapped) row[j] = std::min(row[j], beforeLast[j - 2] + 1);
        }
        beforeLast.swap(last);
        last.swap(row);
    }
    return last[b.size()];
}

std::string nearestName(std::string_view name, std::span<const std::string> known) {
    const std::string* nearest = nullptr;
    int least = static_cast<int>(name.size()) / 3 + 1;
    for (const std::string& candidate : known) {
        const int distance = editDistance(name, candidate);
        if (distance >= least) continue;
        least = distance;
        nearest = &candidate;
    }
    return nearest != nullptr ? *nearest : std::string();
}

}  // namespace eishost
