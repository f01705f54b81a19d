// Plain scalar loops over the C++ standard library, the peer every kernel
// is measured against.
#pragma once

#define QOR_BENCH_UNARY(X)              \
    X(Abs, std::fabs(x))                \
    X(Inv, T(1) / x)                    \
    X(Sqr, x * x)                       \
    X(Sqrt, std::sqrt(x))               \
    X(InvSqrt, T(1) / std::sqrt(x))     \
    X(Ceil, std::ceil(x))               \
    X(Floor, std::floor(x))             \
    X(Round, std::round(x))             \
    X(Trunc, std::trunc(x))             \
    X(Rint, std::rint(x))               \
    X(NearbyInt, std::nearbyint(x))     \
    X(Frac, x - std::trunc(x))

#define QOR_BENCH_BINARY(X)                                                \
    X(Add, x + y)                                                          \
    X(Sub, x - y)                                                          \
    X(Mul, x * y)                                                          \
    X(Div, x / y)                                                          \
    X(CopySign, std::copysign(x, y))                                       \
    X(NextAfter, std::nextafter(x, y))                                     \
    X(Fdim, std::fdim(x, y))                                               \
    X(Fmax, std::fmax(x, y))                                               \
    X(Fmin, std::fmin(x, y))                                               \
    X(MaxMag, std::fabs(x) > std::fabs(y) ? x : std::fabs(y) > std::fabs(x) ? y : std::fmax(x, y)) \
    X(MinMag, std::fabs(x) < std::fabs(y) ? x : std::fabs(y) < std::fabs(x) ? y : std::fmin(x, y)) \
    X(Fmod, std::fmod(x, y))                                               \
    X(Remainder, std::remainder(x, y))

#define QOR_BENCH_DECLARE_UNARY(Fn, expr)                          \
    void scalar_s##Fn(int n, const float* a, float* r);            \
    void scalar_d##Fn(int n, const double* a, double* r);
#define QOR_BENCH_DECLARE_BINARY(Fn, expr)                                 \
    void scalar_s##Fn(int n, const float* a, const float* b, float* r);    \
    void scalar_d##Fn(int n, const double* a, const double* b, double* r);

namespace qor::bench {
QOR_BENCH_UNARY(QOR_BENCH_DECLARE_UNARY)
QOR_BENCH_BINARY(QOR_BENCH_DECLARE_BINARY)
void scalar_sModf(int n, const float* a, float* r1, float* r2);
void scalar_dModf(int n, const double* a, double* r1, double* r2);
void scalar_sLinearFrac(int n, const float* a, const float* b, float sa, float ha, float sb, float hb, float* r);
void scalar_dLinearFrac(int n, const double* a, const double* b, double sa, double ha, double sb, double hb, double* r);
}  // namespace qor::bench
