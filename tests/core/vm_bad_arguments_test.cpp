// Public vector-math calls refused for their arguments: which status each
// bad argument gives, that no element is written, and how the refusal goes
// through the error path (record, errno, message) under the call's mode.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "qor/qor.h"
#include "stderr_capture.h"

namespace {

struct Seen {
    int calls = 0;
    qor_vm_error_record last{};
};
Seen seen;

int32_t keep(qor_vm_error_record* r) {
    ++seen.calls;
    seen.last = *r;
    return 1;
}

class VmBadArguments : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(qor_init(), QOR_STATUS_OK) << qor_init_detail();
        saved_mode_ = qor_vm_get_mode();
        qor_vm_clear_status();
        seen = {};
    }
    void TearDown() override {
        qor_vm_clear_error_callback();
        qor_vm_set_mode(saved_mode_);
        qor_vm_clear_status();
    }
    uint32_t saved_mode_ = 0;
};

constexpr double kUntouched = -7.25;

TEST_F(VmBadArguments, EachBadArgumentGivesItsStatusAndNothingIsWritten) {
    std::vector<double> a(8, 0.5), b(8, 0.25), r(8), r2(8);
    std::vector<qor_complex16> z(8, qor_complex16{1, 1}), zr(8);
    std::vector<float> f(8, 1.0f), fr(8);
    std::vector<int32_t> index(8, 0);
    const auto reset = [&] {
        for (double& x : r) x = kUntouched;
        for (double& x : r2) x = kUntouched;
        for (qor_complex16& x : zr) x = {kUntouched, kUntouched};
        for (float& x : fr) x = static_cast<float>(kUntouched);
    };
    const struct {
        const char* call;
        const char* bad;
        std::function<void()> run;
        int status;
        int position;
    } cases[] = {
        {"vdExp", "a null", [&] { qor_vdExp(4, nullptr, r.data()); }, QOR_VM_STATUS_BADMEM, 2},
        {"vdExp", "r null", [&] { qor_vdExp(4, a.data(), nullptr); }, QOR_VM_STATUS_BADMEM, 3},
        {"vdExp", "n negative", [&] { qor_vdExp(-1, a.data(), r.data()); }, QOR_VM_STATUS_BADARG, 1},
        {"vdExp", "n negative, a null", [&] { qor_vdExp(-4, nullptr, r.data()); }, QOR_VM_STATUS_BADARG, 1},
        {"vdAdd", "b null", [&] { qor_vdAdd(8, a.data(), nullptr, r.data()); }, QOR_VM_STATUS_BADMEM, 3},
        {"vsLnI", "r null", [&] { qor_vsLnI(2, f.data(), 2, nullptr, 3); }, QOR_VM_STATUS_BADMEM, 4},
        {"vsLnI", "n negative", [&] { qor_vsLnI(INT64_MIN, f.data(), 1, fr.data(), 1); }, QOR_VM_STATUS_BADARG, 1},
        {"vdSinCos", "r2 null", [&] { qor_vdSinCos(8, a.data(), r.data(), nullptr); }, QOR_VM_STATUS_BADMEM, 4},
        {"vzMul", "a null", [&] { qor_vzMul(3, nullptr, z.data(), zr.data()); }, QOR_VM_STATUS_BADMEM, 2},
        {"vdPowx", "r null", [&] { qor_vdPowx(8, a.data(), 2.0, nullptr); }, QOR_VM_STATUS_BADMEM, 4},
        {"vdPackV", "indices null", [&] { qor_vdPackV(4, a.data(), nullptr, r.data(), 1); }, QOR_VM_STATUS_BADMEM, 3},
        {"vdPackI", "n negative", [&] { qor_vdPackI(-2, a.data(), 1, r.data(), 1); }, QOR_VM_STATUS_BADARG, 1},
        {"vmdExp", "a null", [&] { qor_vmdExp(4, nullptr, r.data(), QOR_VM_LA); }, QOR_VM_STATUS_BADMEM, 2},
        {"vmdExp", "n negative", [&] { qor_vmdExp(-9, a.data(), r.data(), QOR_VM_EP); }, QOR_VM_STATUS_BADARG, 1},
    };
    qor_vm_set_error_callback(keep);
    for (const auto& c : cases) {
        reset();
        seen = {};
        qor_vm_clear_status();
        c.run();
        EXPECT_EQ(qor_vm_get_status(), c.status) << c.call << ", " << c.bad;
        ASSERT_EQ(seen.calls, 1) << c.call << ", " << c.bad;
        EXPECT_EQ(seen.last.code, c.status) << c.call;
        EXPECT_EQ(seen.last.index, c.position) << c.call << ", " << c.bad;
        EXPECT_STREQ(seen.last.name, c.call);
        EXPECT_EQ(seen.last.name_length, static_cast<int>(std::strlen(c.call)));
        for (int i = 0; i < 8; ++i) {
            ASSERT_EQ(r[i], kUntouched) << c.call << ", " << c.bad;
            ASSERT_EQ(r2[i], kUntouched) << c.call << ", " << c.bad;
            ASSERT_EQ(zr[i].re, kUntouched) << c.call << ", " << c.bad;
            ASSERT_EQ(fr[i], static_cast<float>(kUntouched)) << c.call << ", " << c.bad;
        }
    }
    // A count of 0 touches no array: no status, even with nulls.
    seen = {};
    qor_vm_clear_status();
    qor_vdExp(0, nullptr, nullptr);
    qor_vmzMul(0, nullptr, nullptr, nullptr, QOR_VM_LA);
    EXPECT_EQ(qor_vm_get_status(), QOR_VM_STATUS_OK);
    EXPECT_EQ(seen.calls, 0);
}

TEST_F(VmBadArguments, RefusalsFollowTheErrorModeOfTheCall) {
    std::vector<double> a(4, 1.0);

    // No-error mode records nothing; ignore mode only the status.
    qor_vmdExp(4, a.data(), nullptr, QOR_VM_ERRMODE_NOERR);
    EXPECT_EQ(qor_vm_get_status(), QOR_VM_STATUS_OK);
    qor_vm_set_error_callback(keep);
    qor_vmdExp(-1, a.data(), a.data(), QOR_VM_ERRMODE_IGNORE);
    EXPECT_EQ(qor_vm_get_status(), QOR_VM_STATUS_BADARG);
    EXPECT_EQ(seen.calls, 0);
    qor_vm_clear_error_callback();
    const uint32_t mode = qor_vm_get_mode();

    // errno and standard error, each as the mode asks; the mode comes back.
    errno = 0;
    {
        StderrCapture capture;
        qor_vmdExp(-1, a.data(), a.data(), QOR_VM_ERRMODE_ERRNO | QOR_VM_ERRMODE_STDERR);
        const std::string text = capture.text();
        EXPECT_NE(text.find("vmdExp"), std::string::npos) << text;
        EXPECT_NE(text.find("position 1"), std::string::npos) << text;
    }
    EXPECT_EQ(errno, EINVAL);
    errno = 0;
    {
        StderrCapture capture;
        qor_vmdExp(4, nullptr, a.data(), QOR_VM_ERRMODE_ERRNO);
        EXPECT_EQ(capture.text(), "");
    }
    EXPECT_EQ(errno, EACCES);
    EXPECT_EQ(qor_vm_get_mode(), mode);
}

}  // namespace
