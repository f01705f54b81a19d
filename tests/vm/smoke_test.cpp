#include <gtest/gtest.h>

#include <vector>

#include "qor/qor_vm.h"

TEST(Dispatch, AddReachesKernel) {
    std::vector<double> a{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}, b(11, 0.5), r(11);
    _lumdAdd(11, a.data(), b.data(), r.data());
    for (int i = 0; i < 11; ++i) EXPECT_EQ(r[i], a[i] + 0.5);
}
