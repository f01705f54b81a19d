// Accuracy of every row that has a test domain in the row list: about 5,000
// arguments of the row's domain (edges and thresholds included, fixed
// seed), each exact value computed once with MPFR and shared by the LA, HA
// and EP entry points of the contiguous and the strided form, each held to
// the bound its row gives.  Special values, codes and the frame are tested
// beside the kernels' families.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "qor/qor_vm.h"
#include "tests/support/vm_accuracy.h"

namespace {

using qor::test::AccuracyRow;

constexpr std::size_t kArguments = 5000;

uint64_t seed_of(const char* name) {  // FNV-1a: the same on every platform
    uint64_t h = 0xcbf29ce484222325u;
    for (; *name; ++name) h = (h ^ uint8_t(*name)) * 0x100000001b3u;
    return h;
}

std::vector<const AccuracyRow*> rows() {
    std::vector<const AccuracyRow*> v;
    for (const AccuracyRow& r : qor::test::accuracy_rows()) v.push_back(&r);
    return v;
}

class VmAccuracy : public ::testing::TestWithParam<const AccuracyRow*> {};

TEST_P(VmAccuracy, EverySlotAndFormWithinItsBound) {
    const AccuracyRow& row = *GetParam();
    ASSERT_TRUE(qor::test::has_reference(row)) << row.name << ": no MPFR reference for " << row.function;
    const uint32_t saved = qor_lum_kernel_SetMode(QOR_VM_ERRMODE_IGNORE | QOR_VM_HA | QOR_VM_FTZDAZ_OFF);
    const auto worst = qor::test::sweep(row, kArguments, seed_of(row.name));
    qor_lum_kernel_SetMode((saved & QOR_VM_FTZDAZ_MASK) ? saved : saved | QOR_VM_FTZDAZ_OFF);
    const char* slots[3] = {"LA", "HA", "EP"};
    std::string table = row.name;
    for (int s = 0; s < 3; ++s) {
        const auto& w = worst[s];
        EXPECT_EQ(w.contiguous.above, 0u) << row.name << " " << slots[s] << " above " << row.bound[s]
                                          << " ulp; worst " << w.contiguous.describe() << ", y = " << w.contiguous.arg2;
        EXPECT_EQ(w.strided.above, 0u) << row.name << "I " << slots[s] << " above " << row.strided_bound[s]
                                       << " ulp; worst " << w.strided.describe() << ", y = " << w.strided.arg2;
        char cell[64];
        std::snprintf(cell, sizeof cell, "  %s %.4g/%.4g", slots[s], w.contiguous.ulps, w.strided.ulps);
        table += cell;
    }
    std::printf("worst ulp %s (over %zu)\n", table.c_str(), worst[0].contiguous.count);
}

INSTANTIATE_TEST_SUITE_P(Rows, VmAccuracy, ::testing::ValuesIn(rows()),
                         [](const auto& info) { return std::string(info.param->name); });

}  // namespace
