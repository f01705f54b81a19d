// Long accuracy sweeps for `./run check-long`: every row that has a test
// domain in the row list, with the domains, bounds and MPFR references of
// the test suite but far more arguments (10^7 per row by default), drawn in
// chunks of fresh seeds and shared out over two threads.  Prints the worst
// error of each slot, contiguous / strided, and the worst argument of the
// worst slot; rows past a bound are marked and make the exit status 1.
//
//   check_long_accuracy [--count N] [--only ROW]
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "qor/qor_vm.h"
#include "tests/support/vm_accuracy.h"

namespace {

using qor::test::AccuracyRow;
using qor::test::RowWorst;

constexpr int kThreads = 2;
constexpr std::size_t kChunk = 1 << 16;

RowWorst sweep_long(const AccuracyRow& row, std::size_t count) {
    std::atomic<std::size_t> next{0};
    const std::size_t chunks = (count + kChunk - 1) / kChunk;
    RowWorst total{};
    std::mutex lock;
    auto work = [&] {
        qor_lum_kernel_SetMode(QOR_VM_ERRMODE_IGNORE | QOR_VM_HA | QOR_VM_FTZDAZ_OFF);
        for (std::size_t c; (c = next++) < chunks;) {
            const RowWorst w = qor::test::sweep(row, kChunk, 0x5eed0000u + c);
            std::lock_guard<std::mutex> g(lock);
            for (int s = 0; s < 3; ++s) {
                total[s].contiguous.merge(w[s].contiguous);
                total[s].strided.merge(w[s].strided);
            }
        }
    };
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) threads.emplace_back(work);
    for (auto& t : threads) t.join();
    return total;
}

}  // namespace

int main(int argc, char** argv) {
    std::size_t count = 10000000;
    std::string only;
    for (int i = 1; i < argc; ++i) {
        if (!std::strcmp(argv[i], "--count") && i + 1 < argc) count = std::strtoull(argv[++i], nullptr, 10);
        else if (!std::strcmp(argv[i], "--only") && i + 1 < argc) only = argv[++i];
        else {
            std::fprintf(stderr, "usage: %s [--count N] [--only ROW]\n", argv[0]);
            return 2;
        }
    }
    std::printf("%-12s %21s %21s %21s  worst slot at\n", "row", "LA ulp", "HA ulp", "EP ulp");
    bool failed = false;
    for (const AccuracyRow& row : qor::test::accuracy_rows()) {
        if (!only.empty() && only != row.name) continue;
        const RowWorst w = sweep_long(row, count);
        bool above = false;
        const qor::test::WorstCase* worst = &w[0].contiguous;
        std::printf("%-12s", row.name);
        for (int s = 0; s < 3; ++s) {
            above |= w[s].contiguous.above || w[s].strided.above;
            for (const auto* c : {&w[s].contiguous, &w[s].strided})
                if (c->ulps > worst->ulps) worst = c;
            std::printf(" %10.4g/%-10.4g", w[s].contiguous.ulps, w[s].strided.ulps);
        }
        std::printf("  x = %a, y = %a%s\n", worst->arg, worst->arg2, above ? "  ABOVE BOUND" : "");
        std::fflush(stdout);
        failed |= above;
    }
    return failed ? 1 : 0;
}
