// Exponential and logarithm kernels (the rows of the row list that have
// peers here, with each kernel a row owns) beside their SLEEF and C library
// peers (vm_peers.h).
#include <cmath>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "vm_peers.h"
#include "qor/qor_vm.h"

namespace qor::bench {
namespace {

int register_all() {
    if (dll_cpu_version() != 5) return 1;
    // E1 has no C library or SLEEF peer: the kernels are timed alone.
    const std::map<std::string, Peers<double>> doubles = {
        {"dExp", {-700.0, 700.0, ::exp, Sleef_expd2_u10sse4, nullptr}},
        {"dExp2", {-1000.0, 1000.0, ::exp2, Sleef_exp2d2_u10sse4, Sleef_exp2d2_u35sse4}},
        {"dExp10", {-300.0, 300.0, ::exp10, Sleef_exp10d2_u10sse4, Sleef_exp10d2_u35sse4}},
        {"dExpm1", {-5.0, 5.0, ::expm1, Sleef_expm1d2_u10sse4, nullptr}},
        {"dLn", {1e-3, 1e3, ::log, Sleef_logd2_u10sse4, Sleef_logd2_u35sse4}},
        {"dLog2", {1e-3, 1e3, ::log2, Sleef_log2d2_u10sse4, Sleef_log2d2_u35sse4}},
        {"dLog10", {1e-3, 1e3, ::log10, Sleef_log10d2_u10sse4, nullptr}},
        {"dLog1p", {-0.9, 100.0, ::log1p, Sleef_log1pd2_u10sse4, nullptr}},
        {"dLogb", {-1e6, 1e6, ::logb, nullptr, nullptr}},
        {"dExpInt1", {0.01, 50.0, nullptr, nullptr, nullptr}}};
    const std::map<std::string, Peers<float>> singles = {
        {"sExp", {-87.0, 88.0, ::expf, Sleef_expf4_u10sse4, nullptr}},
        {"sExp2", {-125.0, 127.0, ::exp2f, Sleef_exp2f4_u10sse4, Sleef_exp2f4_u35sse4}},
        {"sExp10", {-37.0, 38.0, ::exp10f, Sleef_exp10f4_u10sse4, Sleef_exp10f4_u35sse4}},
        {"sExpm1", {-5.0, 5.0, ::expm1f, Sleef_expm1f4_u10sse4, nullptr}},
        {"sLn", {1e-3, 1e3, ::logf, Sleef_logf4_u10sse4, Sleef_logf4_u35sse4}},
        {"sLog2", {1e-3, 1e3, ::log2f, Sleef_log2f4_u10sse4, Sleef_log2f4_u35sse4}},
        {"sLog10", {1e-3, 1e3, ::log10f, Sleef_log10f4_u10sse4, nullptr}},
        {"sLog1p", {-0.9, 100.0, ::log1pf, Sleef_log1pf4_u10sse4, nullptr}},
        {"sLogb", {-1e6, 1e6, ::logbf, nullptr, nullptr}},
        {"sExpInt1", {0.01, 50.0, nullptr, nullptr, nullptr}}};
    register_rows(doubles, singles);
    return 0;
}

const int registered = register_all();

}  // namespace
}  // namespace qor::bench

BENCHMARK_MAIN();
