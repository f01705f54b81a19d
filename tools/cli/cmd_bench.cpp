// qor bench: a short peer comparison, measured in this process - a few
// rows per family, the library's call beside what a user would otherwise
// write with the standard library or a plain loop (compiled into this
// program); the ratio is the peer's time over the library's (above 1: the
// library is faster).  Each array is worked through in slices of 8192
// elements, each slice timed on its own, and the fastest slice of all
// repeats counts: on a busy machine a slice is seldom interrupted, a whole
// array of a million elements almost always.  The benchmarks in bench/ make
// the full tables.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "commands.h"
#include "common.h"
#include "progress.h"
#include "qor/qor.h"

namespace qor::cli {
namespace {

struct BenchOptions {
    std::string size = "1e6";
    int repeats = 5;
    std::vector<std::string> families{"vm", "rng", "stats", "fit"};
};

// A measured call works on elements [begin, begin + count) of the arrays.
using Slice = std::function<void(std::size_t begin, std::size_t count)>;

struct Row {
    std::string family, name, peer;
    Slice qor, peer_run;
};

constexpr std::size_t kSlice = 8192;

// Keeps results alive so that the peer loops are not optimised away.
volatile double g_sink;

// Nanoseconds per element of the fastest slice.
double best_ns(const Slice& run, std::size_t size, int repeats) {
    double best = 1e300;
    for (int i = 0; i < repeats; ++i)
        for (std::size_t begin = 0; begin < size; begin += kSlice) {
            const std::size_t count = std::min(kSlice, size - begin);
            const auto t0 = std::chrono::steady_clock::now();
            run(begin, count);
            const std::chrono::duration<double, std::nano> t = std::chrono::steady_clock::now() - t0;
            best = std::min(best, t.count() / double(count));
        }
    return best;
}

struct Data {
    std::size_t n;
    std::vector<double> a, r;
    std::vector<float> af, rf;
    explicit Data(std::size_t size) : n(size), a(size), r(size), af(size), rf(size) {
        std::mt19937_64 gen(2026);
        std::uniform_real_distribution<double> dist(0.001, 700.0);
        for (std::size_t i = 0; i < n; ++i) {
            a[i] = dist(gen);
            af[i] = float(a[i] / 10);  // within the float exponential's range
        }
    }
};

void add_vm_rows(std::vector<Row>& rows, const std::shared_ptr<Data>& d) {
#define QOR_CLI_VM_ROW(p, Fn, in, out, peer)                                                                  \
    rows.push_back({"vm", "v" #p #Fn, #peer " loop",                                                          \
                    [d](std::size_t b, std::size_t n) { qor_v##p##Fn(int64_t(n), d->in.data() + b, d->out.data() + b); }, \
                    [d](std::size_t b, std::size_t n) {                                                       \
                        for (std::size_t i = b; i < b + n; ++i) d->out[i] = peer(d->in[i]);                   \
                        g_sink = d->out[b];                                                                   \
                    }});
    QOR_CLI_VM_ROW(d, Exp, a, r, std::exp)
    QOR_CLI_VM_ROW(d, Ln, a, r, std::log)
    QOR_CLI_VM_ROW(s, Exp, af, rf, std::exp)
    QOR_CLI_VM_ROW(s, Ln, af, rf, std::log)
#undef QOR_CLI_VM_ROW
}

struct RngState {
    qor_rng_stream* mt = nullptr;
    qor_rng_stream* mcg = nullptr;
    std::mt19937 std_mt{1};
    std::minstd_rand std_mcg{1};
    ~RngState() {
        if (mt) qor_rng_delete_stream(&mt);
        if (mcg) qor_rng_delete_stream(&mcg);
    }
};

void add_rng_rows(std::vector<Row>& rows, const std::shared_ptr<Data>& d) {
    auto s = std::make_shared<RngState>();
    check_status(qor_rng_new_stream(&s->mt, QOR_RNG_BRNG_MT19937, 1), "rng", "creating an MT19937 stream");
    check_status(qor_rng_new_stream(&s->mcg, QOR_RNG_BRNG_MCG31M1, 1), "rng", "creating an MCG31m1 stream");
    double* r = d->r.data();
    rows.push_back({"rng", "MT19937 uniform", "std::mt19937 + uniform_real_distribution",
                    [d, s, r](std::size_t b, std::size_t n) {
                        qor_vdRngUniform(QOR_RNG_METHOD_UNIFORM_STD, s->mt, int64_t(n), r + b, 0.0, 1.0);
                    },
                    [d, s, r](std::size_t b, std::size_t n) {
                        std::uniform_real_distribution<double> u(0.0, 1.0);
                        for (std::size_t i = b; i < b + n; ++i) r[i] = u(s->std_mt);
                        g_sink = r[b];
                    }});
    rows.push_back({"rng", "MT19937 gaussian", "std::mt19937 + normal_distribution",
                    [d, s, r](std::size_t b, std::size_t n) {
                        qor_vdRngGaussian(QOR_RNG_METHOD_GAUSSIAN_BOXMULLER2, s->mt, int64_t(n), r + b, 0.0, 1.0);
                    },
                    [d, s, r](std::size_t b, std::size_t n) {
                        std::normal_distribution<double> g(0.0, 1.0);
                        for (std::size_t i = b; i < b + n; ++i) r[i] = g(s->std_mt);
                        g_sink = r[b];
                    }});
    rows.push_back({"rng", "MCG31m1 uniform", "std::minstd_rand + uniform_real_distribution",
                    [d, s, r](std::size_t b, std::size_t n) {
                        qor_vdRngUniform(QOR_RNG_METHOD_UNIFORM_STD, s->mcg, int64_t(n), r + b, 0.0, 1.0);
                    },
                    [d, s, r](std::size_t b, std::size_t n) {
                        std::uniform_real_distribution<double> u(0.0, 1.0);
                        for (std::size_t i = b; i < b + n; ++i) r[i] = u(s->std_mcg);
                        g_sink = r[b];
                    }});
}

void add_stats_rows(std::vector<Row>& rows, const std::shared_ptr<Data>& d) {
    rows.push_back({"stats", "mean + variance", "two-pass loop",
                    [d](std::size_t b, std::size_t count) {
                        const int64_t p = 1, n = int64_t(count), storage = SS_OBS_VARIABLES_IN_ROWS;
                        double mean = 0, variance = 0, w[2] = {0, 0}, raw2 = 0;
                        qor_ss_task* t = nullptr;
                        qor_dss_new_task(&t, &p, &n, &storage, d->a.data() + b, nullptr, nullptr);
                        qor_dss_edit_moments(t, &mean, &raw2, nullptr, nullptr, &variance, nullptr, nullptr);
                        qor_dss_edit_task(t, SS_PARAM_ACC_WEIGHTS, w);
                        qor_dss_basic(t, SS_EST_MEAN | SS_EST_CENTRAL_MOMENT2, SS_METHOD_OBS_1);
                        qor_ss_delete_task(&t);
                        g_sink = variance;
                    },
                    [d](std::size_t b, std::size_t n) {
                        const double* a = d->a.data() + b;
                        double sum = 0;
                        for (std::size_t i = 0; i < n; ++i) sum += a[i];
                        const double mean = sum / double(n);
                        double squares = 0;
                        for (std::size_t i = 0; i < n; ++i) squares += (a[i] - mean) * (a[i] - mean);
                        g_sink = squares / double(n - 1);
                    }});
}

// A natural cubic spline through 1000 points, evaluated at the sites; the
// peer finds each site's interval by binary search and evaluates the same
// coefficients by Horner's rule.
struct SplineState {
    std::vector<double> x, y, c, sites;
    qor_fit_task* task = nullptr;
    ~SplineState() {
        if (task) qor_fit_delete_task(&task);
    }
};

void add_fit_rows(std::vector<Row>& rows, const std::shared_ptr<Data>& d) {
    constexpr std::size_t kPoints = 1000;
    auto s = std::make_shared<SplineState>();
    for (std::size_t i = 0; i < kPoints; ++i) {
        s->x.push_back(double(i) + 0.25 * std::sin(double(i)));
        s->y.push_back(std::cos(s->x.back() / 30));
    }
    s->c.resize(4 * (kPoints - 1));
    s->sites.resize(d->n);
    for (std::size_t i = 0; i < d->n; ++i) s->sites[i] = d->a[i] / 700.0 * double(kPoints - 1);
    check_status(qor_dfit_new_task(&s->task, kPoints, s->x.data(), hintPartitionNonUniform, 1, s->y.data(),
                                   hintValuesDefault), "fit", "creating the spline task");
    check_status(qor_dfit_edit_pp_spline(s->task, 4, 0, bcFreeEnd, nullptr, 0, nullptr, s->c.data(), hintValuesDefault),
                 "fit", "setting up the spline");
    check_status(qor_dfit_construct(s->task, QOR_FIT_NATURAL_CUBIC, 0), "fit", "building the spline");
    rows.push_back({"fit", "natural cubic, values", "binary search + Horner",
                    [d, s](std::size_t b, std::size_t n) {
                        const int64_t values[1] = {1};
                        qor_dfit_interpolate(s->task, computeValues, 0, int64_t(n), s->sites.data() + b, 0, 1, values,
                                             nullptr, d->r.data() + b, hintResultByFunction, nullptr);
                    },
                    [d, s](std::size_t b, std::size_t n) {
                        const std::size_t last = s->x.size() - 2;
                        for (std::size_t k = b; k < b + n; ++k) {
                            const double t = s->sites[k];
                            std::size_t i = std::size_t(std::upper_bound(s->x.begin(), s->x.end(), t) - s->x.begin());
                            i = std::min(i == 0 ? 0 : i - 1, last);
                            const double* c = s->c.data() + 4 * i;
                            const double h = t - s->x[i];
                            d->r[k] = c[0] + h * (c[1] + h * (c[2] + h * c[3]));
                        }
                        g_sink = d->r[b];
                    }});
}

void run_bench(const BenchOptions& o) {
    const int64_t size = parse_count(o.size, "--size");
    if (size < 2) throw Error("--size: at least 2 elements");
    if (o.repeats < 1) throw Error("--repeats: at least 1");
    check_status(qor_init(), "", "loading the kernels");
    auto data = std::make_shared<Data>(std::size_t(size));
    std::vector<Row> rows;
    for (const std::string& f : o.families) {
        if (f == "vm") add_vm_rows(rows, data);
        else if (f == "rng") add_rng_rows(rows, data);
        else if (f == "stats") add_stats_rows(rows, data);
        else if (f == "fit") add_fit_rows(rows, data);
        else throw Error("--family: no family '" + f + "' (vm, rng, stats, fit)");
    }
    std::printf("%lld elements in slices of %zu, fastest slice of %d repeats; ns per element;\n"
                "ratio = peer / qor (above 1: qor faster)\n", static_cast<long long>(size), kSlice, o.repeats);
    std::printf("%-6s %-24s %9s %9s %7s  %s\n", "family", "qor", "qor ns", "peer ns", "ratio", "peer");
    Progress progress("qor bench", rows.size());
    std::size_t done = 0;
    for (const Row& r : rows) {
        const double q = best_ns(r.qor, std::size_t(size), o.repeats);
        const double p = best_ns(r.peer_run, std::size_t(size), o.repeats);
        progress.update(++done);
        std::printf("%-6s %-24s %9.3f %9.3f %7.2f  %s\n", r.family.c_str(), r.name.c_str(), q, p, p / q, r.peer.c_str());
        std::fflush(stdout);
    }
}

}  // namespace

void add_bench(CLI::App& app) {
    auto o = std::make_shared<BenchOptions>();
    auto* sub = app.add_subcommand("bench", "A short comparison with std:: and plain-loop peers, measured here");
    sub->add_option("--size", o->size, "Elements per call")->capture_default_str();
    sub->add_option("-r,--repeats", o->repeats, "Repeats of each measurement; the best counts")->capture_default_str();
    sub->add_option("--family", o->families, "Families to measure: vm, rng, stats, fit")->delimiter(',')
        ->capture_default_str();
    sub->footer("The full tables with more peers: ./run bench");
    sub->callback([o] { run_bench(*o); });
}

}  // namespace qor::cli
