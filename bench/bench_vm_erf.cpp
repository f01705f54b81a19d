// Error function kernels (each kernel the rows own) beside their SLEEF and
// C library peers (vm_peers.h).  SLEEF's erfc is its 1.5-ulp function,
// listed under sleef_u10; it has no 3.5-ulp error functions.  The C library
// has no erfcx: its peer is e^(x^2) erfc(x) in a scalar loop, on x < 26
// where that product stays finite; CdfNorm's is erfc(-x/sqrt 2)/2.
#include <cmath>
#include <map>
#include <string>

#include "vm_peers.h"
#include "qor/qor_vm.h"

namespace qor::bench {
namespace {

double erfcx_libm(double x) { return std::exp(x * x) * ::erfc(x); }
float erfcx_libmf(float x) { return std::exp(x * x) * ::erfcf(x); }
double cdfnorm_libm(double x) { return 0.5 * ::erfc(-x * M_SQRT1_2); }
float cdfnorm_libmf(float x) { return 0.5f * ::erfcf(-x * float(M_SQRT1_2)); }

int register_all() {
    if (dll_cpu_version() != 5) return 1;
    const std::map<std::string, Peers<double>> doubles = {
        {"dErf", {-3.0, 3.0, ::erf, Sleef_erfd2_u10sse4, nullptr}},
        {"dErfc", {-3.0, 10.0, ::erfc, Sleef_erfcd2_u15sse4, nullptr}},
        {"dErfcx", {-5.0, 25.0, erfcx_libm, nullptr, nullptr}},
        {"dCdfNorm", {-10.0, 5.0, cdfnorm_libm, nullptr, nullptr}}};
    const std::map<std::string, Peers<float>> singles = {
        {"sErf", {-3.0, 3.0, ::erff, Sleef_erff4_u10sse4, nullptr}},
        {"sErfc", {-3.0, 9.0, ::erfcf, Sleef_erfcf4_u15sse4, nullptr}},
        {"sErfcx", {-5.0, 9.0, erfcx_libmf, nullptr, nullptr}},
        {"sCdfNorm", {-10.0, 5.0, cdfnorm_libmf, nullptr, nullptr}}};
    register_rows(doubles, singles);
    return 0;
}

const int registered = register_all();

}  // namespace
}  // namespace qor::bench

BENCHMARK_MAIN();
