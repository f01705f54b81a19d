// The error reporters of all four element types, called directly: the
// record they fill (widened values, imaginary parts, strided elements,
// base-adjusted index, cut name), the write-back, and the default actions
// per status code (errno, standard-error messages, x87 flag and trap).
#include <gtest/gtest.h>

#include <cerrno>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <string>
#include <type_traits>

#include "qor/qor_serv.h"
#include "vm/frame/error_report.h"
#include "vm/frame/thread_state.h"
#include "vm/frame_support.h"

using namespace frame_test;
using qor::vm::report;
using qor::vm::report_strided;

namespace {

template <class T> T make(double re, double im);
template <> float make<float>(double re, double) { return static_cast<float>(re); }
template <> double make<double>(double re, double) { return re; }
template <> qor_complex8 make<qor_complex8>(double re, double im) {
    return {static_cast<float>(re), static_cast<float>(im)};
}
template <> qor_complex16 make<qor_complex16>(double re, double im) { return {re, im}; }

double re_of(float x) { return x; }
double re_of(double x) { return x; }
double re_of(qor_complex8 x) { return x.re; }
double re_of(qor_complex16 x) { return x.re; }
double im_of(float) { return 0; }
double im_of(double) { return 0; }
double im_of(qor_complex8 x) { return x.im; }
double im_of(qor_complex16 x) { return x.im; }

template <class T>
constexpr bool kComplex = std::is_same_v<T, qor_complex8> || std::is_same_v<T, qor_complex16>;

// Replaces both results, real and imaginary parts, and lets them be written.
int32_t replacing_callback(qor_vm_error_record* r) {
    CallbackLog::records.push_back(*r);
    r->res1 = 7.5, r->res1_im = -2.5;
    r->res2 = 9.25, r->res2_im = 4.0;
    return CallbackLog::answer;
}

// Runs each test on the main thread's record with a known state, and puts
// the record back afterwards.
class FrameReporter : public ::testing::Test {
protected:
    void SetUp() override {
        state_ = qor::vm::thread_state();
        saved_ = *state_;
        state_->base = nullptr;
        state_->callback = nullptr;
        state_->status = 0;
        CallbackLog::reset();
    }
    void TearDown() override { *state_ = saved_; }
    void use(uint32_t mode, qor_vm_error_callback cb = nullptr) {
        state_->mode = mode;
        state_->callback = cb;
    }
    qor::vm::ThreadState* state_ = nullptr;
    qor::vm::ThreadState saved_{};
};

template <class T>
class FrameTypedReporter : public FrameReporter {};
using ElementTypes = ::testing::Types<float, double, qor_complex8, qor_complex16>;
TYPED_TEST_SUITE(FrameTypedReporter, ElementTypes);

}  // namespace

TYPED_TEST(FrameTypedReporter, RecordCarriesWidenedValuesAndResultsAreWrittenBack) {
    using T = TypeParam;
    this->use(QOR_VM_ERRMODE_CALLBACK, replacing_callback);
    T a[4], b[4], r1[4], r2[4];
    for (int i = 0; i < 4; ++i) {
        a[i] = make<T>(1.25 + i, -0.5 - i);
        b[i] = make<T>(2.5 + i, 0.75 + i);
        r1[i] = make<T>(-3.0 - i, 8.0 + i);
        r2[i] = make<T>(16.0 + i, -32.0 - i);
    }
    report<T>(QOR_VM_STATUS_UNDERFLOW, 2, a, b, r1, r2, "vxTest");
    ASSERT_EQ(CallbackLog::records.size(), 1u);
    const qor_vm_error_record& rec = CallbackLog::records[0];
    EXPECT_EQ(rec.code, QOR_VM_STATUS_UNDERFLOW);
    EXPECT_EQ(rec.index, 2);
    EXPECT_EQ(rec.arg1, 3.25);
    EXPECT_EQ(rec.arg2, 4.5);
    EXPECT_EQ(rec.res1, -5.0);
    EXPECT_EQ(rec.res2, 18.0);
    EXPECT_EQ(rec.arg1_im, kComplex<T> ? -2.5 : 0.0);
    EXPECT_EQ(rec.arg2_im, kComplex<T> ? 2.75 : 0.0);
    EXPECT_EQ(rec.res1_im, kComplex<T> ? 10.0 : 0.0);
    EXPECT_EQ(rec.res2_im, kComplex<T> ? -34.0 : 0.0);
    EXPECT_STREQ(rec.name, "vxTest");
    EXPECT_EQ(rec.name_length, 6);
    EXPECT_EQ(this->state_->status, QOR_VM_STATUS_UNDERFLOW);

    EXPECT_EQ(re_of(r1[2]), 7.5);
    EXPECT_EQ(re_of(r2[2]), 9.25);
    EXPECT_EQ(im_of(r1[2]), kComplex<T> ? -2.5 : 0.0);
    EXPECT_EQ(im_of(r2[2]), kComplex<T> ? 4.0 : 0.0);
    for (int i : {0, 1, 3}) {
        EXPECT_EQ(re_of(r1[i]), -3.0 - i);
        EXPECT_EQ(re_of(r2[i]), 16.0 + i);
    }
    EXPECT_EQ(re_of(a[2]), 3.25);  // inputs are never written

    // A callback that declines keeps the stored results.
    CallbackLog::answer = 1;
    r1[1] = make<T>(1.0, 1.0);
    report<T>(QOR_VM_STATUS_OVERFLOW, 1, a, b, r1, r2, "vxTest");
    EXPECT_EQ(re_of(r1[1]), 1.0);
    EXPECT_EQ(re_of(r2[1]), 17.0);
}

TYPED_TEST(FrameTypedReporter, StridedFormUsesEveryIncthElementAndCountsIndexFromBase) {
    using T = TypeParam;
    this->use(QOR_VM_ERRMODE_CALLBACK, replacing_callback);
    T whole[130], b[8], r1[12], r2[12];
    for (int i = 0; i < 130; ++i) whole[i] = make<T>(i, -i);
    for (int i = 0; i < 8; ++i) b[i] = make<T>(100 + i, 0);
    for (int i = 0; i < 12; ++i) r1[i] = make<T>(200 + i, 0), r2[i] = make<T>(300 + i, 0);
    const T* a = whole + 100;
    this->state_->base = whole;
    report_strided<T>(QOR_VM_STATUS_DOMAIN, 2, a, 3, b, 2, r1, 4, r2, 5, "vxTestI");
    ASSERT_EQ(CallbackLog::records.size(), 1u);
    const qor_vm_error_record& rec = CallbackLog::records[0];
    EXPECT_EQ(rec.index, 102);  // whole elements between base and a; the increment plays no part
    EXPECT_EQ(rec.arg1, 106.0);
    EXPECT_EQ(rec.arg1_im, kComplex<T> ? -106.0 : 0.0);
    EXPECT_EQ(rec.arg2, 104.0);
    EXPECT_EQ(rec.res1, 208.0);
    EXPECT_EQ(rec.res2, 310.0);
    EXPECT_EQ(re_of(r1[8]), 7.5);
    EXPECT_EQ(re_of(r2[10]), 9.25);
    EXPECT_EQ(re_of(r1[2]), 202.0);
    EXPECT_EQ(re_of(r2[2]), 302.0);

    // A negative distance counts down.
    this->state_->base = whole + 110;
    report_strided<T>(QOR_VM_STATUS_DOMAIN, 1, whole + 100, 1, b, 1, r1, 1, r2, 1, "vxTestI");
    EXPECT_EQ(CallbackLog::records.back().index, -9);
}

TEST_F(FrameReporter, IndexBeyondThirtyTwoBitsWraps) {
    // The index field is 32 bits; a base 2^31 - 1 elements before the array
    // (as a caller with a huge vector may set) wraps instead of overflowing.
    use(QOR_VM_ERRMODE_CALLBACK, CallbackLog::callback);
    double a[4] = {}, r[4] = {};
    state_->base = reinterpret_cast<const void*>(reinterpret_cast<uintptr_t>(a) - uintptr_t{0x7FFFFFFF} * 8);
    report<double>(QOR_VM_STATUS_OVERFLOW, 3, a, a, r, r, "vdTest");
    ASSERT_EQ(CallbackLog::records.size(), 1u);
    EXPECT_EQ(CallbackLog::records[0].index, INT32_MIN + 2);
}

TEST_F(FrameReporter, NameIsCutAfterFortySevenCharacters) {
    use(QOR_VM_ERRMODE_CALLBACK, CallbackLog::callback);
    double x[1] = {1}, r[1] = {2};
    for (size_t length : {size_t(1), size_t(46), size_t(47), size_t(48), size_t(60)}) {
        std::string name(length, 'n');
        name[0] = 'v';
        report<double>(QOR_VM_STATUS_OVERFLOW, 0, x, x, r, r, name.c_str());
        const qor_vm_error_record& rec = CallbackLog::records.back();
        const size_t kept = length < 47 ? length : 47;
        EXPECT_EQ(rec.name_length, int(kept)) << length;
        EXPECT_EQ(std::string(rec.name), name.substr(0, kept)) << length;
    }
}

TEST_F(FrameReporter, CodesWithoutValuesLeaveRecordAndArraysAlone) {
    use(QOR_VM_ERRMODE_CALLBACK | QOR_VM_ERRMODE_ERRNO, replacing_callback);
    double a[3] = {1, 2, 3}, r[3] = {4, 5, 6};
    errno = 0;
    report<double>(QOR_VM_STATUS_BADARG, 1, a, a, r, r, "vdTest");
    EXPECT_EQ(errno, 22);
    report<double>(QOR_VM_STATUS_BADMEM, 2, a, a, r, r, "vdTest");
    EXPECT_EQ(errno, 13);
    ASSERT_EQ(CallbackLog::records.size(), 2u);
    for (const qor_vm_error_record& rec : CallbackLog::records) {
        EXPECT_EQ(rec.arg1, 0.0);
        EXPECT_EQ(rec.res1, 0.0);
        EXPECT_STREQ(rec.name, "vdTest");
    }
    EXPECT_EQ(CallbackLog::records[0].index, 1);
    EXPECT_EQ(r[1], 5.0);
    EXPECT_EQ(r[2], 6.0);
    EXPECT_EQ(state_->status, QOR_VM_STATUS_BADMEM);
}

TEST_F(FrameReporter, ErrnoFollowsTheStatusTable) {
    use(QOR_VM_ERRMODE_ERRNO);
    double x[1] = {1}, r[1] = {1};
    const struct { int code, errno_value; } table[] = {{1, 33}, {2, 34}, {3, 34}, {4, 34}, {-1, 22},
                                                       {-2, 13}, {5, 14}, {-3, 14}, {0, 0}};
    for (const auto& row : table) {
        errno = 12345;
        report<double>(row.code, 0, x, x, r, r, "vdTest");
        EXPECT_EQ(errno, row.errno_value) << "code " << row.code;
        EXPECT_EQ(state_->status, row.code);
    }
}

TEST_F(FrameReporter, StderrShowsArgumentsAndResultsThatDiffer) {
    use(QOR_VM_ERRMODE_STDERR);
    auto printed = [](auto&& f) { return capture_stderr(f); };
    double a[2] = {1.5, 1.5}, b[2] = {-2.0, 0.0}, r1[2] = {3.0, 3.0}, r2[2] = {4.0, 0.0};

    // One argument, two results.
    EXPECT_EQ(printed([&] { report<double>(4, 0, a, a, r1, r2, "vdTwo"); }), printed([] {
                  qor_serv_print(1, 753, "vdTwo");
                  qor_serv_print(1, 757, 0, 1.5);
                  qor_serv_print(1, 758, 0, 3.0);
                  qor_serv_print(1, 759, 0, 4.0);
              }));
    // Two arguments, two results.
    EXPECT_EQ(printed([&] { report<double>(2, 0, a, b, r1, r2, "vdTwo"); }), printed([] {
                  qor_serv_print(1, 751, "vdTwo");
                  qor_serv_print(1, 763, 0, 1.5);
                  qor_serv_print(1, 764, 0, -2.0);
                  qor_serv_print(1, 765, 0, 3.0);
                  qor_serv_print(1, 766, 0, 4.0);
              }));
    // A second argument and a second result of 0.0 are shown as absent.
    EXPECT_EQ(printed([&] { report<double>(3, 1, a, b, r1, r2, "vdTwo"); }), printed([] {
                  qor_serv_print(1, 752, "vdTwo");
                  qor_serv_print(1, 755, 1, 1.5);
                  qor_serv_print(1, 756, 1, 3.0);
              }));
    // Unknown codes print their own heading and the values.
    EXPECT_EQ(printed([&] { report<double>(9, 0, a, b, r1, r1, "vdTwo"); }), printed([] {
                  qor_serv_print(1, 754, "vdTwo");
                  qor_serv_print(1, 760, 0, 1.5);
                  qor_serv_print(1, 761, 0, -2.0);
                  qor_serv_print(1, 762, 0, 3.0);
              }));
    // Codes without values: the name, and for -1 the adjusted index.
    state_->base = a;  // base at a: the index is unchanged
    EXPECT_EQ(printed([&] { report<double>(-1, 1, a, a, r1, r1, "vdTwo"); }),
              printed([] { qor_serv_print(1, 748, "vdTwo", 1); }));
    EXPECT_EQ(printed([&] { report<double>(-2, 1, a, a, r1, r1, "vdTwo"); }),
              printed([] { qor_serv_print(1, 749, "vdTwo"); }));
    EXPECT_EQ(printed([&] { report<double>(0, 1, a, a, r1, r1, "vdTwo"); }), "");
}

TEST_F(FrameReporter, StderrShowsRealPartsOfComplexValues) {
    use(QOR_VM_ERRMODE_STDERR);
    qor_complex16 a[1] = {{1.5, 2.5}}, r[1] = {{-3.0, 7.0}};
    EXPECT_EQ(capture_stderr([&] { report<qor_complex16>(1, 0, a, a, r, r, "vzTest"); }), capture_stderr([] {
                  qor_serv_print(1, 750, "vzTest");
                  qor_serv_print(1, 755, 0, 1.5);
                  qor_serv_print(1, 756, 0, -3.0);
              }));
    qor_complex8 fa[1] = {{0.25f, 1.0f}}, fb[1] = {{0.5f, 1.0f}}, fr[1] = {{8.0f, 1.0f}};
    EXPECT_EQ(capture_stderr([&] { report<qor_complex8>(3, 0, fa, fb, fr, fr, "vcTest"); }), capture_stderr([] {
                  qor_serv_print(1, 752, "vcTest");
                  qor_serv_print(1, 760, 0, 0.25);
                  qor_serv_print(1, 761, 0, 0.5);
                  qor_serv_print(1, 762, 0, 8.0);
              }));
}

TEST_F(FrameReporter, ExceptActionRaisesTheFlagOfEachCode) {
    use(QOR_VM_ERRMODE_EXCEPT);
    double x[1] = {1}, r[1] = {1};
    const struct { int code; uint16_t flag; } table[] = {
        {1, kX87Invalid}, {2, kX87ZeroDivide}, {3, kX87Overflow}, {4, kX87Underflow},
        {0, 0},           {-1, 0},             {-2, 0},           {6, 0}};
    for (const auto& row : table) {
        x87_clear();
        report<double>(row.code, 0, x, x, r, r, "vdTest");
        EXPECT_EQ(x87_status() & kX87Flags, row.flag) << "code " << row.code;
    }
    // Trap bits for codes without a flag, or for other flags, do not trap.
    use(QOR_VM_ERRMODE_EXCEPT | QOR_VM_TRAP_MASK);
    for (int code : {-1, -2, 0, 7}) report<double>(code, 0, x, x, r, r, "vdTest");
    use(QOR_VM_ERRMODE_EXCEPT | QOR_VM_TRAP_INVALID | QOR_VM_TRAP_DIVBYZERO | QOR_VM_TRAP_UNDERFLOW);
    x87_clear();
    report<double>(3, 0, x, x, r, r, "vdTest");
    EXPECT_EQ(x87_status() & kX87Flags, kX87Overflow);
    EXPECT_EQ(x87_status() & 0x80, 0);  // raised, not pending
    x87_clear();
}

TEST_F(FrameReporter, EachTrapBitDeliversSigfpeForItsCode) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const struct { int code; uint32_t trap; } table[] = {{1, QOR_VM_TRAP_INVALID},
                                                         {2, QOR_VM_TRAP_DIVBYZERO},
                                                         {3, QOR_VM_TRAP_OVERFLOW},
                                                         {4, QOR_VM_TRAP_UNDERFLOW}};
    for (const auto& row : table) {
        float x[1] = {1}, r[1] = {1};
        EXPECT_EXIT(
            {
                std::signal(SIGFPE, SIG_DFL);
                use(QOR_VM_ERRMODE_EXCEPT | row.trap);
                report<float>(row.code, 0, x, x, r, r, "vsTest");
                std::exit(0);
            },
            ::testing::KilledBySignal(SIGFPE), "")
            << "code " << row.code;
    }
}

TEST_F(FrameReporter, FirstUseOnAThreadReadsTheEnvironment) {
    double x[1] = {1}, r[1] = {1};
    {
        ScopedEnv env("QOR_LUM_MODE", "LUM_ERRMODE_IGNORE");
        on_fresh_thread([&] {
            qor_lum_kernel_SetInterfInputVectorPointer(nullptr);
            errno = 0;
            report<double>(3, 0, x, x, r, r, "vdTest");
            EXPECT_EQ(qor_lum_kernel_GetErrStatus(), 3);
            EXPECT_EQ(errno, 0);
            EXPECT_EQ(qor_lum_kernel_GetMode(), 0x102u);
        });
    }
    ScopedEnv env("QOR_LUM_MODE", "LUM_LA,LUM_ERRMODE_NOERR");
    on_fresh_thread([&] {
        qor::vm::thread_state()->base = nullptr;
        qor::vm::thread_state()->status = 0;
        report<double>(3, 0, x, x, r, r, "vdTest");
        EXPECT_EQ(qor_lum_kernel_GetErrStatus(), 0);
        EXPECT_EQ(qor_lum_kernel_GetMode(), 0x2001u);
    });
}

TEST_F(FrameReporter, MixedTypesFillTheRecordPerArrayAndCountTheIndexInArguments) {
    use(QOR_VM_ERRMODE_CALLBACK, replacing_callback);
    qor_complex16 whole[6] = {{0, 0}, {0, 0}, {0, 0}, {1.5, -2.5}, {3.0, 4.0}, {0, 0}};
    double abs_r[3] = {10, 20, 30};
    state_->base = whole;
    qor::vm::CallContext ctx;
    // Complex in, real out (Abs): index counted in 16-byte elements, the
    // result written back without an imaginary part.
    report<qor_complex16, double>(ctx, QOR_VM_STATUS_OVERFLOW, 1, whole + 2, 1, whole + 2, 1, abs_r, 1, abs_r, 1,
                                  "vzAbs");
    ASSERT_EQ(CallbackLog::records.size(), 1u);
    qor_vm_error_record rec = CallbackLog::records[0];
    EXPECT_EQ(rec.index, 3);
    EXPECT_EQ(rec.arg1, 1.5);
    EXPECT_EQ(rec.arg1_im, -2.5);
    EXPECT_EQ(rec.res1, 20.0);
    EXPECT_EQ(rec.res1_im, 0.0);
    EXPECT_EQ(abs_r[1], 7.5);
    // Real in, complex out (CIS), strided: both parts written back.
    float args[6] = {0, 0, 0, 0, 0.25f, 0};
    qor_complex8 cis_r[4] = {};
    state_->base = args;
    report<float, qor_complex8>(ctx, QOR_VM_STATUS_DOMAIN, 2, args, 2, args, 2, cis_r, 1, cis_r, 1, "vcCIS");
    rec = CallbackLog::records.back();
    EXPECT_EQ(rec.index, 2);
    EXPECT_EQ(rec.arg1, 0.25);
    EXPECT_EQ(rec.arg1_im, 0.0);
    EXPECT_EQ(cis_r[2].re, 7.5f);
    EXPECT_EQ(cis_r[2].im, -2.5f);
}

TEST_F(FrameReporter, KernelGivesBackTheCallersX87WordAfterTheExceptAction) {
    // The except action masks the x87 exceptions for the rest of the call;
    // the caller's word (overflow unmasked, rounding down) comes back with
    // the flag raised, and the MXCSR flags stay raised too.
    use(QOR_VM_ERRMODE_EXCEPT);
    const uint16_t saved = x87_control();
    const double a[11] = {1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1e308}, b[11] = {1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1e308};
    double r[11];
    x87_clear();
    x87_set_control(0x0777);
    set_mxcsr(0x1F80);
    _lumdAdd(11, a, b, r);
    const uint16_t control = x87_control(), status = x87_status();
    x87_clear();
    x87_set_control(saved);
    EXPECT_EQ(control, 0x0777);
    EXPECT_EQ(status & kX87Flags, kX87Overflow);
    EXPECT_EQ(mxcsr() & kMxcsrFlags, kMxcsrOverflow | kMxcsrInexact);
    EXPECT_EQ(r[10], HUGE_VAL);
    EXPECT_EQ(r[9], 2.0);
}
