// The floating-point protocol around a kernel: the caller's x87 control word
// and MXCSR come back unchanged with the kernel's flags added, the kernel
// computes with round-to-nearest whatever the caller's rounding, and flushes
// subnormals to zero exactly when the mode asks for it.
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <limits>

#include "frame_support.h"
#include "qor/qor_vm.h"

using namespace frame_test;

namespace {

constexpr double kDenormMin = std::numeric_limits<double>::denorm_min();
constexpr float kFloatDenormMin = std::numeric_limits<float>::denorm_min();

// MXCSR bits.
constexpr uint32_t kMxcsrPlain = 0x1F80;           // all masked, nearest
constexpr uint32_t kMxcsrFtz = 0x8000, kMxcsrDaz = 0x0040;
constexpr uint32_t kMxcsrTowardZero = 0x6000;
constexpr uint32_t kMxcsrControl = 0xFFC0;

class FrameFpEnv : public ::testing::Test {
protected:
    ScopedEnv env_{"QOR_LUM_MODE", nullptr};
};

}  // namespace

TEST_F(FrameFpEnv, CallerX87ControlComesBackUnchanged) {
    on_fresh_thread([] {
        qor_lum_kernel_SetMode(QOR_VM_ERRMODE_ERRNO);  // no x87 flag from the error path
        qor_lum_kernel_SetInterfInputVectorPointer(nullptr);
        const uint16_t saved = x87_control();
        // Invalid, zero-divide and overflow unmasked; double precision;
        // rounding down.
        x87_clear();
        x87_set_control(0x0672);
        const uint16_t caller = x87_control();
        const double a[3] = {1, DBL_MAX, 0.1}, b[3] = {2, DBL_MAX, 0.2};
        double r[3];
        set_mxcsr(kMxcsrPlain);
        _lumdAdd(3, a, b, r);
        EXPECT_EQ(x87_control(), caller);
        EXPECT_EQ(x87_status() & kX87Flags, 0);
        EXPECT_EQ(r[0], 3.0);
        EXPECT_EQ(r[1], std::numeric_limits<double>::infinity());
        EXPECT_EQ(r[2], 0.1 + 0.2);
        EXPECT_EQ(mxcsr() & kMxcsrFlags, kMxcsrOverflow | kMxcsrInexact);
        x87_clear();
        x87_set_control(saved);
    });
}

TEST_F(FrameFpEnv, CallerMxcsrComesBackWithTheKernelsFlagsAdded) {
    on_fresh_thread([] {
        qor_lum_kernel_SetMode(QOR_VM_ERRMODE_IGNORE);
        qor_lum_kernel_SetInterfInputVectorPointer(nullptr);
        const uint32_t caller = kMxcsrPlain | kMxcsrFtz | kMxcsrDaz | kMxcsrTowardZero;
        // 1 + 3/4 ulp rounds up to nearest but down toward zero; a
        // subnormal argument survives only without DAZ, a subnormal sum
        // only without FTZ.
        const double a[4] = {1.0, 3 * kDenormMin, DBL_MAX, 1.5 * DBL_MIN};
        const double b[4] = {0x1.8p-53, 0.0, DBL_MAX, -DBL_MIN};
        double r[4];
        set_mxcsr(caller);
        _lumdAdd(4, a, b, r);
        const uint32_t after = mxcsr();
        set_mxcsr(kMxcsrPlain);
        EXPECT_EQ(after & kMxcsrControl, caller);
        EXPECT_EQ(after & (kMxcsrOverflow | kMxcsrInexact), kMxcsrOverflow | kMxcsrInexact);
        EXPECT_EQ(r[0], 1.0 + 0x1p-52);
        EXPECT_EQ(r[1], 3 * kDenormMin);
        EXPECT_TRUE(std::isinf(r[2]));
        EXPECT_EQ(r[3], 0.5 * DBL_MIN);

        // Flags the caller had raised before stay raised.
        set_mxcsr(caller | 0x04);
        _lumdAdd(1, a + 1, b + 1, r);
        EXPECT_EQ(mxcsr() & 0x04, 0x04u);
        set_mxcsr(kMxcsrPlain);
    });
}

TEST_F(FrameFpEnv, FlushToZeroFollowsTheModeField) {
    // DAZ: a subnormal argument counts as zero; FTZ: a subnormal sum is 0.
    const double a[2] = {3 * kDenormMin, 1.5 * DBL_MIN}, b[2] = {0.0, -DBL_MIN};
    const float fa[2] = {3 * kFloatDenormMin, 1.5f * FLT_MIN}, fb[2] = {0.0f, -FLT_MIN};
    auto run = [&](uint32_t mode, bool flushed) {
        on_fresh_thread([&] {
            if (mode) qor_lum_kernel_SetMode(mode);
            set_mxcsr(kMxcsrPlain);
            double r[2];
            float fr[2];
            _lumdAdd(2, a, b, r);
            _lumsAdd(2, fa, fb, fr);
            EXPECT_EQ(mxcsr() & kMxcsrControl, kMxcsrPlain) << std::hex << mode;
            if (flushed) {
                EXPECT_EQ(r[0], 0.0) << std::hex << mode;
                EXPECT_EQ(r[1], 0.0) << std::hex << mode;
                EXPECT_EQ(fr[0], 0.0f) << std::hex << mode;
                EXPECT_EQ(fr[1], 0.0f) << std::hex << mode;
            } else {
                EXPECT_EQ(r[0], 3 * kDenormMin) << std::hex << mode;
                EXPECT_EQ(r[1], 0.5 * DBL_MIN) << std::hex << mode;
                EXPECT_EQ(fr[0], 3 * kFloatDenormMin) << std::hex << mode;
                EXPECT_EQ(fr[1], 0.5f * FLT_MIN) << std::hex << mode;
            }
            set_mxcsr(kMxcsrPlain);
        });
    };
    run(0x280000, true);
    run(0x140000, false);
    run(0, false);
    run(0x080000, false);  // only part of the on pattern
    run(0x3C0000, false);
}
