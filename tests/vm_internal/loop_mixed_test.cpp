// The element loop over views of different element types: complex
// arguments, real results (two complex registers per real register), with
// blocks, a padded tail and marked elements sent to the scalar routine and
// the reporter of both types.
#include <gtest/gtest.h>

#include <vector>

#pragma GCC target("sse4.2")
#include "vm/frame/thread_state.h"
#include "vm/frame_support.h"
#include "vm/kernels/loop.h"

namespace {

using qor::simd::vd;
using S = qor::simd::Simd<double>;
using TwoComplex = qor::vm::Pack<qor_complex16, 2>;  // two registers

// |z|^2; elements above 100 are marked and given -1 with an overflow code.
struct SquaredNorm {
    using Mask = double;
    static constexpr bool reads_mode = false;
    vd operator()(const TwoComplex& z) const {
        return vd{z[0][0] * z[0][0] + z[0][1] * z[0][1], z[1][0] * z[1][0] + z[1][1] * z[1][1]};
    }
    vd special(const TwoComplex&, vd r) const { return S::gt(r, S::set1(100.0)); }
    int fix(qor_complex16, double& r) const {
        r = -1;
        return QOR_VM_STATUS_OVERFLOW;
    }
};

int32_t keep_and_log(qor_vm_error_record* r) {
    frame_test::CallbackLog::records.push_back(*r);
    return 0;
}

}  // namespace

TEST(LoopMixedTypes, ComplexArgumentsRealResultsThroughBlocksTailAndReports) {
    frame_test::on_fresh_thread([] {
        qor_lum_kernel_SetInterfInputVectorPointer(nullptr);
        qor_lum_kernel_SetMode(QOR_VM_ERRMODE_CALLBACK);
        qor_lum_kernel_SetErrorCallBack(keep_and_log);
        frame_test::CallbackLog::reset();
        std::vector<qor_complex16> z(11);
        for (int i = 0; i < 11; ++i) z[i] = {double(i % 4), 1.0};
        z[3] = {20, 0};    // in the block of eight
        z[10] = {0, -11};  // alone in the padded last step
        std::vector<double> r(12, 99.0);
        qor::vm::run(SquaredNorm{}, 11, "vzNorm", qor::vm::Contig<qor_complex16>(z.data()),
                     qor::vm::Contig<double>(r.data()));
        for (int i = 0; i < 11; ++i) {
            const double want = (i == 3 || i == 10) ? -1.0 : (i % 4) * (i % 4) + 1.0;
            EXPECT_EQ(r[i], want) << i;
        }
        EXPECT_EQ(r[11], 99.0);  // nothing written past n
        const auto& log = frame_test::CallbackLog::records;
        ASSERT_EQ(log.size(), 2u);
        EXPECT_EQ(log[0].index, 3);
        EXPECT_EQ(log[0].arg1, 20.0);
        EXPECT_EQ(log[1].index, 10);
        EXPECT_EQ(log[1].arg1_im, -11.0);
        EXPECT_EQ(log[1].res1, -1.0);
        EXPECT_EQ(qor_lum_kernel_GetErrStatus(), QOR_VM_STATUS_OVERFLOW);
    });
}
