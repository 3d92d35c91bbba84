// The two forms of a kernel over all cases.
#pragma once

#include <cstring>

#include "tests/harness/kernel_cases.h"

namespace eis::test {

// form(case, plain) gives the plane that the plain or the vector form makes of the case. Both must agree, and all of
// them come to a known digest.
template <class Form>
void expectFormsAgree(uint64_t expected, Form form) {
    CaseDigest all;
    forEachCase([&](const KernelCase& c) {
        const auto plain = form(c, true);
        EXPECT_TRUE(agree(plain, form(c, false)));
        all.add(c, plain);
    });
    EXPECT_EQ(all.value(), expected);
}

// Copies samples, not padding, which tells planes apart.
template <class T>
void copySamples(const Plane<T>& from, const Plane<T>& to) {
    for (int y = 0; y < from.height(); ++y) std::memcpy(to.row(y), from.row(y), from.width() * sizeof(T));
}

}  // namespace eis::test
