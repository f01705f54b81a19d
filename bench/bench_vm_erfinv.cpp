// Inverse error functions and the normal quantile beside scalar loops of
// Boost.Math's erf_inv and erfc_inv (no SLEEF or C library function
// exists).  The "libm" loop is Boost with its default policy, which
// evaluates double arguments in long double; "boost_double" keeps them in
// double.  The normal quantile's peer is -sqrt 2 erfc_inv(2p).  Arguments
// are uniform on the whole open domain, as the Gaussian generator's are.
#include <boost/math/special_functions/erf.hpp>

#include <cmath>
#include <map>
#include <string>

#include "vm_peers.h"
#include "qor/qor_vm.h"

namespace qor::bench {
namespace {

using NoPromote = boost::math::policies::policy<boost::math::policies::promote_double<false>,
                                                boost::math::policies::promote_float<false>>;

template <class T>
T erf_inv(T x) { return boost::math::erf_inv(x); }
template <class T>
T erfc_inv(T q) { return boost::math::erfc_inv(q); }
template <class T>
T norm_inv(T p) { return T(-M_SQRT2) * boost::math::erfc_inv(p + p); }
template <class T>
T erf_inv_plain(T x) { return boost::math::erf_inv(x, NoPromote()); }
template <class T>
T erfc_inv_plain(T q) { return boost::math::erfc_inv(q, NoPromote()); }
template <class T>
T norm_inv_plain(T p) { return T(-M_SQRT2) * boost::math::erfc_inv(p + p, NoPromote()); }

template <class T>
void register_plain(const std::string& row, double lo, double hi, T (*f)(T)) {
    for (long n : kSizes)
        register_loop<T>(row + "/boost_double/" + std::to_string(n), n, lo, hi, [f](int m, const T* a, T* r) {
            for (int i = 0; i < m; ++i) r[i] = f(a[i]);
        });
}

int register_all() {
    if (dll_cpu_version() != 5) return 1;
    const double below_one = 1 - 0x1p-20;
    const std::map<std::string, Peers<double>> doubles = {
        {"dErfInv", {-below_one, below_one, erf_inv<double>, nullptr, nullptr}},
        {"dErfcInv", {0x1p-20, 2 - 0x1p-20, erfc_inv<double>, nullptr, nullptr}},
        {"dCdfNormInv", {0x1p-21, below_one, norm_inv<double>, nullptr, nullptr}}};
    const std::map<std::string, Peers<float>> singles = {
        {"sErfInv", {-below_one, below_one, erf_inv<float>, nullptr, nullptr}},
        {"sErfcInv", {0x1p-20, 2 - 0x1p-20, erfc_inv<float>, nullptr, nullptr}},
        {"sCdfNormInv", {0x1p-21, below_one, norm_inv<float>, nullptr, nullptr}}};
    register_rows(doubles, singles);
    register_plain<double>("dErfInv", -below_one, below_one, erf_inv_plain<double>);
    register_plain<double>("dErfcInv", 0x1p-20, 2 - 0x1p-20, erfc_inv_plain<double>);
    register_plain<double>("dCdfNormInv", 0x1p-21, below_one, norm_inv_plain<double>);
    register_plain<float>("sErfInv", -below_one, below_one, erf_inv_plain<float>);
    return 0;
}

const int registered = register_all();

}  // namespace
}  // namespace qor::bench

BENCHMARK_MAIN();
