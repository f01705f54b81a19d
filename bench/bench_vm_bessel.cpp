// Bessel kernels beside the C library's j0, j1, y0, y1, jn, yn loops and
// Boost.Math's cyl_bessel_j and cyl_neumann (SLEEF has no Bessel
// functions).  Jn and Yn are timed at order 3, x on (0.1, 50): the pieces
// and the Hankel form both take part.
#include <boost/math/special_functions/bessel.hpp>

#include <cmath>
#include <map>
#include <string>

#include "vm_peers.h"
#include "qor/qor_vm.h"

namespace qor::bench {
namespace {

constexpr double kLo = 0.1, kHi = 50.0;
constexpr int kOrder = 3;

template <class T>
using OrderKernel = void (*)(int, const T*, T, T*);

// Boost's function of one order as a loop.
template <class T, bool IsJ>
void boost_loop(int order, int n, const T* a, T* r) {
    for (int i = 0; i < n; ++i)
        r[i] = IsJ ? boost::math::cyl_bessel_j(order, a[i]) : boost::math::cyl_neumann(order, a[i]);
}

template <class T, bool IsJ>
void register_boost(const std::string& name, int order) {
    for (long n : kSizes)
        register_loop<T>(name + "/boost/" + std::to_string(n), n, kLo, kHi,
                         [order](int m, const T* a, T* r) { boost_loop<T, IsJ>(order, m, a, r); });
}

// Jn, Yn at one order: the row's kernel, the C library and Boost.
template <class T, bool IsJ>
void register_order_row(const BenchRow& row, T (*libm)(int, T)) {
    const std::string name = std::string(row.name) + "/n" + std::to_string(kOrder);
    for (long n : kSizes) {
        const std::string tail = "/" + std::to_string(n);
        for (const auto& [label, k] : own_kernels<OrderKernel<T>>(row))
            register_loop<T>(name + "/" + label + tail, n, kLo, kHi,
                             [k](int m, const T* a, T* r) { k(m, a, T(kOrder), r); });
        register_loop<T>(name + "/libm" + tail, n, kLo, kHi, [libm](int m, const T* a, T* r) {
            for (int i = 0; i < m; ++i) r[i] = libm(kOrder, a[i]);
        });
    }
    register_boost<T, IsJ>(name, kOrder);
}

int register_all() {
    if (dll_cpu_version() != 5) return 1;
    const std::map<std::string, Peers<double>> doubles = {{"dJ0", {kLo, kHi, ::j0, nullptr, nullptr}},
                                                          {"dJ1", {kLo, kHi, ::j1, nullptr, nullptr}},
                                                          {"dY0", {kLo, kHi, ::y0, nullptr, nullptr}},
                                                          {"dY1", {kLo, kHi, ::y1, nullptr, nullptr}}};
    const std::map<std::string, Peers<float>> singles = {{"sJ0", {kLo, kHi, ::j0f, nullptr, nullptr}},
                                                         {"sJ1", {kLo, kHi, ::j1f, nullptr, nullptr}},
                                                         {"sY0", {kLo, kHi, ::y0f, nullptr, nullptr}},
                                                         {"sY1", {kLo, kHi, ::y1f, nullptr, nullptr}}};
    register_rows(doubles, singles);
    register_boost<double, true>("dJ0", 0);
    register_boost<double, true>("dJ1", 1);
    register_boost<double, false>("dY0", 0);
    register_boost<double, false>("dY1", 1);
    for (const BenchRow& row : bench_rows()) {
        const std::string name = row.name;
        if (name == "dJn") register_order_row<double, true>(row, ::jn);
        if (name == "dYn") register_order_row<double, false>(row, ::yn);
        if (name == "sJn") register_order_row<float, true>(row, ::jnf);
        if (name == "sYn") register_order_row<float, false>(row, ::ynf);
    }
    return 0;
}

const int registered = register_all();

}  // namespace
}  // namespace qor::bench

BENCHMARK_MAIN();
