// Pack and Unpack in s, d, c and z, by increment, index and mask, in every
// slot: against naive element loops for both index widths, counts that
// write nothing, 32-bit reading of 64-bit arguments under width 1, the
// order of the unrolled tail, and signalling NaNs moved bit for bit without
// raising a flag.
#include <gtest/gtest.h>

#include <algorithm>
#include <cfenv>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <random>
#include <utility>
#include <vector>

#include "qor/qor_vm.h"

namespace {

template <class T>
struct Kernels {
    void (*pack_i[4])(int64_t, const T*, int64_t, T*, int);
    void (*pack_v[4])(int64_t, const T*, const void*, T*, int);
    void (*pack_m[4])(int64_t, const T*, const void*, T*, int);
    void (*unpack_i[4])(int64_t, const T*, T*, int64_t, int);
    void (*unpack_v[4])(int64_t, const T*, T*, const void*, int);
    void (*unpack_m[4])(int64_t, const T*, T*, const void*, int);
};

// Entry points per form: unsuffixed, _HA, LA, EP.
#define SLOTS(p, Fn, LA, EP) {_lum##p##Fn, _lum##p##Fn##_HA, _lum##p##Fn##LA, _lum##p##Fn##EP}
#define KERNELS(p, LA, EP)                                                                                 \
    {SLOTS(p, PackI, LA, EP), SLOTS(p, PackV, LA, EP), SLOTS(p, PackM, LA, EP), SLOTS(p, UnpackI, LA, EP), \
     SLOTS(p, UnpackV, LA, EP), SLOTS(p, UnpackM, LA, EP)}

template <class T> Kernels<T> kernels();
template <> Kernels<float> kernels() { return KERNELS(s, _21, _11); }
template <> Kernels<double> kernels() { return KERNELS(d, _50, _26); }
template <> Kernels<qor_complex8> kernels() { return KERNELS(c, _21, _11); }
template <> Kernels<qor_complex16> kernels() { return KERNELS(z, _50, _26); }

// Distinct bit patterns per element (many are NaNs, which must pass too).
template <class T>
std::vector<T> patterns(std::size_t n, uint32_t first) {
    std::vector<T> v(n);
    for (std::size_t i = 0; i < n; ++i) {
        auto* b = reinterpret_cast<unsigned char*>(&v[i]);
        for (std::size_t k = 0; k < sizeof(T); ++k) b[k] = static_cast<unsigned char>((first + i) * 131 + k * 29);
        const uint32_t tag = first + uint32_t(i);
        std::memcpy(b, &tag, 4);
    }
    return v;
}

template <class T>
bool same_bytes(const std::vector<T>& x, const std::vector<T>& y) {
    return x.size() == y.size() && std::memcmp(x.data(), y.data(), x.size() * sizeof(T)) == 0;
}

// Index or mask entries in the width's integer type.
struct Entries {
    bool narrow;
    std::vector<int32_t> i32;
    std::vector<int64_t> i64;
    explicit Entries(int width) : narrow(width == 1) {}
    void push(int64_t v) { narrow ? i32.push_back(int32_t(v)) : i64.push_back(v); }
    int64_t operator[](std::size_t i) const { return narrow ? i32[i] : i64[i]; }
    const void* data() const { return narrow ? static_cast<const void*>(i32.data()) : i64.data(); }
};

template <class T>
void check_against_naive_loops() {
    const Kernels<T> k = kernels<T>();
    std::mt19937 gen(2024);
    const T fill = patterns<T>(1, 0xFFFFFF)[0];
    for (int width : {1, 0, 7}) {  // 32-bit; 64-bit; any other value is 64-bit too
        for (int slot = 0; slot < 4; ++slot) {
            for (int n : {1, 2, 3, 5, 7, 8, 9, 12, 15, 16, 17, 33}) {
                SCOPED_TRACE(testing::Message() << "slot " << slot << " width " << width << " n " << n);
                for (int inc : {1, 2, 3, 0, -1, -3}) {  // forward, standing still, backward
                    const std::size_t span = std::size_t(n - 1) * std::abs(inc) + 1;
                    std::vector<T> a = patterns<T>(span, 1000), y(n + 2, fill), want = y;
                    const T* a0 = inc < 0 ? &a.back() : a.data();
                    for (int i = 0; i < n; ++i) want[i] = a0[std::ptrdiff_t(i) * inc];
                    k.pack_i[slot](n, a0, inc, y.data(), width);
                    EXPECT_TRUE(same_bytes(y, want)) << "PackI inc " << inc;
                    if (inc == 0) continue;
                    std::vector<T> dst(span + 2, fill), expect = dst;
                    for (int i = 0; i < n; ++i) (inc < 0 ? &expect[span - 1] : expect.data())[std::ptrdiff_t(i) * inc] = a[i];
                    k.unpack_i[slot](n, a.data(), inc < 0 ? &dst[span - 1] : dst.data(), inc, width);
                    EXPECT_TRUE(same_bytes(dst, expect)) << "UnpackI inc " << inc;
                }
                // Gathering may repeat indices; scattering uses a spread permutation.
                std::vector<T> a = patterns<T>(2 * n, 3000), y(n + 2, fill), want = y;
                std::vector<int> places(2 * n);
                for (int i = 0; i < 2 * n; ++i) places[i] = i;
                std::shuffle(places.begin(), places.end(), gen);
                Entries ia(width), iy(width), m(width);
                for (int i = 0; i < n; ++i) ia.push(gen() % (2 * n)), iy.push(places[i]);
                for (int i = 0; i < n; ++i) want[i] = a[ia[i]];
                k.pack_v[slot](n, a.data(), ia.data(), y.data(), width);
                EXPECT_TRUE(same_bytes(y, want)) << "PackV";
                std::vector<T> dst(2 * n, fill), expect = dst;
                for (int i = 0; i < n; ++i) expect[iy[i]] = a[i];
                k.unpack_v[slot](n, a.data(), dst.data(), iy.data(), width);
                EXPECT_TRUE(same_bytes(dst, expect)) << "UnpackV";
                // Any non-zero entry selects, also one whose low 32 bits are 0.
                const int64_t set[] = {1, -1, 77, m.narrow ? INT32_MIN : int64_t{1} << 32};
                for (int i = 0; i < n; ++i) m.push(gen() % 2 ? set[gen() % 4] : 0);
                y.assign(n + 2, fill), want = y;
                for (int i = 0, j = 0; i < n; ++i)
                    if (m[i]) want[j++] = a[i];
                k.pack_m[slot](n, a.data(), m.data(), y.data(), width);
                EXPECT_TRUE(same_bytes(y, want)) << "PackM";
                dst = patterns<T>(n + 1, 7000), expect = dst;  // unselected elements stay
                for (int i = 0, j = 0; i < n; ++i)
                    if (m[i]) expect[i] = a[j++];
                k.unpack_m[slot](n, a.data(), dst.data(), m.data(), width);
                EXPECT_TRUE(same_bytes(dst, expect)) << "UnpackM";
            }
        }
    }
}

// Calls every form in every slot with count n; whether anything was written.
template <class T>
bool any_written(int64_t n, int width) {
    const Kernels<T> k = kernels<T>();
    std::vector<T> a = patterns<T>(16, 1), y = patterns<T>(16, 500);
    const std::vector<T> before = y;
    const int64_t ones64[16] = {1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1};
    const int32_t ones32[16] = {1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1};
    const void* ones = width == 1 ? static_cast<const void*>(ones32) : ones64;
    for (int s = 0; s < 4; ++s) {
        k.pack_i[s](n, a.data(), 1, y.data(), width), k.pack_v[s](n, a.data(), ones, y.data(), width);
        k.pack_m[s](n, a.data(), ones, y.data(), width), k.unpack_i[s](n, a.data(), y.data(), 1, width);
        k.unpack_v[s](n, a.data(), y.data(), ones, width), k.unpack_m[s](n, a.data(), y.data(), ones, width);
    }
    return !same_bytes(y, before);
}

}  // namespace

TEST(PackUnpack, MatchNaiveLoops) {
    check_against_naive_loops<float>();
    check_against_naive_loops<double>();
    check_against_naive_loops<qor_complex8>();
    check_against_naive_loops<qor_complex16>();
}

TEST(PackUnpack, CountsBelowOneWriteNothing) {
    for (int64_t n : {int64_t{0}, int64_t{-1}, int64_t{-8}, INT64_MIN}) {
        EXPECT_FALSE(any_written<float>(n, 0) || any_written<double>(n, 1) || any_written<qor_complex8>(n, 3) ||
                     any_written<qor_complex16>(n, 0)) << n;
    }
    // Width 1 sees only the low 32 bits: 0, -1 and -16 here.
    for (int64_t n : {int64_t{0x700000000}, int64_t{0xFFFFFFFF}, int64_t{0x12345678FFFFFFF0}}) {
        EXPECT_FALSE(any_written<float>(n, 1) || any_written<qor_complex16>(n, 1)) << std::hex << n;
    }
    EXPECT_TRUE(any_written<double>(1, 0));
}

TEST(PackUnpack, WidthOneReadsLow32BitsOfCountAndIncrement) {
    std::vector<double> a(20), y(20, -1.0);
    for (int i = 0; i < 20; ++i) a[i] = i;
    _lumdPackI(int64_t{0x300000005}, a.data(), int64_t{0x7FFFFFFF00000003}, y.data(), 1);  // 5 at increment 3
    EXPECT_TRUE(y[0] == 0 && y[1] == 3 && y[4] == 12 && y[5] == -1);
    std::vector<float> s(8, -1.0f), src{10, 11, 12, 13};
    _lumsUnpackI(int64_t{0x100000004}, src.data(), s.data(), int64_t{0xABCD00000002}, 1);  // 4 at increment 2
    EXPECT_TRUE(s[0] == 10 && s[1] == -1 && s[2] == 11 && s[6] == 13 && s[7] == -1);
}

TEST(PackUnpack, MaskOfNoneWritesNothingAndOfAllCopiesWhole) {
    std::vector<qor_complex16> a = patterns<qor_complex16>(13, 1), y = patterns<qor_complex16>(13, 100);
    const std::vector<qor_complex16> before = y;
    std::vector<int64_t> none(13, 0), all(13, -1);
    _lumzPackM(13, a.data(), none.data(), y.data(), 0);
    _lumzUnpackM_26(13, a.data(), y.data(), none.data(), 0);
    EXPECT_TRUE(same_bytes(y, before));
    _lumzPackM_50(13, a.data(), all.data(), y.data(), 0);
    EXPECT_TRUE(same_bytes(y, a));
    std::vector<float> fa = patterns<float>(9, 7), fy(9);
    std::vector<int32_t> all32(9, 1 << 30);
    _lumsUnpackM(9, fa.data(), fy.data(), all32.data(), 1);
    EXPECT_TRUE(same_bytes(fy, fa));
}

TEST(PackUnpack, TailIsStoredFromTheHighestElementDown) {
    // Every element lands on one place, so the last store stays: blocks of
    // eight go in order, then the remaining 1 to 7 from the highest down.
    std::vector<double> a{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14};
    const std::vector<int32_t> zeros(15, 0);
    const std::pair<int, double> cases[] = {{3, 0}, {7, 0}, {10, 8}, {15, 8}};
    for (auto [n, stays] : cases) {
        double y = -1, z = -1;
        _lumdUnpackI(n, a.data(), &y, 0, 0);
        _lumdUnpackV(n, a.data(), &z, zeros.data(), 1);
        EXPECT_TRUE(y == stays && z == stays) << n;
    }
}

TEST(PackUnpack, SignallingNanMovesBitForBitWithoutFlags) {
    const uint32_t snan32[2] = {0x7F800001u, 0xFFA00005u};
    const uint64_t snan64[2] = {0x7FF0000000000001ull, 0xFFF4000000000ABCull};
    float s[9], s2[9], s3[9];
    double d[9], d2[9], d3[9];
    qor_complex8 c[9], c2[9], c3[9];
    qor_complex16 z[9], z2[9], z3[9];
    for (int i = 0; i < 9; ++i) {
        std::memcpy(&s[i], &snan32[i % 2], 4), std::memcpy(&d[i], &snan64[i % 2], 8);
        std::memcpy(&c[i], snan32, 8), std::memcpy(&z[i], snan64, 16);
    }
    const int32_t reverse[9] = {8, 7, 6, 5, 4, 3, 2, 1, 0}, all[9] = {1, 1, 1, 1, 1, 1, 1, 1, 1};
    std::feclearexcept(FE_ALL_EXCEPT);
    _lumsPackV(9, s, reverse, s2, 1), _lumsUnpackM(9, s2, s3, all, 1);
    _lumdPackI(9, d, 1, d2, 1), _lumdUnpackV(9, d2, d3, reverse, 1);
    _lumcPackM(9, c, all, c2, 1), _lumcUnpackI(9, c2, c3, 1, 1);
    _lumzPackV(9, z, reverse, z2, 1), _lumzUnpackM(9, z2, z3, all, 1);
    EXPECT_EQ(std::fetestexcept(FE_ALL_EXCEPT), 0);
    for (int i = 0; i < 9; ++i) {
        EXPECT_EQ(std::memcmp(&s3[i], &s[8 - i], 4), 0) << i;
        EXPECT_EQ(std::memcmp(&d3[8 - i], &d[i], 8), 0) << i;
        EXPECT_EQ(std::memcmp(&c3[i], &c[i], 8), 0) << i;
        EXPECT_EQ(std::memcmp(&z3[i], &z[8 - i], 16), 0) << i;
    }
}
