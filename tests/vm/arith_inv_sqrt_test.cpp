// InvSqrt: the error of every variant measured in ulps against MPFR over the
// whole positive range (subnormals included), the forms and slots, special
// values and reports.  HA (= LA) promises one ulp and aims at correct
// rounding, which the sweeps (hard cases next to powers of four included)
// find everywhere; EP keeps well over the 26 (double) and 11 (single) correct
// bits it promises.
#include "arith_support.h"

namespace {

using namespace arith_test;

// The exact 1/sqrt(x) at 200 bits, for positive finite x.
template <class T>
class ExactInvSqrt {
public:
    ExactInvSqrt() { mpfr_init2(m_, 200); }
    ~ExactInvSqrt() { mpfr_clear(m_); }
    ExactInvSqrt(const ExactInvSqrt&) = delete;
    ExactInvSqrt& operator=(const ExactInvSqrt&) = delete;
    mpfr_srcptr operator()(T x) {
        mpfr_from(m_, x);
        mpfr_rec_sqrt(m_, m_, MPFR_RNDN);
        return m_;
    }

private:
    mpfr_t m_;
};

template <class T>
std::vector<T> positive_inputs() {
    const int lo = std::numeric_limits<T>::min_exponent - std::numeric_limits<T>::digits;
    auto v = random_log_uniform<T>(100000, lo, std::numeric_limits<T>::max_exponent - 1, 61);
    for (T& x : v) x = std::fabs(x);
    for (T x : edge_values<T>())
        if (x > 0 && std::isfinite(x)) v.push_back(x);
    for (int k = -20; k <= 20; ++k) v.push_back(std::ldexp(T(1), 2 * k));
    // Next to powers of four 1/sqrt(x) lies within a tiny fraction of an ulp
    // of a midpoint: x = 4^k (1 - j 2^-p) gives 1 + j 2^-(p+1) + 3 j^2 2^-(2p+3).
    const T eps = std::numeric_limits<T>::epsilon();
    for (int k : {0, 7, -9})
        for (int j = 1; j <= 64; ++j) {
            v.push_back(std::ldexp(T(1) - j * eps / 2, 2 * k));
            v.push_back(std::ldexp(T(1) + j * eps, 2 * k));
        }
    return v;
}

template <class T>
struct Accuracy {
    double worst = 0;
    T worst_at = 0;
    size_t not_nearest = 0;
};

template <class T>
Accuracy<T> measure(Unary<T> kernel, const std::vector<T>& x) {
    std::vector<T> r(x.size());
    kernel(int(x.size()), x.data(), r.data());
    ExactInvSqrt<T> exact;
    Accuracy<T> acc;
    for (size_t i = 0; i < x.size(); ++i) {
        double e = ulp_error(r[i], exact(x[i]));
        if (e > 0.5) ++acc.not_nearest;
        if (e > acc.worst) {
            acc.worst = e;
            acc.worst_at = x[i];
        }
    }
    return acc;
}

template <class T>
void check_accuracy(const Row<Unary<T>, UnaryI<T>>& row, double ep_min_bits) {
    const auto x = positive_inputs<T>();
    const int digits = std::numeric_limits<T>::digits;
    for (int s = 0; s < 3; ++s) {  // HA, _HA, LA: one kernel
        auto acc = measure(row.contiguous.slot[s], x);
        EXPECT_LE(acc.worst, 0.5 + 1.0 / 1024) << row.contiguous.name << " slot " << s << " at " << show(acc.worst_at);
        EXPECT_EQ(acc.not_nearest, 0u) << row.contiguous.name << " slot " << s << " is not correctly rounded";
        if (s == 0)
            std::printf("%s HA/LA: worst %.6f ulp, %zu of %zu not the nearest\n", row.contiguous.name, acc.worst,
                        acc.not_nearest, x.size());
    }
    auto ep = measure(row.contiguous.slot[3], x);
    const double bits = digits - std::log2(std::max(ep.worst, 0.5));
    std::printf("%s EP: worst %.4g ulp, %.2f correct bits\n", row.contiguous.name, ep.worst, bits);
    EXPECT_GE(bits, ep_min_bits) << row.contiguous.name << " EP at " << show(ep.worst_at);
}

TEST(ArithInvSqrt, DoubleAccuracy) { check_accuracy<double>(ARITH_UNARY_ROW(d, InvSqrt), 32); }

TEST(ArithInvSqrt, SingleAccuracy) { check_accuracy<float>(ARITH_UNARY_ROW(s, InvSqrt), 20); }

// Every entry and form on a mix of positive values and specials: HA within
// one ulp of the correctly rounded value, EP within its bits.
template <class T>
void check_forms(const Row<Unary<T>, UnaryI<T>>& row, int ep_bits) {
    MpfrFormat<T> format;
    auto want = [](T x) -> T {
        if (x == 0) return std::copysign(std::numeric_limits<T>::infinity(), x);
        return mpfr_apply<T>(
            [](mpfr_ptr r, mpfr_srcptr a, mpfr_srcptr, mpfr_rnd_t m) { return mpfr_rec_sqrt(r, a, m); }, x);
    };
    auto x = positive_inputs<T>();
    x.resize(20000);
    for (T e : edge_values<T>()) x.push_back(e);
    const int digits = std::numeric_limits<T>::digits;
    // Slots 0-2 are the HA kernel, slot 3 the EP one; check_unary cannot tell
    // them apart, so the tolerance is EP's, and HA is held to one ulp below.
    auto close = [&](T got, T expected, T) {
        if (!std::isfinite(expected) || expected == 0) return same(got, expected);
        const T ulp = std::nextafter(expected, std::numeric_limits<T>::infinity()) - expected;
        return std::fabs(got - expected) <= std::ldexp(ulp, digits - ep_bits);
    };
    ReportLog log;
    check_unary(row, x, want, close);
    std::vector<T> r(x.size());
    for (int s = 0; s < 3; ++s) {
        row.contiguous.slot[s](int(x.size()), x.data(), r.data());
        Mismatches<T> m(std::string(row.contiguous.name) + " HA slot " + std::to_string(s));
        for (size_t i = 0; i < x.size(); ++i) {
            const T w = want(x[i]);
            const bool ok = std::isfinite(w) && w != 0
                                ? std::fabs(r[i] - w) <= std::nextafter(w, std::numeric_limits<T>::infinity()) - w
                                : same(r[i], w);
            if (!ok) m.add(i, show(x[i]), r[i], w);
        }
    }
}

TEST(ArithInvSqrt, FormsAndSlots) {
    check_forms<double>(ARITH_UNARY_ROW(d, InvSqrt), 32);
    check_forms<float>(ARITH_UNARY_ROW(s, InvSqrt), 20);
}

// Within a relative 2^-30 (double) or 2^-20 (single): both variants.
template <class T>
bool close_to(T got, T want) {
    return std::fabs(got - want) <= std::ldexp(want, sizeof(T) == 8 ? -30 : -20);
}

TEST(ArithInvSqrt, SpecialValuesAndReports) {
    const double inf = std::numeric_limits<double>::infinity(), nan = std::numeric_limits<double>::quiet_NaN();
    const double x[] = {4, 0.0, -0.0, -1, inf, nan, 0x1p-1074, -inf, 0x1p-1022, DBL_MAX, 0x1p1000};
    for (auto k : {_lumdInvSqrt, _lumdInvSqrt_26}) {
        ReportLog log;
        double r[11];
        k(11, x, r);
        EXPECT_TRUE(close_to(r[0], 0.5));
        EXPECT_EQ(r[1], inf);
        EXPECT_EQ(r[2], -inf);
        EXPECT_TRUE(std::isnan(r[3]));
        EXPECT_TRUE(same(r[4], 0.0));
        EXPECT_TRUE(std::isnan(r[5]));
        EXPECT_TRUE(close_to(r[6], 0x1p537));
        EXPECT_TRUE(std::isnan(r[7]));
        EXPECT_TRUE(close_to(r[8], 0x1p511));
        EXPECT_TRUE(close_to(r[9], 0x1p-512));
        EXPECT_TRUE(close_to(r[10], 0x1p-500));
        const auto& rec = ReportLog::records();
        ASSERT_EQ(rec.size(), 4u);
        const int index[] = {1, 2, 3, 7}, code[] = {2, 2, 1, 1};
        for (int j = 0; j < 4; ++j) {
            EXPECT_EQ(rec[j].index, index[j]);
            EXPECT_EQ(rec[j].code, code[j]);
            EXPECT_STREQ(rec[j].name, "vdInvSqrt");
        }
    }
    const float xf[] = {0.0f, 0x1p-149f, 0x1p-126f, -2.0f, 0x1p126f};
    for (auto k : {_lumsInvSqrtI, _lumsInvSqrtI_11}) {
        ReportLog log;
        float a[10] = {}, r[10];
        for (int i = 0; i < 5; ++i) a[2 * i] = xf[i];
        k(5, a, 2, r, 2);
        EXPECT_EQ(r[0], std::numeric_limits<float>::infinity());
        EXPECT_TRUE(close_to(r[2], 0x1.6a09e6p+74f));
        EXPECT_TRUE(close_to(r[4], 0x1p63f));
        EXPECT_TRUE(std::isnan(r[6]));
        EXPECT_TRUE(close_to(r[8], 0x1p-63f));
        ASSERT_EQ(ReportLog::records().size(), 2u);
        EXPECT_STREQ(ReportLog::records()[0].name, "vsInvSqrtI");
        EXPECT_EQ(ReportLog::records()[1].index, 3);
    }
}

}  // namespace
