// The error path as a caller sees it through real kernels (Add and Sub):
// what the callback receives and what it may change, the error modes, errno,
// the messages on standard error, the x87 flag and trap of the except
// action, and the base-adjusted element index.
#include <gtest/gtest.h>

#include <cerrno>
#include <cfloat>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "frame_support.h"
#include "qor/qor_serv.h"
#include "qor/qor_vm.h"

using frame_test::CallbackLog;
using frame_test::on_fresh_thread;
using frame_test::ScopedEnv;

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();

// Every test body runs on a new thread that starts from the default mode.
// The input base of a new thread means nothing until it is set, so it is
// set before any kernel can report.
class FrameErrorPath : public ::testing::Test {
protected:
    ScopedEnv env_{"QOR_LUM_MODE", nullptr};
    template <class F>
    void run(F&& f) {
        on_fresh_thread([&] {
            CallbackLog::reset();
            qor_lum_kernel_SetInterfInputVectorPointer(nullptr);
            f();
        });
    }
};

bool same_bits(double x, double y) { return std::memcmp(&x, &y, sizeof x) == 0; }

}  // namespace

TEST_F(FrameErrorPath, CallbackReceivesEachOffendingElementInOrder) {
    run([] {
        qor_lum_kernel_SetMode(QOR_VM_ERRMODE_CALLBACK);
        qor_lum_kernel_SetErrorCallBack(CallbackLog::callback);
        // Eleven elements: a full block and a tail, one error in each.
        double a[11], b[11], r[11];
        for (int i = 0; i < 11; ++i) a[i] = i, b[i] = 0.5;
        a[2] = DBL_MAX, b[2] = DBL_MAX;
        a[9] = kInf, b[9] = -kInf;
        _lumdAdd(11, a, b, r);
        ASSERT_EQ(CallbackLog::records.size(), 2u);
        const qor_vm_error_record& ovf = CallbackLog::records[0];
        EXPECT_EQ(ovf.code, QOR_VM_STATUS_OVERFLOW);
        EXPECT_EQ(ovf.index, 2);
        EXPECT_EQ(ovf.arg1, DBL_MAX);
        EXPECT_EQ(ovf.arg2, DBL_MAX);
        EXPECT_EQ(ovf.res1, kInf);
        EXPECT_EQ(ovf.res2, kInf);
        EXPECT_STREQ(ovf.name, "vdAdd");
        EXPECT_EQ(ovf.name_length, 5);
        const qor_vm_error_record& dom = CallbackLog::records[1];
        EXPECT_EQ(dom.code, QOR_VM_STATUS_DOMAIN);
        EXPECT_EQ(dom.index, 9);
        EXPECT_EQ(dom.arg1, kInf);
        EXPECT_EQ(dom.arg2, -kInf);
        EXPECT_TRUE(std::isnan(dom.res1));
        EXPECT_TRUE(same_bits(dom.res1, dom.res2));
        EXPECT_EQ(qor_lum_kernel_GetErrStatus(), QOR_VM_STATUS_DOMAIN);  // the last report wins
        EXPECT_EQ(r[2], kInf);
        EXPECT_TRUE(std::isnan(r[9]));
        for (int i : {0, 1, 3, 8, 10}) EXPECT_EQ(r[i], a[i] + b[i]);

        CallbackLog::reset();
        const float fa[3] = {1, FLT_MAX, 2}, fb[3] = {1, FLT_MAX, 2};
        float fr[3];
        _lumsAdd(3, fa, fb, fr);
        ASSERT_EQ(CallbackLog::records.size(), 1u);
        EXPECT_EQ(CallbackLog::records[0].index, 1);
        EXPECT_EQ(CallbackLog::records[0].arg1, double(FLT_MAX));
        EXPECT_EQ(CallbackLog::records[0].res1, kInf);
        EXPECT_STREQ(CallbackLog::records[0].name, "vsAdd");

        CallbackLog::reset();
        const double sa[1] = {kInf}, sb[1] = {kInf};
        double sr[1];
        _lumdSub(1, sa, sb, sr);
        ASSERT_EQ(CallbackLog::records.size(), 1u);
        EXPECT_EQ(CallbackLog::records[0].code, QOR_VM_STATUS_DOMAIN);
        EXPECT_STREQ(CallbackLog::records[0].name, "vdSub");
        EXPECT_EQ(CallbackLog::records[0].name_length, 5);
    });
}

TEST_F(FrameErrorPath, LongCallsReportEveryStretchInOrderApartAndInPlace) {
    run([] {
        qor_lum_kernel_SetMode(QOR_VM_ERRMODE_CALLBACK);
        qor_lum_kernel_SetErrorCallBack(CallbackLog::callback);
        // Apart: errors only past the first few thousand elements, or only
        // in the last element.  In place: one early, one late and one near
        // the end, from a caller whose overflow flag is already raised and
        // must stay raised.
        const int n = 5003;
        const struct {
            bool in_place;
            std::vector<int> bad;
        } cases[] = {{false, {3000, 4500}}, {false, {5002}}, {true, {7, 3000, 5001}}};
        for (const auto& [in_place, bad] : cases) {
            CallbackLog::reset();
            std::vector<double> a(n, 1.5), b(n, 0.25), r(n);
            for (int i : bad) a[i] = b[i] = DBL_MAX;
            double* out = in_place ? a.data() : r.data();
            frame_test::set_mxcsr(0x1F80 | (in_place ? frame_test::kMxcsrOverflow : 0u));
            _lumdAdd(n, a.data(), b.data(), out);
            EXPECT_TRUE(frame_test::mxcsr() & frame_test::kMxcsrOverflow);
            frame_test::set_mxcsr(0x1F80);
            ASSERT_EQ(CallbackLog::records.size(), bad.size());
            int wrong = 0;
            for (std::size_t k = 0, i = 0; i < std::size_t(n); ++i) {
                const bool is_bad = k < bad.size() && int(i) == bad[k];
                if (is_bad) {
                    EXPECT_EQ(CallbackLog::records[k].index, int(i));
                    EXPECT_EQ(CallbackLog::records[k].arg1, DBL_MAX);  // as passed, though overwritten in place
                    EXPECT_EQ(CallbackLog::records[k++].arg2, DBL_MAX);
                }
                wrong += out[i] != (is_bad ? kInf : 1.75);
            }
            EXPECT_EQ(wrong, 0) << (in_place ? "in place" : "apart");
        }
    });
}

TEST_F(FrameErrorPath, StridedKernelsReportTheStridedElements) {
    run([] {
        qor_lum_kernel_SetMode(QOR_VM_ERRMODE_CALLBACK);
        qor_lum_kernel_SetErrorCallBack(CallbackLog::callback);
        double a[8] = {1, 1, 1, 1, 1, 1, 1, 1}, b[9] = {2, 2, 2, 2, 2, 2, 2, 2, 2}, r[6] = {};
        a[2] = DBL_MAX;   // element 1 of a at stride 2
        b[3] = 1e308;     // element 1 of b at stride 3
        _lumdAddI(3, a, 2, b, 3, r, 2);
        ASSERT_EQ(CallbackLog::records.size(), 1u);
        const qor_vm_error_record& rec = CallbackLog::records[0];
        EXPECT_EQ(rec.code, QOR_VM_STATUS_OVERFLOW);
        EXPECT_EQ(rec.index, 1);
        EXPECT_EQ(rec.arg1, DBL_MAX);
        EXPECT_EQ(rec.arg2, 1e308);
        EXPECT_EQ(rec.res1, kInf);
        EXPECT_STREQ(rec.name, "vdAddI");
        EXPECT_EQ(rec.name_length, 6);
        EXPECT_EQ(r[0], 3.0);
        EXPECT_EQ(r[2], kInf);
        EXPECT_EQ(r[4], 3.0);
        EXPECT_EQ(r[1], 0.0);  // between the strided results: untouched

        // Unit strides take the contiguous path but keep the strided name.
        CallbackLog::reset();
        _lumdSubI(1, a + 2, 1, b + 3, 1, r, 1);
        ASSERT_EQ(CallbackLog::records.size(), 0u);
        const double inf[1] = {kInf};
        _lumdSubI(1, inf, 1, inf, 1, r, 1);
        ASSERT_EQ(CallbackLog::records.size(), 1u);
        EXPECT_STREQ(CallbackLog::records[0].name, "vdSubI");
    });
}

TEST_F(FrameErrorPath, CallbackAnswerDecidesResultAndDefaultActions) {
    run([] {
        qor_lum_kernel_SetMode(QOR_VM_ERRMODE_CALLBACK | QOR_VM_ERRMODE_ERRNO);
        qor_lum_kernel_SetErrorCallBack(CallbackLog::callback);
        const double a[2] = {DBL_MAX, 1}, b[2] = {DBL_MAX, 1};
        double r[2];

        // 0 after changing res1: the new value is written and errno is set.
        CallbackLog::replacement = 12.5;
        errno = 0;
        _lumdAdd(2, a, b, r);
        EXPECT_EQ(r[0], 12.5);
        EXPECT_EQ(r[1], 2.0);
        EXPECT_EQ(errno, 34);

        // Non-zero: the kernel's own result stays and nothing else happens.
        CallbackLog::answer = 1;
        errno = 0;
        _lumdAdd(2, a, b, r);
        EXPECT_EQ(r[0], kInf);
        EXPECT_EQ(errno, 0);
        EXPECT_EQ(qor_lum_kernel_GetErrStatus(), QOR_VM_STATUS_OVERFLOW);

        // Single precision: the replacement is narrowed back.
        CallbackLog::answer = 0;
        CallbackLog::replacement = 0.1;
        const float fa[1] = {FLT_MAX};
        float fr[1];
        _lumsAdd(1, fa, fa, fr);
        EXPECT_EQ(fr[0], 0.1f);
        EXPECT_EQ(CallbackLog::records.size(), 3u);
    });
}

TEST_F(FrameErrorPath, ErrorModesDecideWhatIsRecorded) {
    const double a[1] = {DBL_MAX};
    double r[1];
    // Exactly no-error: not even the status.
    run([&] {
        qor_lum_kernel_SetErrorCallBack(CallbackLog::callback);
        qor_lum_kernel_SetMode(QOR_VM_ERRMODE_NOERR);
        qor_lum_kernel_SetErrStatus(77);
        CallbackLog::replacement = 1.0;
        errno = 0;
        _lumdAdd(1, a, a, r);
        EXPECT_EQ(qor_lum_kernel_GetErrStatus(), 77);
        EXPECT_TRUE(CallbackLog::records.empty());
        EXPECT_EQ(errno, 0);
        EXPECT_EQ(r[0], kInf);
    });
    // Exactly ignore: the status only.
    run([&] {
        qor_lum_kernel_SetErrorCallBack(CallbackLog::callback);
        qor_lum_kernel_SetMode(QOR_VM_ERRMODE_IGNORE);
        errno = 0;
        _lumdAdd(1, a, a, r);
        EXPECT_EQ(qor_lum_kernel_GetErrStatus(), QOR_VM_STATUS_OVERFLOW);
        EXPECT_TRUE(CallbackLog::records.empty());
        EXPECT_EQ(errno, 0);
    });
    // No-error together with errno is not no-error.
    run([&] {
        qor_lum_kernel_SetMode(QOR_VM_ERRMODE_NOERR | QOR_VM_ERRMODE_ERRNO);
        errno = 0;
        _lumdAdd(1, a, a, r);
        EXPECT_EQ(qor_lum_kernel_GetErrStatus(), QOR_VM_STATUS_OVERFLOW);
        EXPECT_EQ(errno, 34);
    });
    // A callback that is set but not selected by the mode is not called.
    run([&] {
        qor_lum_kernel_SetErrorCallBack(CallbackLog::callback);
        qor_lum_kernel_SetMode(QOR_VM_ERRMODE_ERRNO);
        errno = 0;
        _lumdAdd(1, a, a, r);
        EXPECT_TRUE(CallbackLog::records.empty());
        EXPECT_EQ(errno, 34);
    });
    // The callback bit without a callback: the default actions still run.
    run([&] {
        qor_lum_kernel_SetMode(QOR_VM_ERRMODE_CALLBACK | QOR_VM_ERRMODE_ERRNO);
        errno = 0;
        _lumdAdd(1, a, a, r);
        EXPECT_EQ(errno, 34);
        EXPECT_EQ(r[0], kInf);
    });
}

TEST_F(FrameErrorPath, StderrModeFromTheEnvironmentPrintsAndDoesNothingElse) {
    ScopedEnv env("QOR_LUM_MODE", "LUM_EP,LUM_ERRMODE_STDERR");
    run([] {
        EXPECT_EQ(qor_lum_kernel_GetMode(), 0x403u);
        const double a[2] = {1, kInf}, b[2] = {1, kInf};
        double r[2];
        int errno_after = -1;
        frame_test::x87_clear();
        const std::string got = frame_test::capture_stderr([&] {
            errno = 0;
            _lumdSub_26(2, a, b, r);
            errno_after = errno;
        });
        EXPECT_TRUE(std::isnan(r[1]));
        EXPECT_EQ(got, frame_test::capture_stderr([&] {
                      qor_serv_print(1, 750, "vdSub");
                      qor_serv_print(1, 755, 1, kInf);
                      qor_serv_print(1, 756, 1, r[1]);
                  }));
        EXPECT_EQ(errno_after, 0);
        EXPECT_EQ(frame_test::x87_status() & frame_test::kX87Flags, 0);
        EXPECT_EQ(qor_lum_kernel_GetErrStatus(), QOR_VM_STATUS_DOMAIN);
    });
}

// The reporter tests cover each code's flag and trap; here the kernels'
// route to them: the except action raises the flag only when selected, and
// the default error mode includes it.
TEST_F(FrameErrorPath, ExceptActionRaisesTheX87FlagAndItsTrap) {
    const double inf[1] = {kInf}, big[1] = {DBL_MAX};
    double r[1];
    run([&] {
        qor_lum_kernel_SetMode(QOR_VM_ERRMODE_EXCEPT);
        frame_test::x87_clear();
        _lumdSub(1, inf, inf, r);
        EXPECT_EQ(frame_test::x87_status() & frame_test::kX87Flags, frame_test::kX87Invalid);
        qor_lum_kernel_SetMode(QOR_VM_ERRMODE_ERRNO | QOR_VM_TRAP_OVERFLOW);
        frame_test::x87_clear();
        _lumdAdd(1, big, big, r);
        EXPECT_EQ(frame_test::x87_status() & frame_test::kX87Flags, 0);
        frame_test::x87_clear();
    });
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            std::signal(SIGFPE, SIG_DFL);
            qor_lum_kernel_SetInterfInputVectorPointer(nullptr);
            qor_lum_kernel_SetMode(QOR_VM_ERRMODE_DEFAULT | QOR_VM_TRAP_OVERFLOW);
            _lumdAdd(1, big, big, r);
            std::exit(0);
        },
        ::testing::KilledBySignal(SIGFPE), "");
}

TEST_F(FrameErrorPath, IndexCountsFromTheInputBase) {
    run([] {
        qor_lum_kernel_SetMode(QOR_VM_ERRMODE_CALLBACK);
        qor_lum_kernel_SetErrorCallBack(CallbackLog::callback);
        double whole[110] = {}, b[10] = {}, r[10];
        double* a = whole + 100;
        a[3] = DBL_MAX, b[3] = DBL_MAX;
        EXPECT_EQ(qor_lum_kernel_SetInterfInputVectorPointer(whole), whole);
        _lumdAdd(5, a, b, r);
        // Strided: the distance counts elements, whatever the increment.
        a[6] = DBL_MAX;
        _lumdAddI(4, a, 2, b, 1, r, 1);
        qor_lum_kernel_SetInterfInputVectorPointer(nullptr);
        _lumdAdd(5, a, b, r);
        ASSERT_EQ(CallbackLog::records.size(), 3u);
        EXPECT_EQ(CallbackLog::records[0].index, 103);
        EXPECT_EQ(CallbackLog::records[1].index, 103);
        EXPECT_EQ(CallbackLog::records[1].arg1, DBL_MAX);
        EXPECT_EQ(CallbackLog::records[2].index, 3);

        float fwhole[40] = {}, fb[4] = {FLT_MAX, 0, 0, 0};
        float fr[4];
        fwhole[30] = FLT_MAX;
        qor_lum_kernel_SetInterfInputVectorPointer(fwhole);
        _lumsAdd(4, fwhole + 30, fb, fr);
        ASSERT_EQ(CallbackLog::records.size(), 4u);
        EXPECT_EQ(CallbackLog::records[3].index, 30);
    });
}
