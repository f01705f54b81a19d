// The public vector-math interface on known values: Add and Sub through the
// core, the mode/status/callback services, the error path seen from an
// application, and what a per-call mode does and undoes.
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <vector>

#include "qor/qor.h"

namespace {

class VmApi : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(qor_init(), QOR_STATUS_OK) << qor_init_detail();
        saved_mode_ = qor_vm_get_mode();
        qor_vm_clear_status();
    }
    void TearDown() override {
        qor_vm_clear_error_callback();
        qor_vm_set_input_base(nullptr);
        qor_vm_set_mode(saved_mode_);
        qor_vm_clear_status();
    }
    uint32_t saved_mode_ = 0;
};

TEST_F(VmApi, AddAndSubGiveExactSums) {
    std::vector<double> a(19), b(19), r(19);
    for (int i = 0; i < 19; ++i) a[i] = i, b[i] = 0.5 * i - 3;
    qor_vdAdd(19, a.data(), b.data(), r.data());
    for (int i = 0; i < 19; ++i) EXPECT_EQ(r[i], 1.5 * i - 3) << i;
    qor_vmdSub(19, a.data(), b.data(), r.data(), QOR_VM_EP);
    for (int i = 0; i < 19; ++i) EXPECT_EQ(r[i], 0.5 * i + 3) << i;

    std::vector<float> fa{1, 2, 3, 4, 5, 6}, fb{10, 20, 30, 40, 50, 60}, fr(6, -1.0f);
    qor_vsSubI(3, fa.data(), 2, fb.data(), 2, fr.data(), 2);  // elements 0, 2, 4
    EXPECT_EQ(fr, (std::vector<float>{-9, -1, -27, -1, -45, -1}));
    qor_vmsAddI(2, fa.data(), 3, fb.data(), 1, fr.data(), 1, QOR_VM_LA);
    EXPECT_EQ(fr[0], 11.0f);
    EXPECT_EQ(fr[1], 24.0f);
}

TEST_F(VmApi, ModeServicesSetGetAndMergeFields) {
    EXPECT_EQ(qor_vm_set_mode(QOR_VM_EP), saved_mode_);
    EXPECT_EQ(qor_vm_get_mode(), (saved_mode_ & ~uint32_t{QOR_VM_ACCURACY_MASK}) | QOR_VM_EP);
    const uint32_t before = qor_vm_get_mode();
    EXPECT_EQ(qor_vm_set_mode(0), before);  // a zero field leaves the field alone
    EXPECT_EQ(qor_vm_get_mode(), before);
    qor_vm_set_mode(QOR_VM_ERRMODE_ERRNO | QOR_VM_LA);
    EXPECT_EQ(qor_vm_get_mode() & (QOR_VM_ERRMODE_MASK | QOR_VM_ACCURACY_MASK),
              uint32_t{QOR_VM_ERRMODE_ERRNO | QOR_VM_LA});
}

TEST_F(VmApi, StatusServicesReturnThePreviousStatus) {
    EXPECT_EQ(qor_vm_get_status(), QOR_VM_STATUS_OK);
    EXPECT_EQ(qor_vm_set_status(QOR_VM_STATUS_OVERFLOW), QOR_VM_STATUS_OK);
    EXPECT_EQ(qor_vm_get_status(), QOR_VM_STATUS_OVERFLOW);
    EXPECT_EQ(qor_vm_clear_status(), QOR_VM_STATUS_OVERFLOW);
    EXPECT_EQ(qor_vm_get_status(), QOR_VM_STATUS_OK);
}

struct Seen {
    int calls = 0;
    qor_vm_error_record last{};
};
thread_local Seen seen;

int32_t record_and_keep(qor_vm_error_record* r) {
    ++seen.calls;
    seen.last = *r;
    return 1;  // keep the kernel's result, skip the default actions
}

int32_t record_and_replace(qor_vm_error_record* r) {
    ++seen.calls;
    seen.last = *r;
    r->res1 = 42.0;
    return 0;
}

TEST_F(VmApi, CallbackServicesSwitchTheCallbackBit) {
    EXPECT_EQ(qor_vm_set_error_callback(record_and_keep), nullptr);
    EXPECT_EQ(qor_vm_get_error_callback(), &record_and_keep);
    EXPECT_TRUE(qor_vm_get_mode() & QOR_VM_ERRMODE_CALLBACK);
    EXPECT_EQ(qor_vm_set_error_callback(record_and_replace), &record_and_keep);
    EXPECT_EQ(qor_vm_clear_error_callback(), &record_and_replace);
    EXPECT_EQ(qor_vm_get_error_callback(), nullptr);
}

TEST_F(VmApi, OverflowReachesTheCallbackWithTheIndexFromTheInputBase) {
    std::vector<double> whole(110, 1.0), b(10, 1.0), r(10, 0.0);
    double* a = whole.data() + 100;
    a[3] = DBL_MAX;
    b[3] = DBL_MAX;
    seen = {};
    qor_vm_set_error_callback(record_and_replace);
    qor_vm_set_input_base(whole.data());
    qor_vdAdd(10, a, b.data(), r.data());
    ASSERT_EQ(seen.calls, 1);
    EXPECT_EQ(seen.last.code, QOR_VM_STATUS_OVERFLOW);
    EXPECT_EQ(seen.last.index, 103);
    EXPECT_EQ(seen.last.arg1, DBL_MAX);
    EXPECT_EQ(r[3], 42.0);  // replaced by the callback
    EXPECT_EQ(r[2], 2.0);
    EXPECT_EQ(qor_vm_get_status(), QOR_VM_STATUS_OVERFLOW);
}

TEST_F(VmApi, PerCallErrorModeAppliesToThatCallOnly) {
    std::vector<double> a{1.0, DBL_MAX}, b{1.0, DBL_MAX}, r(2);
    seen = {};
    qor_vm_set_error_callback(record_and_keep);
    const uint32_t mode = qor_vm_get_mode();

    // No-error mode: nothing recorded, not even the status.
    qor_vmdAdd(2, a.data(), b.data(), r.data(), QOR_VM_ERRMODE_NOERR);
    EXPECT_EQ(seen.calls, 0);
    EXPECT_EQ(qor_vm_get_status(), QOR_VM_STATUS_OK);
    EXPECT_EQ(qor_vm_get_mode(), mode);
    EXPECT_EQ(r[1], HUGE_VAL);

    // Ignore mode: the status is kept, the callback is not called.
    qor_vmdAdd(2, a.data(), b.data(), r.data(), QOR_VM_ERRMODE_IGNORE);
    EXPECT_EQ(seen.calls, 0);
    EXPECT_EQ(qor_vm_get_status(), QOR_VM_STATUS_OVERFLOW);
    EXPECT_EQ(qor_vm_get_mode(), mode);

    // Back under the thread's own mode the callback runs again.
    qor_vdAdd(2, a.data(), b.data(), r.data());
    EXPECT_EQ(seen.calls, 1);
}

TEST_F(VmApi, PerCallFlushToZeroAndTrapsAreUndoneExactlyAfterTheCall) {
    const double tiny = 4.9406564584124654e-324;  // smallest subnormal
    std::vector<double> a{tiny, 1.0}, b{0.0, 1.0}, r(2, -1.0);
    ASSERT_NE(qor_vm_get_mode() & QOR_VM_FTZDAZ_MASK, uint32_t{QOR_VM_FTZDAZ_ON});
    const uint32_t before = qor_vm_get_mode();

    qor_vmdAdd(2, a.data(), b.data(), r.data(), QOR_VM_FTZDAZ_ON | QOR_VM_TRAP_UNDERFLOW);
    EXPECT_EQ(r[0], 0.0);  // denormal input read as zero
    EXPECT_EQ(r[1], 2.0);

    EXPECT_EQ(qor_vm_get_mode(), before);
    qor_vdAdd(2, a.data(), b.data(), r.data());
    EXPECT_EQ(r[0], tiny);
}

TEST_F(VmApi, ModesAreKeptPerThread) {
    if (std::getenv("QOR_LUM_MODE")) GTEST_SKIP() << "a new thread's mode comes from QOR_LUM_MODE";
    qor_vm_set_mode(QOR_VM_LA);
    uint32_t other = 0;
    std::thread([&] { other = qor_vm_get_mode(); }).join();
    EXPECT_EQ(other, uint32_t{QOR_VM_MODE_DEFAULT});
    EXPECT_EQ(qor_vm_get_mode() & QOR_VM_ACCURACY_MASK, uint32_t{QOR_VM_LA});
}

}  // namespace
