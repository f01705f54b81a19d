// Long accuracy sweeps for `./run check-long`: every row that has a test
// domain in the row list, with the domains, bounds and MPFR references of
// the test suite but far more arguments.  Single-precision rows of one
// argument run every float (all 2^32 bit patterns) through the contiguous
// entry point of each slot, screened against a double reference and
// confirmed against MPFR; their strided forms, and every other row, take
// random arguments of the row's domain (10^7 per row by default), drawn in
// chunks of fresh seeds and measured against MPFR.  Work is shared out over
// two threads.  Prints per row, form and slot the worst error in ulps and
// the count of results past the bound, and the argument of the worst slot;
// rows past a bound are marked and make the exit status 1.
//
//   check_long_accuracy [--count N] [--only ROW] [--bits FIRST:LAST]
//
// --bits limits the sweep over every float to the bit patterns in
// [FIRST, LAST) (decimal or 0x hexadecimal).
#include <algorithm>
#include <array>
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
using qor::test::WorstCase;
using SlotCases = std::array<WorstCase, 3>;

constexpr int kThreads = 2;
constexpr std::size_t kChunk = 1 << 16;

void merge(RowWorst& into, const RowWorst& w) {
    for (int s = 0; s < 3; ++s) {
        into[s].contiguous.merge(w[s].contiguous);
        into[s].strided.merge(w[s].strided);
    }
}
void merge(SlotCases& into, const SlotCases& w) {
    for (int s = 0; s < 3; ++s) into[s].merge(w[s]);
}

// work(c) for every chunk c in [0, chunks), on two threads, merged.
template <class Result, class Work>
Result in_parallel(std::size_t chunks, Work work) {
    std::atomic<std::size_t> next{0};
    Result total{};
    std::mutex lock;
    auto run = [&] {
        qor_lum_kernel_SetMode(QOR_VM_ERRMODE_IGNORE | QOR_VM_HA | QOR_VM_FTZDAZ_OFF);
        for (std::size_t c; (c = next++) < chunks;) {
            const Result r = work(c);
            std::lock_guard<std::mutex> g(lock);
            merge(total, r);
        }
    };
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) threads.emplace_back(run);
    for (auto& t : threads) t.join();
    return total;
}

// One line: the three slots of one form of a row; true if a slot is past its bound.
bool print(const AccuracyRow& row, const char* form, const SlotCases& w) {
    const WorstCase* worst = &*std::max_element(w.begin(), w.end(),
                                                [](const WorstCase& a, const WorstCase& b) { return a.ulps < b.ulps; });
    bool above = false;
    std::printf("%-12s %-22s", row.name, form);
    for (const WorstCase& c : w) {
        std::printf(" %10.4g %9zu", c.ulps, c.above);
        above |= c.above > 0;
    }
    std::printf("  x = %a, y = %a%s\n", worst->arg, worst->arg2, above ? "  ABOVE BOUND" : "");
    std::fflush(stdout);
    return above;
}

}  // namespace

int main(int argc, char** argv) {
    std::size_t count = 10000000;
    std::string only;
    uint64_t first = 0, last = uint64_t(1) << 32;
    for (int i = 1; i < argc; ++i) {
        char* end = nullptr;
        if (!std::strcmp(argv[i], "--count") && i + 1 < argc) count = std::strtoull(argv[++i], nullptr, 10);
        else if (!std::strcmp(argv[i], "--only") && i + 1 < argc) only = argv[++i];
        else if (!std::strcmp(argv[i], "--bits") && i + 1 < argc && (first = std::strtoull(argv[++i], &end, 0), *end == ':'))
            last = std::min<uint64_t>(std::strtoull(end + 1, nullptr, 0), uint64_t(1) << 32);
        else {
            std::fprintf(stderr, "usage: %s [--count N] [--only ROW] [--bits FIRST:LAST]\n", argv[0]);
            return 2;
        }
    }
    std::printf("%-12s %-22s %20s %20s %20s  worst slot at\n", "row", "form, arguments", "LA ulp, above",
                "HA ulp, above", "EP ulp, above");
    bool failed = false;
    for (const AccuracyRow& row : qor::test::accuracy_rows()) {
        if (!only.empty() && only != row.name) continue;
        const bool every_float = qor::test::has_double_reference(row);
        if (every_float && first < last) {
            const SlotCases w = in_parallel<SlotCases>((last - first + kChunk - 1) / kChunk, [&](std::size_t c) {
                const uint64_t from = first + c * kChunk;
                return qor::test::sweep_every_float(row, from, std::min(last, from + kChunk));
            });
            char form[32];
            std::snprintf(form, sizeof form, "contiguous, %.4g every", double(last - first));
            failed |= print(row, form, w);
        }
        const RowWorst w = in_parallel<RowWorst>((count + kChunk - 1) / kChunk, [&](std::size_t c) {
            return qor::test::sweep(row, kChunk, 0x5eed0000u + c);
        });
        SlotCases contiguous, strided;
        for (int s = 0; s < 3; ++s) contiguous[s] = w[s].contiguous, strided[s] = w[s].strided;
        if (!every_float) failed |= print(row, "contiguous, random", contiguous);
        failed |= print(row, "strided, random", strided);
    }
    return failed ? 1 : 0;
}
