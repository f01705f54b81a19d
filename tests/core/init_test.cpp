// Initialisation and the information calls, with the kernel library found
// and, in a separate process, with it missing.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "qor/qor.h"
#include "stderr_capture.h"

namespace {

// The kernel library's file name with the separator before it.
#if defined(_WIN32)
const std::string kKernelFile = "\\qor_sse42.3.dll";
#else
const std::string kKernelFile = "/libqor_sse42.so.3";
#endif

bool ends_with(const std::string& s, const std::string& tail) {
    return s.size() >= tail.size() && s.compare(s.size() - tail.size(), tail.size(), tail) == 0;
}

TEST(Init, FindsTheSse42KernelsBesideTheCoreLibrary) {
    ASSERT_EQ(qor_init(), QOR_STATUS_OK) << qor_init_detail();
    EXPECT_EQ(qor_init(), QOR_STATUS_OK);  // later calls give the same answer
    EXPECT_STREQ(qor_init_detail(), "");
    EXPECT_STREQ(qor_kernel_set_name(), "sse42");
    EXPECT_EQ(qor_kernel_cpu_version(), 5);
    EXPECT_TRUE(ends_with(qor_kernel_path(), kKernelFile)) << qor_kernel_path();
}

TEST(Init, ConcurrentFirstCallsAgree) {
    std::vector<int> results(8, 1);
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) threads.emplace_back([&results, i] { results[i] = qor_init(); });
    for (auto& t : threads) t.join();
    for (int r : results) EXPECT_EQ(r, QOR_STATUS_OK);
}

// Every status code the public headers define, read from the headers
// themselves, has a text of its own in its family's table.
TEST(Init, EveryStatusThePublicHeadersDefineHasItsOwnText) {
    const struct {
        const char* header;
        const char* pattern;
        int family;  // 0: qor_status_string
    } sources[] = {
        {"qor.h", R"(\b(QOR_STATUS_\w+) = (-?\d+))", 0},
        {"qor_vm.h", R"(\b(QOR_VM_STATUS_\w+) = (-?\d+))", QOR_FAMILY_VM},
        {"qor_rng.h", R"(\b(QOR_RNG_STATUS_\w+) = (-?\d+))", QOR_FAMILY_RNG},
        {"qor_ss.h", R"(\b(SS_OK|SS_ERR_\w+) = (-?\d+))", QOR_FAMILY_STATS},
        {"qor_kp.h", R"(\b(status\w+) = (-?\d+))", QOR_FAMILY_FIT},
        {"qor_fit.h", R"(\b(status\w+) = (-?\d+))", QOR_FAMILY_FIT},
    };
    std::map<int, std::set<std::string>> texts;  // per family
    int codes = 0;
    for (const auto& source : sources) {
        std::ifstream in(std::string(QOR_PUBLIC_INCLUDE_DIR "/") + source.header);
        ASSERT_TRUE(in) << source.header;
        const std::string header((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        const std::regex definition(source.pattern);
        for (std::sregex_iterator m(header.begin(), header.end(), definition), end; m != end; ++m) {
            const int code = std::stoi((*m)[2]);
            const std::string text = source.family ? qor_family_status_string(source.family, code)
                                                   : qor_status_string(code);
            EXPECT_NE(text, "unknown status") << (*m)[1];
            if (code != 0) {
                EXPECT_TRUE(texts[source.family].insert(text).second) << (*m)[1] << ": " << text;
            }
            ++codes;
        }
    }
    EXPECT_GT(codes, 120);
    // The init statuses read the same from every family; unknown stays unknown.
    EXPECT_STREQ(qor_family_status_string(QOR_FAMILY_FIT, QOR_STATUS_KERNEL_NOT_FOUND),
                 qor_status_string(QOR_STATUS_KERNEL_NOT_FOUND));
    EXPECT_STREQ(qor_family_status_string(QOR_FAMILY_STATS, 0), "success");
    EXPECT_STRNE(qor_family_status_string(QOR_FAMILY_RNG, -3), qor_family_status_string(QOR_FAMILY_STATS, -3));
    EXPECT_STREQ(qor_family_status_string(99, QOR_VM_STATUS_DOMAIN), "unknown status");
    EXPECT_STREQ(qor_status_string(12345), "unknown status");
    EXPECT_NE(std::string(qor_status_string(QOR_STATUS_CPU_UNSUPPORTED)).find("SSE4.2"), std::string::npos);
}

TEST(Info, ProcessorDescription) {
    const uint32_t features = qor_cpu_features();
    EXPECT_TRUE(features & QOR_CPU_SSE2);   // every x86-64 processor
    EXPECT_TRUE(features & QOR_CPU_SSE42);  // the kernels loaded, so it is there
    if (features & QOR_CPU_AVX2) {
        EXPECT_TRUE(features & QOR_CPU_AVX);
    }
    EXPECT_TRUE(features & QOR_CPU_SSE41);
    EXPECT_EQ(std::string(qor_cpu_vendor()).size(), 12u);
    EXPECT_EQ(features >> QOR_CPU_FEATURE_COUNT, 0u);
    EXPECT_STREQ(qor_cpu_feature_name(4), "sse4.2");
    EXPECT_STREQ(qor_cpu_feature_name(0), "sse2");
    EXPECT_EQ(qor_cpu_feature_name(-1), nullptr);
    EXPECT_EQ(qor_cpu_feature_name(QOR_CPU_FEATURE_COUNT), nullptr);
    EXPECT_GE(qor_get_max_threads(), 1);
}

// Run in a fresh process: the kernel directory points where there is no
// kernel library.
void exercise_without_kernels(const std::string& empty_dir) {
    setenv("QOR_KERNEL_DIR", empty_dir.c_str(), 1);
    int failures = 0;
    auto check = [&](bool ok) { failures += ok ? 0 : 1; };

    check(qor_init() == QOR_STATUS_KERNEL_NOT_FOUND);
    const std::string detail = qor_init_detail();
    check(detail.find(empty_dir + kKernelFile) != std::string::npos);
    check(detail.find("QOR_KERNEL_DIR") != std::string::npos);
    check(qor_kernel_cpu_version() == QOR_STATUS_KERNEL_NOT_FOUND);
    check(std::string(qor_kernel_set_name()).empty());
    check(qor_get_max_threads() >= 1);  // information unrelated to the kernels still works

    std::string printed;
    {
        StderrCapture capture;
        double a[2] = {1, 2}, b[2] = {3, 4}, r[2] = {-7, -7};
        qor_vdAdd(2, a, b, r);
        qor_vmdAdd(2, a, b, r, QOR_VM_LA);
        check(r[0] == -7 && r[1] == -7);
        check(qor_vm_get_status() == QOR_STATUS_KERNEL_NOT_FOUND);
        check(qor_vm_set_status(1) == QOR_STATUS_KERNEL_NOT_FOUND);
        check(qor_vm_get_mode() == 0);
        check(qor_vm_get_error_callback() == nullptr);
        check(qor_vm_cost("dAdd", 1) < 0);
        printed = capture.text();
    }
    // The reason is printed once, however many calls meet it.
    const std::string heading = "qor: vector math is unavailable: ";
    check(printed.rfind(heading, 0) == 0);
    check(printed.find(heading, 1) == std::string::npos);
    check(printed.find(empty_dir) != std::string::npos);
    std::fprintf(stderr, "%d failed checks\n", failures);
    std::exit(failures == 0 ? 0 : 1);
}

TEST(InitDeathTest, MissingKernelLibraryIsReportedAndCallsDoNothing) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const std::string dir = ::testing::TempDir() + "qor_no_kernels";
    EXPECT_EXIT(exercise_without_kernels(dir), ::testing::ExitedWithCode(0), "0 failed checks");
}

}  // namespace
