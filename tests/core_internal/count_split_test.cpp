// Public calls take 64-bit counts and increments; the kernels take 32-bit
// ones.  A fake kernel set records the kernel calls a public call makes, so
// calls of more than 2^31 - 1 elements are checked without the memory.
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "fake_kernel_library.h"
#include "qor/qor.h"

namespace {

struct StridedCall {
    int n;
    const double *a, *b;
    int inca, incb, incr;
    double* r;
};
thread_local std::vector<StridedCall> vm_calls;
thread_local std::vector<std::pair<int, double*>> rng_calls;
thread_local int rng_status = 0;

void record_add(int n, const double* a, int inca, const double* b, int incb, double* r, int incr) {
    vm_calls.push_back({n, a, b, inca, incb, incr, r});
}
int32_t record_uniform(int32_t, qor_rng_stream*, int32_t n, double* r, double, double) {
    rng_calls.emplace_back(n, r);
    return rng_status;
}

const qor_vm_kernel add_table[3] = {reinterpret_cast<qor_vm_kernel>(&record_add),
                                    reinterpret_cast<qor_vm_kernel>(&record_add),
                                    reinterpret_cast<qor_vm_kernel>(&record_add)};

class CountSplit : public ::testing::Test {
protected:
    void SetUp() override {
        set_.services = fake::services();
        set_.tables.dAddI = add_table;
        set_.rng.dUniform = &record_uniform;
        qor::core::loaded_kernels.store(&set_);
        vm_calls.clear();
        rng_calls.clear();
    }
    void TearDown() override { qor::core::loaded_kernels.store(nullptr); }
    qor::core::KernelSet set_;
    // Addresses only: the recording kernels never touch memory.
    double* const base = reinterpret_cast<double*>(uintptr_t{1} << 44);
};

constexpr int64_t kMax = INT32_MAX;

TEST_F(CountSplit, LongCallsRunInPiecesEachPointerAdvancedByItsIncrement) {
    qor_vdAddI(2 * kMax + 6, base, 2, base, -1, base, 3);
    ASSERT_EQ(vm_calls.size(), 3u);
    const int64_t starts[] = {0, kMax, 2 * kMax};
    for (int i = 0; i < 3; ++i) {
        const StridedCall& c = vm_calls[i];
        EXPECT_EQ(c.n, i < 2 ? kMax : 6);
        EXPECT_EQ(c.a, base + 2 * starts[i]);
        EXPECT_EQ(c.b, base - starts[i]);
        EXPECT_EQ(c.r, base + 3 * starts[i]);
        EXPECT_EQ(c.inca, 2);
        EXPECT_EQ(c.incb, -1);
        EXPECT_EQ(c.incr, 3);
    }
}

TEST_F(CountSplit, AnIncrementBeyond32BitsRunsElementByElement) {
    const int64_t far = int64_t{1} << 33;
    qor_vmdAddI(3, base, far, base, 1, base, 1, QOR_VM_EP);
    ASSERT_EQ(vm_calls.size(), 3u);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(vm_calls[i].n, 1);
        EXPECT_EQ(vm_calls[i].a, base + i * far);
        EXPECT_EQ(vm_calls[i].r, base + i);
    }
}

TEST_F(CountSplit, CallsThatFitGoStraightThroughAndNegativeCountsDoNothing) {
    qor_vdAddI(kMax, base, -7, base, 1, base, 1);
    ASSERT_EQ(vm_calls.size(), 1u);
    EXPECT_EQ(vm_calls[0].n, kMax);
    EXPECT_EQ(vm_calls[0].inca, -7);
    qor_vdAddI(-(int64_t{1} << 40), base, 1, base, 1, base, 1);
    EXPECT_EQ(vm_calls.size(), 1u);
}

TEST_F(CountSplit, DistributionsDrawInPiecesAndStopAtTheFirstFailure) {
    auto* stream = reinterpret_cast<qor_rng_stream*>(base);
    rng_status = 0;
    EXPECT_EQ(qor_vdRngUniform(0, stream, kMax + 2, base, 0.0, 1.0), 0);
    ASSERT_EQ(rng_calls.size(), 2u);
    EXPECT_EQ(rng_calls[0], std::make_pair(static_cast<int>(kMax), base));
    EXPECT_EQ(rng_calls[1], std::make_pair(2, base + kMax));

    rng_calls.clear();
    rng_status = QOR_RNG_STATUS_BAD_ARGUMENT;
    EXPECT_EQ(qor_vdRngUniform(0, stream, 3 * kMax, base, 0.0, 1.0), QOR_RNG_STATUS_BAD_ARGUMENT);
    EXPECT_EQ(rng_calls.size(), 1u);
}

}  // namespace
