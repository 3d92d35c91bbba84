// A loop on all cores, by threads that a sanitizer can follow.
#pragma once

#include <algorithm>
#include <cstdint>
#include <exception>
#include <thread>
#include <vector>

namespace eishost {

// Calls body(first, end) for bands that cover 0 to `count`, each on a thread of its own. What a band throws is thrown
// here after all have ended.
template <typename Body>
void forBands(int count, const Body& body) {
    const int bands = std::clamp(static_cast<int>(std::thread::hardware_concurrency()), 1, std::max(1, count));
    const auto start = [&](int band) { return static_cast<int>(std::int64_t{count} * band / bands); };
    std::vector<std::exception_ptr> errors(static_cast<std::size_t>(bands));
    {
        std::vector<std::jthread> threads;
        threads.reserve(errors.size());
        for (int band = 0; band < bands; ++band)
            threads.emplace_back([&, band] {
                try {
                    body(start(band), start(band + 1));
                } catch (...) {
                    errors[static_cast<std::size_t>(band)] = std::current_exception();
                }
            });
    }
    for (const std::exception_ptr& error : errors)
        if (error) std::rethrow_exception(error);
}

}  // namespace eishost
