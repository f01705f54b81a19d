// Ceil, Floor, Trunc, Rint, NearbyInt, Round, Frac and Modf against glibc's
// scalar functions on edge sets (halfway cases, the last non-integers, signed
// zeros, infinities, NaN) and wide random sweeps, in every entry point and
// form; the inexact flag of Rint and its absence elsewhere; no reports.
#include "arith_support.h"

namespace {

using namespace arith_test;

// Values where rounding decides: k + 1/2, k + 1/2 +- ulp, the largest
// non-integers, plus the edge set and a wide random sweep.
template <class T>
std::vector<T> rounding_inputs() {
    auto v = edge_values<T>();
    const T mant = T(1) / std::numeric_limits<T>::epsilon();
    for (T k : {T(0), T(1), T(2), T(3), T(41), T(1e4), mant / 4, mant / 2 - 1}) {
        for (T h : {k + T(0.5), std::nextafter(k + T(0.5), T(0)), std::nextafter(k + T(0.5), mant), k + T(0.25),
                    k + T(0.75)}) {
            v.push_back(h);
            v.push_back(-h);
        }
    }
    auto wide = random_mixed<T>(40000, 31);
    v.insert(v.end(), wide.begin(), wide.end());
    auto moderate = random_log_uniform<T>(40000, -4, std::numeric_limits<T>::digits + 1, 32);
    v.insert(v.end(), moderate.begin(), moderate.end());
    return v;
}

template <class T>
T frac_of(T x) {
    T whole;
    return std::modf(x, &whole);
}

template <class T>
void check_rounding(const Row<Unary<T>, UnaryI<T>>& ceil, const Row<Unary<T>, UnaryI<T>>& floor,
                    const Row<Unary<T>, UnaryI<T>>& trunc, const Row<Unary<T>, UnaryI<T>>& rint,
                    const Row<Unary<T>, UnaryI<T>>& nearbyint, const Row<Unary<T>, UnaryI<T>>& round,
                    const Row<Unary<T>, UnaryI<T>>& frac) {
    auto x = rounding_inputs<T>();
    ReportLog log;
    check_unary(
        ceil, x, [](T v) { return std::ceil(v); }, Exact{});
    check_unary(
        floor, x, [](T v) { return std::floor(v); }, Exact{});
    check_unary(
        trunc, x, [](T v) { return std::trunc(v); }, Exact{});
    check_unary(
        rint, x, [](T v) { return std::rint(v); }, Exact{});
    check_unary(
        nearbyint, x, [](T v) { return std::nearbyint(v); }, Exact{});
    check_unary(
        round, x, [](T v) { return std::round(v); }, Exact{});
    check_unary(frac, x, frac_of<T>, Exact{});
    EXPECT_TRUE(ReportLog::records().empty());
}

TEST(ArithRounding, DoubleMatchesLibm) {
    ARITH_NEEDS_EXACT_LIBM();
    check_rounding<double>(ARITH_UNARY_ROW(d, Ceil), ARITH_UNARY_ROW(d, Floor), ARITH_UNARY_ROW(d, Trunc),
                           ARITH_UNARY_ROW(d, Rint), ARITH_UNARY_ROW(d, NearbyInt), ARITH_UNARY_ROW(d, Round),
                           ARITH_UNARY_ROW(d, Frac));
}

TEST(ArithRounding, SingleMatchesLibm) {
    ARITH_NEEDS_EXACT_LIBM();
    check_rounding<float>(ARITH_UNARY_ROW(s, Ceil), ARITH_UNARY_ROW(s, Floor), ARITH_UNARY_ROW(s, Trunc),
                          ARITH_UNARY_ROW(s, Rint), ARITH_UNARY_ROW(s, NearbyInt), ARITH_UNARY_ROW(s, Round),
                          ARITH_UNARY_ROW(s, Frac));
}

TEST(ArithRounding, KnownValues) {
    const double inf = std::numeric_limits<double>::infinity();
    const double a[] = {2.5, -2.5, 0.5, -0.5, 0x1.fffffffffffffp-2, 4503599627370495.5, -0.0, inf, -inf, -3.0};
    const double round[] = {3, -3, 1, -1, 0, 4503599627370496.0, -0.0, inf, -inf, -3};
    const double rint[] = {2, -2, 0, -0.0, 0, 4503599627370496.0, -0.0, inf, -inf, -3};
    const double frac[] = {0.5, -0.5, 0.5, -0.5, 0x1.fffffffffffffp-2, 0.5, -0.0, 0, -0.0, -0.0};
    double r[10];
    _lumdRound(10, a, r);
    for (int i = 0; i < 10; ++i) EXPECT_TRUE(same(r[i], round[i])) << "Round(" << a[i] << ") = " << r[i];
    _lumdRint(10, a, r);
    for (int i = 0; i < 10; ++i) EXPECT_TRUE(same(r[i], rint[i])) << "Rint(" << a[i] << ") = " << r[i];
    _lumdFrac(10, a, r);
    for (int i = 0; i < 10; ++i) EXPECT_TRUE(same(r[i], frac[i])) << "Frac(" << a[i] << ") = " << r[i];
}

// Rint raises inexact for a non-integer; NearbyInt and Round never do.
TEST(ArithRounding, InexactOnlyFromRint) {
    const float x[5] = {0.5f, 1.25f, -7.75f, 3.0f, 1e9f};
    float r[5];
    auto inexact_after = [&](void (*k)(int, const float*, float*)) {
        _mm_setcsr(_mm_getcsr() & ~0x3Fu);
        k(5, x, r);
        return (_mm_getcsr() & 0x20) != 0;
    };
    EXPECT_TRUE(inexact_after(_lumsRint));
    EXPECT_FALSE(inexact_after(_lumsNearbyInt));
    EXPECT_FALSE(inexact_after(_lumsRound));
    EXPECT_FALSE(inexact_after(_lumsFrac));
}

// ---- Modf: two outputs ---------------------------------------------------------------
template <class T>
void check_modf(const Row<TwoOut<T>, TwoOutI<T>>& row) {
    auto x = rounding_inputs<T>();
    const size_t n = x.size();
    std::vector<T> whole(n), frac(n);
    for (size_t i = 0; i < n; ++i) frac[i] = std::modf(x[i], &whole[i]);
    auto compare = [&](Mismatches<T>& m, const std::vector<T>& r1, const std::vector<T>& r2, size_t len, int inc,
                       size_t offset) {
        for (size_t k = 0; k < r1.size(); ++k) {
            const bool written = k % inc == 0 && k / inc < len;
            const size_t i = offset + k / inc;
            if (written && !same(r1[k], whole[i])) m.add(i, "integral part of " + show(x[i]), r1[k], whole[i]);
            if (written && !same(r2[k], frac[i])) m.add(i, "fraction of " + show(x[i]), r2[k], frac[i]);
            if (!written && (!same(r1[k], sentinel<T>()) || !same(r2[k], sentinel<T>()))) m.add_clobber(k);
        }
    };
    for (int s = 0; s < 4; ++s) {
        for (int len : {int(n), 0, 1, 3, 17, 1001}) {
            const size_t offset = (n - len) / 3;
            std::vector<T> r1(len + 3, sentinel<T>()), r2(len + 3, sentinel<T>());
            row.contiguous.slot[s](len, x.data() + offset, r1.data(), r2.data());
            Mismatches<T> m(std::string(row.contiguous.name) + " slot " + std::to_string(s) +
                            " n=" + std::to_string(len));
            compare(m, r1, r2, len, 1, offset);
        }
        for (int inc : {2, 3}) {
            const int len = 1001;
            std::vector<T> a(len * inc), r1(len * inc + 2, sentinel<T>()), r2(len * inc + 2, sentinel<T>());
            for (int i = 0; i < len; ++i) a[i * inc] = x[i];
            row.strided.slot[s](len, a.data(), inc, r1.data(), inc, r2.data(), inc);
            Mismatches<T> m(std::string(row.strided.name) + " slot " + std::to_string(s) + " stride " +
                            std::to_string(inc));
            compare(m, r1, r2, len, inc, 0);
        }
    }
}

TEST(ArithModf, MatchesLibm) {
    ARITH_NEEDS_EXACT_LIBM();
    ReportLog log;
    check_modf<double>(ARITH_TWO_OUT_ROW(d, Modf));
    check_modf<float>(ARITH_TWO_OUT_ROW(s, Modf));
    EXPECT_TRUE(ReportLog::records().empty());
}

}  // namespace
