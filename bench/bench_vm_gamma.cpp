// Gamma and modified Bessel kernels (one kernel per row) beside their
// peers (vm_peers.h): the C library's tgamma and lgamma and SLEEF's 1-ulp
// versions; for I0 and I1, which neither has, Boost.Math's cyl_bessel_i in
// a scalar loop.
#include <boost/math/special_functions/bessel.hpp>
#include <cmath>
#include <map>
#include <string>

#include "vm_peers.h"
#include "qor/qor_vm.h"

namespace qor::bench {
namespace {

template <class T, int Order>
T boost_i(T x) { return boost::math::cyl_bessel_i(Order, x); }

int register_all() {
    if (dll_cpu_version() != 5) return 1;
    const std::map<std::string, Peers<double>> doubles = {
        {"dTGamma", {0.5, 50.0, ::tgamma, Sleef_tgammad2_u10sse4, nullptr}},
        {"dLGamma", {0.5, 100.0, ::lgamma, Sleef_lgammad2_u10sse4, nullptr}},
        {"dI0", {-20.0, 20.0, boost_i<double, 0>, nullptr, nullptr}},
        {"dI1", {-20.0, 20.0, boost_i<double, 1>, nullptr, nullptr}}};
    const std::map<std::string, Peers<float>> singles = {
        {"sTGamma", {0.5, 30.0, ::tgammaf, Sleef_tgammaf4_u10sse4, nullptr}},
        {"sLGamma", {0.5, 100.0, ::lgammaf, Sleef_lgammaf4_u10sse4, nullptr}},
        {"sI0", {-20.0, 20.0, boost_i<float, 0>, nullptr, nullptr}},
        {"sI1", {-20.0, 20.0, boost_i<float, 1>, nullptr, nullptr}}};
    register_rows(doubles, singles);
    return 0;
}

const int registered = register_all();

}  // namespace
}  // namespace qor::bench

BENCHMARK_MAIN();
