// Complex Add, Sub, Mul, MulByConj and Conj in every slot and both forms:
// bit for bit against the compiler's complex arithmetic (IEEE sums; a
// product that recovers infinities the way C does), within the textbook
// formula's error bound of a long double product, on C's infinity and NaN
// product cases (EP keeps the plain formula), and in their error reports
// and floating-point protocol.
#include <gtest/gtest.h>
#include <xmmintrin.h>

#include <cfenv>
#include <cfloat>
#include <cmath>
#include <complex>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "qor/qor_vm.h"

namespace {

template <class C> using Real = decltype(C::re);
template <class C> using Std = std::complex<Real<C>>;
template <class C> using Kernel = void (*)(int, const C*, const C*, C*);
template <class C> using KernelI = void (*)(int, const C*, int, const C*, int, C*, int);

template <class C>
struct Function {
    const char* name;
    Kernel<C> slots[4];  // LA, HA, HA by its suffixed name, EP
    KernelI<C> strided[4];
    Std<C> (*oracle)(Std<C>, Std<C>);
};

#define SLOTS(p, Fn, LA, EP) {_lum##p##Fn##LA, _lum##p##Fn, _lum##p##Fn##_HA, _lum##p##Fn##EP}
#define FUNCTION(p, Fn, LA, EP, op) {#p #Fn, SLOTS(p, Fn, LA, EP), SLOTS(p, Fn##I, LA, EP), op}
constexpr int kEP = 3;

template <class R> std::complex<R> add(std::complex<R> a, std::complex<R> b) { return a + b; }
template <class R> std::complex<R> sub(std::complex<R> a, std::complex<R> b) { return a - b; }
template <class R> std::complex<R> mul(std::complex<R> a, std::complex<R> b) { return a * b; }
template <class R> std::complex<R> mul_conj(std::complex<R> a, std::complex<R> b) { return a * std::conj(b); }

template <class C> std::vector<Function<C>> functions();
template <> std::vector<Function<qor_complex16>> functions() {
    return {FUNCTION(z, Add, _50, _26, add<double>), FUNCTION(z, Sub, _50, _26, sub<double>),
            FUNCTION(z, Mul, _50, _26, mul<double>), FUNCTION(z, MulByConj, _50, _26, mul_conj<double>)};
}
template <> std::vector<Function<qor_complex8>> functions() {
    return {FUNCTION(c, Add, _21, _11, add<float>), FUNCTION(c, Sub, _21, _11, sub<float>),
            FUNCTION(c, Mul, _21, _11, mul<float>), FUNCTION(c, MulByConj, _21, _11, mul_conj<float>)};
}

template <class T> bool same_bits(const T& x, const T& y) { return std::memcmp(&x, &y, sizeof x) == 0; }
template <class C> Std<C> to_std(C x) { return {x.re, x.im}; }

// NaN signs and payloads are not part of the contract; all else is exact.
template <class C>
bool matches(C got, Std<C> want) {
    auto same = [](auto x, auto y) { return (std::isnan(x) && std::isnan(y)) || same_bits(x, y); };
    return same(got.re, want.real()) && same(got.im, want.imag());
}

// Random signs and binary exponents in [-30, 30]: no overflow, no underflow.
template <class C>
std::vector<C> random_complex(std::size_t n, unsigned seed) {
    std::mt19937 gen(seed);
    auto part = [&] { return Real<C>(std::ldexp(1.0 + gen() / 4294967296.0, int(gen() % 61) - 30) * (gen() % 2 ? -1 : 1)); };
    std::vector<C> v(n);
    for (C& x : v) x.re = part(), x.im = part();
    return v;
}

template <class C> C sentinel() { C s; std::memset(&s, 0x5A, sizeof s); return s; }

// n elements at increment inc; element 0 is the last slot for inc < 0.
template <class C>
struct Strided {
    std::vector<C> store;
    int inc;
    Strided(int n, int step) : store(std::size_t(n - 1) * std::abs(step) + 1, sentinel<C>()), inc(step) {}
    C* base() { return inc < 0 ? &store.back() : store.data(); }
    C& at(int i) { return base()[std::ptrdiff_t(i) * inc]; }
};

template <class C>
void check_against_oracle() {
    struct Incs { int a, b, r; } const incs[] = {{1, 1, 1}, {2, 1, 3}, {1, 3, 2}, {-2, 1, 2}, {1, -1, -3}};
    for (const auto& fn : functions<C>()) {
        for (int slot = 0; slot < 4; ++slot) {
            for (int n : {-2, 0, 1, 2, 3, 5, 8, 9, 15, 16, 17, 33}) {
                const int m = n < 1 ? 1 : n;
                auto a = random_complex<C>(m, 11 * m + slot), b = random_complex<C>(m, 13 * m);
                std::vector<C> r(m + 1, sentinel<C>());
                fn.slots[slot](n, a.data(), b.data(), r.data());
                for (int i = 0; i < m; ++i)
                    EXPECT_TRUE(i < n ? matches(r[i], fn.oracle(to_std(a[i]), to_std(b[i]))) : same_bits(r[i], sentinel<C>()))
                        << fn.name << " slot " << slot << " n=" << n << " i=" << i;
                EXPECT_TRUE(same_bits(r[m], sentinel<C>()));
                for (const Incs& s : incs) {
                    if (n < 1) continue;
                    Strided<C> sa(n, s.a), sb(n, s.b), sr(n, s.r);
                    for (int i = 0; i < n; ++i) sa.at(i) = a[i], sb.at(i) = b[i];
                    fn.strided[slot](n, sa.base(), s.a, sb.base(), s.b, sr.base(), s.r);
                    for (int i = 0; i < n; ++i) {
                        EXPECT_TRUE(matches(sr.at(i), fn.oracle(to_std(a[i]), to_std(b[i]))))
                            << fn.name << "I slot " << slot << " n=" << n << " incs " << s.a << s.b << s.r;
                        sr.at(i) = sentinel<C>();
                    }
                    for (const C& x : sr.store) EXPECT_TRUE(same_bits(x, sentinel<C>())) << fn.name << "I wrote between";
                }
            }
        }
    }
    // Each part of the textbook product is within (2u + u^2)(|p1| + |p2|)
    // of the exact value, p1 and p2 being its two products.
    const long double u = std::numeric_limits<Real<C>>::epsilon() / 2;
    auto a = random_complex<C>(200, 1), b = random_complex<C>(200, 2);
    std::vector<C> r(200);
    functions<C>()[2].slots[1](200, a.data(), b.data(), r.data());
    for (int i = 0; i < 200; ++i) {
        long double ar = a[i].re, ai = a[i].im, br = b[i].re, bi = b[i].im;
        EXPECT_LE(std::fabs(r[i].re - (ar * br - ai * bi)), 3 * u * (std::fabs(ar * br) + std::fabs(ai * bi)));
        EXPECT_LE(std::fabs(r[i].im - (ar * bi + ai * br)), 3 * u * (std::fabs(ar * bi) + std::fabs(ai * br)));
    }
}

// ---- reports -----------------------------------------------------------------
struct Reports {
    static inline thread_local std::vector<qor_vm_error_record> seen;
    static inline thread_local bool replace = false;  // write (7, -7) into res1, return 0
    static int32_t callback(qor_vm_error_record* r) {
        seen.push_back(*r);
        if (replace) r->res1 = 7, r->res1_im = -7;
        return replace ? 0 : 1;
    }
};

// Runs f on a new thread (pristine vector-math state) reporting to the
// callback only, with no input base.
template <class F>
void with_callback(F f) {
    std::thread([&] {
        Reports::seen.clear();
        _lumSetMode(QOR_VM_ERRMODE_CALLBACK);
        _lumSetErrorCallBack(Reports::callback);
        _lumSetInterfInputVectorPointer(nullptr);
        f();
    }).join();
}

// One part of the element at each position in turn overflows: across full
// blocks, a partial one and a lone last single complex element, exactly it
// is reported, with both parts of its arguments and result.  The second
// argument doubles the first: a + a, a - (-a), a times 2 or conj(2).
enum class Second { Same, Negated, Two };

template <class C>
void check_every_position(Kernel<C> kernel, const char* name, Second second, int n) {
    const Real<C> big = std::numeric_limits<Real<C>>::max();
    for (bool imaginary : {false, true}) {
        for (int p = 0; p < n; ++p) {
            std::vector<C> a(n, C{1, 1}), b(n, C{2, 0}), r(n);
            (imaginary ? a[p].im : a[p].re) = big;
            for (int i = 0; i < n && second != Second::Two; ++i)
                b[i] = second == Second::Same ? a[i] : C{-a[i].re, -a[i].im};
            Reports::seen.clear();
            kernel(n, a.data(), b.data(), r.data());
            ASSERT_EQ(Reports::seen.size(), 1u) << name << " position " << p;
            const qor_vm_error_record& rec = Reports::seen[0];
            EXPECT_EQ(rec.code, QOR_VM_STATUS_OVERFLOW);
            EXPECT_EQ(rec.index, p);
            EXPECT_EQ(std::string(rec.name, rec.name_length), name);
            EXPECT_TRUE(rec.arg1 == a[p].re && rec.arg1_im == a[p].im && rec.arg2 == b[p].re && rec.arg2_im == b[p].im);
            const double inf = INFINITY, other = 2;
            EXPECT_EQ(rec.res1, imaginary ? other : inf);
            EXPECT_EQ(rec.res1_im, imaginary ? inf : other);
            EXPECT_TRUE(rec.res2 == rec.res1 && rec.res2_im == rec.res1_im);
        }
    }
}

}  // namespace

TEST(ComplexArithmetic, EverySlotAndFormMatchesTheCompilersComplexArithmetic) {
    check_against_oracle<qor_complex16>();
    check_against_oracle<qor_complex8>();
}

TEST(ComplexArithmetic, ProductsRecoverInfinitiesAsCDoesExceptInEp) {
    with_callback([] {
        const double inf = INFINITY, nan = NAN, big = 0x1p600;
        using X = std::complex<double>;
        struct { X a, b, recovered, plain; } const cases[] = {
            {X(inf, inf), X(1, 0), X(inf, inf), X(nan, nan)},
            {X(inf, nan), X(2, 3), X(inf, inf), X(nan, nan)},
            {X(1, 0), X(-inf, inf), X(-inf, inf), X(nan, nan)},
            {X(nan, -inf), X(0.5, -2), X(-inf, -inf), X(nan, nan)},
            {X(inf, 0), X(0, 0), X(nan, nan), X(nan, nan)},      // inf times 0 stays NaN
            {X(inf, 0), X(1, 0), X(inf, nan), X(inf, nan)},      // not NaN in both parts: kept
            {X(nan, big), X(big, big), X(-inf, inf), X(nan, nan)},  // overflow beside a NaN
            {X(nan, 0), X(1, 1), X(nan, nan), X(nan, nan)},
            {X(big, big), X(big, -big), X(inf, nan), X(inf, nan)},  // finite overflow: reported
        };
        auto mul = functions<qor_complex16>()[2], mul_conj = functions<qor_complex16>()[3];
        for (const auto& c : cases) {
            // The case sits in a block of ordinary elements; the result
            // overwrites a (in place), yet the recovery sees the arguments.
            for (int slot = 0; slot < 4; ++slot) {
                const X want = slot == kEP ? c.plain : c.recovered;
                auto a = random_complex<qor_complex16>(7, 3), b = random_complex<qor_complex16>(7, 4), b_conj = b;
                a[5] = {c.a.real(), c.a.imag()}, b[5] = {c.b.real(), c.b.imag()}, b_conj[5] = {c.b.real(), -c.b.imag()};
                auto a2 = a;
                mul.slots[slot](7, a.data(), b.data(), a.data());
                mul_conj.slots[slot](7, a2.data(), b_conj.data(), a2.data());
                EXPECT_TRUE(matches(a[5], want) && matches(a2[5], want)) << c.a << "*" << c.b << " slot " << slot;
                if (slot != kEP) {
                    EXPECT_TRUE(matches(a[5], c.a * c.b)) << "C disagrees for " << c.a << "*" << c.b;
                }
                qor_complex8 fa{float(c.a.real()), float(c.a.imag())}, fb{float(c.b.real()), float(c.b.imag())}, fr;
                if (c.a.imag() != big) {  // the same cases in single precision
                    functions<qor_complex8>()[2].strided[slot](1, &fa, 1, &fb, 1, &fr, 1);
                    EXPECT_TRUE(matches(fr, std::complex<float>(want))) << c.a << "*" << c.b << " c slot " << slot;
                }
            }
        }
        EXPECT_EQ(Reports::seen.size(), 3u * 2u);  // only the finite overflow, by LA and HA of both
    });
}

TEST(ComplexArithmetic, ConjFlipsOnlyTheImaginarySignBitAndRaisesNothing) {
    const uint64_t bits[] = {0, 1ull << 63, 1, 0x7FF0000000000000, 0x7FF0000000000001 /* signalling */,
                             0xFFF8000000012345, 0x3FF0000000000000, 0x0123456789ABCDEF};
    std::vector<qor_complex16> a(17);
    std::vector<qor_complex8> c(17);
    for (int i = 0; i < 17; ++i) {
        std::memcpy(&a[i].re, &bits[i % 8], 8), std::memcpy(&a[i].im, &bits[(3 * i + 1) % 8], 8);
        std::memcpy(&c[i], &bits[(5 * i) % 8], 8);  // the halves of a pattern: two floats
    }
    void (*z[])(int, const qor_complex16*, qor_complex16*) = {_lumzConj_50, _lumzConj, _lumzConj_26};
    void (*zi[])(int, const qor_complex16*, int, qor_complex16*, int) = {_lumzConjI_50, _lumzConjI, _lumzConjI_26};
    void (*cs[])(int, const qor_complex8*, qor_complex8*) = {_lumcConj_21, _lumcConj_HA, _lumcConj_11};
    void (*ci[])(int, const qor_complex8*, int, qor_complex8*, int) = {_lumcConjI_21, _lumcConjI_HA, _lumcConjI_11};
    for (int slot = 0; slot < 3; ++slot) {
        std::vector<qor_complex16> r(17), rs(34, sentinel<qor_complex16>());
        std::vector<qor_complex8> cr(17), crs(34, sentinel<qor_complex8>());
        std::feclearexcept(FE_ALL_EXCEPT);
        z[slot](17, a.data(), r.data());
        zi[slot](17, a.data(), 1, rs.data(), 2);
        cs[slot](17, c.data(), cr.data());
        ci[slot](17, c.data(), 1, crs.data(), 2);
        EXPECT_EQ(std::fetestexcept(FE_ALL_EXCEPT), 0);
        for (int i = 0; i < 17; ++i) {
            qor_complex16 want = a[i];
            qor_complex8 cwant = c[i];
            want.im = -want.im, cwant.im = -cwant.im;  // negation is a sign-bit flip
            EXPECT_TRUE(same_bits(r[i], want) && same_bits(rs[2 * i], want)) << i;
            EXPECT_TRUE(same_bits(cr[i], cwant) && same_bits(crs[2 * i], cwant)) << i;
            EXPECT_TRUE(same_bits(rs[2 * i + 1], sentinel<qor_complex16>()));
            EXPECT_TRUE(same_bits(crs[2 * i + 1], sentinel<qor_complex8>()));
        }
    }
}

TEST(ComplexReports, OverflowOfFiniteArgumentsReportsBothParts) {
    with_callback([] {
        check_every_position<qor_complex8>(_lumcAdd, "vcAdd", Second::Same, 19);
        check_every_position<qor_complex8>(_lumcSub_21, "vcSub", Second::Negated, 5);
        check_every_position<qor_complex8>(_lumcMul_21, "vcMul", Second::Two, 11);
        check_every_position<qor_complex8>(_lumcMulByConj, "vcMulByConj", Second::Two, 3);
        check_every_position<qor_complex16>(_lumzSub_50, "vzSub", Second::Negated, 3);
        check_every_position<qor_complex16>(_lumzAdd, "vzAdd", Second::Same, 9);
        check_every_position<qor_complex16>(_lumzMul, "vzMul", Second::Two, 6);
        check_every_position<qor_complex16>(_lumzMulByConj_50, "vzMulByConj", Second::Two, 5);
        // A part overflows although the other part of an argument is infinite.
        qor_complex16 a{DBL_MAX, INFINITY}, r;
        Reports::seen.clear();
        _lumzAddI(1, &a, 1, &a, 1, &r, 1);
        ASSERT_EQ(Reports::seen.size(), 1u);
        EXPECT_EQ(std::string(Reports::seen[0].name), "vzAddI");
        EXPECT_EQ(_lumGetErrStatus(), QOR_VM_STATUS_OVERFLOW);
    });
}

TEST(ComplexReports, StridedBasedAndReplacedResults) {
    with_callback([] {
        Reports::replace = true;
        std::vector<qor_complex16> storage(120, qor_complex16{1, 1}), b(10, qor_complex16{2, 0}), r(30);
        qor_complex16* a = storage.data() + 100;  // 100 elements past the base
        a[2 * 4] = {0x1p600, 0x1p600};
        b[4] = {0x1p600, -0x1p600};
        _lumSetInterfInputVectorPointer(storage.data());
        _lumzMulI(5, a, 2, b.data(), 1, r.data(), 3);
        ASSERT_EQ(Reports::seen.size(), 1u);
        EXPECT_EQ(Reports::seen[0].index, 104);
        EXPECT_EQ(std::string(Reports::seen[0].name), "vzMulI");
        EXPECT_EQ(Reports::seen[0].arg1_im, 0x1p600);
        EXPECT_EQ(Reports::seen[0].arg2_im, -0x1p600);
        EXPECT_TRUE(r[12].re == 7 && r[12].im == -7 && r[9].re == 2 && r[13].re == 0);
    });
}

TEST(ComplexReports, NonFiniteArgumentsAndEpNeverReport) {
    with_callback([] {
        const double inf = INFINITY, nan = NAN;
        const qor_complex16 specials[] = {{nan, 1}, {1, nan}, {inf, 0}, {inf, inf}, {-inf, nan}, {0, 0}};
        std::vector<qor_complex16> a, b, r(36);
        for (auto x : specials)
            for (auto y : specials) a.push_back(x), b.push_back(y);
        for (auto k : {_lumzMul, _lumzMul_50, _lumzMulByConj, _lumzAdd, _lumzSub}) k(36, a.data(), b.data(), r.data());
        _lumzConj(36, a.data(), r.data());
        // EP: finite overflow gives the plain result and no report.
        std::vector<qor_complex16> big(5, qor_complex16{DBL_MAX, DBL_MAX});
        for (auto k : {_lumzMul_26, _lumzAdd_26, _lumzSub_26, _lumzMulByConj_26}) k(5, big.data(), big.data(), r.data());
        std::vector<qor_complex8> fbig(5, qor_complex8{FLT_MAX, FLT_MAX}), fr(5);
        for (auto k : {_lumcMul_11, _lumcAdd_11}) k(5, fbig.data(), fbig.data(), fr.data());
        EXPECT_EQ(fr[4].re, INFINITY);
        EXPECT_TRUE(Reports::seen.empty());
        EXPECT_EQ(_lumGetErrStatus(), 0);
    });
}

TEST(ComplexProtocol, CallerControlsComeBackAndTheModeFlushesToZero) {
    std::thread([] {
        _lumSetMode(QOR_VM_ERRMODE_IGNORE);
        const uint32_t saved = _mm_getcsr(), caller = 0xFFC0;  // FTZ, DAZ, toward zero, all masked
        const qor_complex16 a[2] = {{0x1p-535, 0}, {0x1p600, 0}};
        qor_complex16 r[2];
        _mm_setcsr(caller);
        _lumzMul(2, a, a, r);
        const uint32_t after = _mm_getcsr();
        _mm_setcsr(saved);
        EXPECT_EQ(after & 0xFFC0u, caller);
        EXPECT_NE(after & 0x08u, 0u) << "overflow flag kept";
        EXPECT_EQ(r[0].re, 0x1p-1070);  // the kernel's own settings: subnormals kept,
        EXPECT_EQ(r[1].re, INFINITY);   // rounding to nearest

        _lumSetMode(QOR_VM_FTZDAZ_ON);
        const qor_complex16 b[2] = {{0x1p-535, 0}, {0x1p-1070, 0}}, d[2] = {{0x1p-535, 0}, {0x1p100, 0}};
        for (auto k : {_lumzMul, _lumzMul_26}) {
            k(2, b, d, r);
            EXPECT_TRUE(r[0].re == 0 && r[1].re == 0);  // subnormal result and argument flushed
        }
        qor_complex8 c = {0x1p-70f, 0}, cr;
        _lumcMul(1, &c, &c, &cr);
        EXPECT_EQ(cr.re, 0.0f);
        _lumSetMode(QOR_VM_FTZDAZ_OFF);
        _lumcMul(1, &c, &c, &cr);
        EXPECT_EQ(cr.re, 0x1p-140f);
    }).join();
}
