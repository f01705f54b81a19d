#include "scalar_loops.h"

#include <cmath>

namespace qor::bench {

#define QOR_BENCH_DEFINE_UNARY(Fn, expr)                                                 \
    template <class T> static void loop_##Fn(int n, const T* a, T* r) {                  \
        for (int i = 0; i < n; ++i) { T x = a[i]; r[i] = expr; }                           \
    }                                                                                    \
    void scalar_s##Fn(int n, const float* a, float* r) { loop_##Fn(n, a, r); }          \
    void scalar_d##Fn(int n, const double* a, double* r) { loop_##Fn(n, a, r); }
#define QOR_BENCH_DEFINE_BINARY(Fn, expr)                                                \
    template <class T> static void loop_##Fn(int n, const T* a, const T* b, T* r) {      \
        for (int i = 0; i < n; ++i) { T x = a[i], y = b[i]; r[i] = expr; }                 \
    }                                                                                    \
    void scalar_s##Fn(int n, const float* a, const float* b, float* r) { loop_##Fn(n, a, b, r); } \
    void scalar_d##Fn(int n, const double* a, const double* b, double* r) { loop_##Fn(n, a, b, r); }

QOR_BENCH_UNARY(QOR_BENCH_DEFINE_UNARY)
QOR_BENCH_BINARY(QOR_BENCH_DEFINE_BINARY)

template <class T> static void loop_modf(int n, const T* a, T* r1, T* r2) {
    for (int i = 0; i < n; ++i) r2[i] = std::modf(a[i], &r1[i]);
}
void scalar_sModf(int n, const float* a, float* r1, float* r2) { loop_modf(n, a, r1, r2); }
void scalar_dModf(int n, const double* a, double* r1, double* r2) { loop_modf(n, a, r1, r2); }

template <class T> static void loop_linear_frac(int n, const T* a, const T* b, T sa, T ha, T sb, T hb, T* r) {
    for (int i = 0; i < n; ++i) r[i] = (sa * a[i] + ha) / (sb * b[i] + hb);
}
void scalar_sLinearFrac(int n, const float* a, const float* b, float sa, float ha, float sb, float hb, float* r) {
    loop_linear_frac(n, a, b, sa, ha, sb, hb, r);
}
void scalar_dLinearFrac(int n, const double* a, const double* b, double sa, double ha, double sb, double hb, double* r) {
    loop_linear_frac(n, a, b, sa, ha, sb, hb, r);
}

}  // namespace qor::bench
