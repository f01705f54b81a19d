// MRG32k3a against L'Ecuyer's published RngStreams test output (states,
// outputs and sums of streams 2^127 apart), against a plain reference
// recurrence across every blocking boundary, and its skip-ahead against
// matrix powers formed bit by bit in 128-bit arithmetic.
#include <algorithm>
#include <array>
#include <cstring>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>

#include "rng_test_support.h"

using namespace rng_test;

namespace {

constexpr uint64_t kM1 = 4294967087u, kM2 = 4294944443u;
using State = std::array<uint32_t, 6>;
using Matrix = std::array<uint64_t, 9>;

State state(const qor_rng_stream* s) {
    State r;
    std::memcpy(r.data(), reinterpret_cast<const char*>(s) + 16, sizeof r);
    return r;
}

std::vector<uint32_t> ints(qor_rng_stream* s, int32_t n) {
    std::vector<uint32_t> r(static_cast<size_t>(n) + 1, 0xDEADBEEF);
    EXPECT_EQ(__rixiBRngMRG32K3A(s, n, r.data()), 0);
    EXPECT_EQ(r.back(), 0xDEADBEEF) << "wrote past " << n;
    r.pop_back();
    return r;
}

// The recurrence as written, one value at a time, in 64-bit arithmetic with
// the subtracted terms as m - a.
struct Reference {
    State x;
    uint32_t next() {
        const uint64_t p1 = (1403580 * uint64_t{x[1]} + (kM1 - 810728) * uint64_t{x[0]}) % kM1;
        const uint64_t p2 = (527612 * uint64_t{x[5]} + (kM2 - 1370589) * uint64_t{x[3]}) % kM2;
        x = {x[1], x[2], static_cast<uint32_t>(p1), x[4], x[5], static_cast<uint32_t>(p2)};
        return static_cast<uint32_t>((p1 + kM1 - p2) % kM1);
    }
};

// A^e mod m by squaring, bit by bit over 64-bit words, least significant
// word first.
Matrix mat_mul(const Matrix& a, const Matrix& b, uint64_t m) {
    Matrix r{};
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) {
            unsigned __int128 s = 0;
            for (int k = 0; k < 3; ++k) s += static_cast<unsigned __int128>(a[3 * i + k]) * b[3 * k + j];
            r[3 * i + j] = static_cast<uint64_t>(s % m);
        }
    return r;
}

Matrix mat_pow(Matrix a, const std::vector<uint64_t>& words, uint64_t m) {
    Matrix r = {1, 0, 0, 0, 1, 0, 0, 0, 1};
    for (uint64_t w : words)
        for (int bit = 0; bit < 64; ++bit) {
            if ((w >> bit) & 1) r = mat_mul(r, a, m);
            a = mat_mul(a, a, m);
        }
    return r;
}

const Matrix kA1 = {0, 1, 0, 0, 0, 1, kM1 - 810728, 1403580, 0};
const Matrix kA2 = {0, 1, 0, 0, 0, 1, kM2 - 1370589, 0, 527612};

// The state after skipping `words` steps, the slow way.
State skipped(const State& x, const std::vector<uint64_t>& words) {
    const Matrix p1 = mat_pow(kA1, words, kM1), p2 = mat_pow(kA2, words, kM2);
    State r;
    for (int i = 0; i < 3; ++i) {
        unsigned __int128 s1 = 0, s2 = 0;
        for (int k = 0; k < 3; ++k) {
            s1 += static_cast<unsigned __int128>(p1[3 * i + k]) * x[k];
            s2 += static_cast<unsigned __int128>(p2[3 * i + k]) * x[3 + k];
        }
        r[i] = static_cast<uint32_t>(s1 % kM1);
        r[3 + i] = static_cast<uint32_t>(s2 % kM2);
    }
    return r;
}

Stream seeded(const State& x) { return make_stream(QOR_RNG_BRNG_MRG32K3A, std::vector<uint32_t>(x.begin(), x.end())); }

int32_t skip_words(qor_rng_stream* s, const std::vector<uint64_t>& words) {
    return __rixSkipAheadStreamEx(s, static_cast<int32_t>(words.size()), words.data());
}

// RngStreams' uniform: the output k in [0, m1) taken as k, or m1 for 0,
// times 1 / (m1 + 1).
double rngstreams_u01(uint32_t k) { return (k == 0 ? double(kM1) : double(k)) * (1.0 / (kM1 + 1.0)); }

// The published test output, read as text.
struct Published {
    std::vector<State> states;              // every "Cg = { ... }" in order
    std::vector<double> g3_first, g3_sub4;  // first 5 outputs of g3 and of its 4th substream
    double g1_u36 = 0, g3_sum_2_101 = 0;
};

Published published() {
    std::ifstream in(QOR_TEST_VECTORS_DIR "/MRG32k3a_test2RngStream.res");
    EXPECT_TRUE(in) << "reference file missing";
    Published p;
    std::string line;
    std::vector<double>* list = nullptr;
    const std::regex cg(R"(Cg = \{ (\d+), (\d+), (\d+), (\d+), (\d+), (\d+) \})");
    while (std::getline(in, line)) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        std::smatch m;
        if (std::regex_search(line, m, cg)) {
            State s;
            for (int i = 0; i < 6; ++i) s[i] = static_cast<uint32_t>(std::stoul(m[i + 1]));
            p.states.push_back(s);
        } else if (list && !line.empty() && list->size() < 5) {
            list->push_back(std::stod(line));
        } else if (line.starts_with("First 5 output values from stream g3:")) {
            list = &p.g3_first;
        } else if (line.starts_with("First 5 output values from stream g3, fourth SubStream:")) {
            list = &p.g3_sub4;
        } else if (line.starts_with("g1.RandU01 () = ") && p.g1_u36 == 0) {
            p.g1_u36 = std::stod(line.substr(16));
        } else if (line.starts_with("   sum = ")) {
            p.g3_sum_2_101 = std::stod(line.substr(9));
        }
    }
    EXPECT_EQ(p.states.size(), 15u);
    return p;
}

constexpr uint64_t kBit63 = uint64_t{1} << 63;

}  // namespace

TEST(Mrg32k3a, ReproducesLecuyersPublishedStreams) {
    const Published p = published();
    ASSERT_EQ(p.states.size(), 15u);
    const State seed = p.states[0];
    EXPECT_EQ(seed, (State{12345, 12345, 12345, 12345, 12345, 12345}));
    // Streams 2^127 apart: g2 and g3 from the 12345 seed; from the all-one
    // seed the 2nd, 3rd and 4th streams (states 11 to 13).
    const std::pair<State, std::vector<uint64_t>> jumps[] = {
        {seed, {0, kBit63}}, {seed, {0, 0, 1}}, {p.states[10], {0, kBit63}},
        {p.states[10], {0, 0, 1}}, {p.states[10], {0, kBit63, 1}}};
    const State want[] = {p.states[1], p.states[2], p.states[11], p.states[12], p.states[13]};
    for (size_t j = 0; j < std::size(jumps); ++j) {
        Stream s = seeded(jumps[j].first);
        ASSERT_EQ(skip_words(s.get(), jumps[j].second), 0);
        EXPECT_EQ(state(s.get()), want[j]) << j;
    }
    // g1 after 35 steps, by skipping and by drawing; then its 36th output.
    Stream skip35 = seeded(seed), draw35 = seeded(seed);
    ASSERT_EQ(__rixSkipAheadStream(skip35.get(), 35), 0);
    ints(draw35.get(), 35);
    EXPECT_EQ(state(skip35.get()), p.states[3]);
    EXPECT_EQ(state(draw35.get()), p.states[3]);
    EXPECT_NEAR(rngstreams_u01(ints(skip35.get(), 1)[0]), p.g1_u36, 1e-14);
    // g3's first outputs, its 4th substream (4 * 2^76 further) and the sum
    // of its outputs 2 to 101.
    Stream g3 = seeded(p.states[2]), sub4 = seeded(p.states[2]);
    ASSERT_EQ(skip_words(sub4.get(), {0, uint64_t{1} << 14}), 0);
    const auto first = ints(g3.get(), 101), sub = ints(sub4.get(), 5);
    ASSERT_EQ(p.g3_first.size(), 5u);
    ASSERT_EQ(p.g3_sub4.size(), 5u);
    for (int i = 0; i < 5; ++i) {
        EXPECT_NEAR(rngstreams_u01(first[i]), p.g3_first[i], 1e-12 * p.g3_first[i]) << i;
        EXPECT_NEAR(rngstreams_u01(sub[i]), p.g3_sub4[i], 1e-12 * p.g3_sub4[i]) << i;
    }
    double sum = 0;
    for (int i = 1; i < 101; ++i) sum += rngstreams_u01(first[i]);
    EXPECT_NEAR(sum, p.g3_sum_2_101, 1e-12 * sum);
}

TEST(Mrg32k3a, SeedingReducesAndAvoidsTheZeroState) {
    const uint32_t m1 = kM1, m2 = kM2;
    EXPECT_EQ(state(make_stream(QOR_RNG_BRNG_MRG32K3A, {}).get()), (State{1, 1, 1, 1, 1, 1}));
    EXPECT_EQ(state(make_stream(QOR_RNG_BRNG_MRG32K3A, {m1, 0, 0, m2, 0, 0}).get()), (State{1, 0, 0, 1, 0, 0}));
    EXPECT_EQ(state(make_stream(QOR_RNG_BRNG_MRG32K3A, {0xFFFFFFFF, m1 - 1, 5, 0xFFFFFFFF, m2 - 1, 0, 9}).get()),
              (State{208, m1 - 1, 5, 22852, m2 - 1, 0}));
    EXPECT_EQ(state(make_stream(QOR_RNG_BRNG_MRG32K3A, {7, 8}).get()), (State{7, 8, 1, 1, 1, 1}));
}

TEST(Mrg32k3a, FillsFollowTheRecurrenceAcrossBlocksAndSplits) {
    const State x = {4000000000u, 17, 3000000000u, 4294944000u, 0, 123456789};
    for (int32_t n : {1, 15, 16, 17, 31, 32, 33, 47, 48, 49, 63, 64, 1000, 4099}) {
        Stream si = seeded(x), sd = seeded(x), sf = seeded(x);
        Reference ref{x};
        std::vector<double> d(static_cast<size_t>(n));
        std::vector<float> f(static_cast<size_t>(n));
        const auto got = ints(si.get(), n);
        ASSERT_EQ(__rixdBRngMRG32K3A(sd.get(), n, d.data(), -2.0, 5.5), 0);
        ASSERT_EQ(__rixsBRngMRG32K3A(sf.get(), n, f.data(), 1.0f, 3.0f), 0);
        const double c = 1.0 / kM1;
        for (int32_t i = 0; i < n; ++i) {
            const uint32_t want = ref.next();
            ASSERT_EQ(got[i], want) << "n " << n << " i " << i;
            ASSERT_EQ(d[i], want * (7.5 * c) + -2.0) << "n " << n << " i " << i;
            ASSERT_EQ(f[i], static_cast<float>(want * (2.0 * c) + 1.0)) << "n " << n << " i " << i;
        }
        EXPECT_EQ(state(si.get()), ref.x) << n;
        EXPECT_EQ(state(sd.get()), ref.x) << n;
        EXPECT_EQ(state(sf.get()), ref.x) << n;
    }
    // Pieces of odd sizes give one fill's sequence.
    Stream whole = seeded(x), pieces = seeded(x);
    const auto all = ints(whole.get(), 1100);
    std::vector<uint32_t> joined;
    for (int32_t n : {1, 7, 16, 17, 33, 64, 962}) {
        const auto part = ints(pieces.get(), n);
        joined.insert(joined.end(), part.begin(), part.end());
    }
    EXPECT_EQ(joined, all);
    uint32_t w = 7;
    EXPECT_EQ(__rixiBRngMRG32K3A(pieces.get(), 0, &w), 0);
    EXPECT_EQ(__rixiBRngMRG32K3A(pieces.get(), -5, &w), 0);
    EXPECT_EQ(w, 7u);
    EXPECT_EQ(state(pieces.get()), state(whole.get()));
}

TEST(Mrg32k3a, SkipAheadMatchesStepsAndSlowMatrixPowers) {
    const State x = {1, 2, 3, 4, 5, 6};
    // Short skips: skipping s then drawing one gives the (s + 1)-th output.
    Stream drawn = seeded(x);
    const auto all = ints(drawn.get(), 70000);
    for (uint64_t s : {0, 1, 2, 3, 15, 16, 17, 255, 256, 4096, 65535, 65536, 69999}) {
        Stream one = seeded(x), multi = seeded(x);
        ASSERT_EQ(__rixSkipAheadStream(one.get(), s), 0);
        ASSERT_EQ(skip_words(multi.get(), {s}), 0);
        EXPECT_EQ(ints(one.get(), 1)[0], all[s]) << s;
        EXPECT_EQ(ints(multi.get(), 1)[0], all[s]) << s;
    }
    // Around every bit position, where the tables change digit: the
    // single-word skip, the table path with one to five words, and the
    // general path (a fourth word) against the slow power.
    for (int b = 0; b < 192; ++b) {
        for (int d : {-1, 0, 1}) {
            std::vector<uint64_t> w(3, 0);
            w[b / 64] = uint64_t{1} << (b % 64);
            if (d == 1) w[0] += 1;  // no carry: bit 0 is clear unless b is 0
            if (d == -1) {          // 2^b - 1
                w = std::vector<uint64_t>(3, 0);
                for (int i = 0; i < b; ++i) w[i / 64] |= uint64_t{1} << (i % 64);
            }
            SCOPED_TRACE(testing::Message() << "2^" << b << " + " << d);
            const State want = skipped(x, w);
            Stream table = seeded(x), padded = seeded(x);
            ASSERT_EQ(skip_words(table.get(), w), 0);
            EXPECT_EQ(state(table.get()), want);
            ASSERT_EQ(skip_words(padded.get(), {w[0], w[1], w[2], 0, 0}), 0);
            EXPECT_EQ(state(padded.get()), want);
            if (w[1] == 0 && w[2] == 0) {
                Stream single = seeded(x);
                ASSERT_EQ(__rixSkipAheadStream(single.get(), w[0]), 0);
                EXPECT_EQ(state(single.get()), want);
            }
        }
    }
    const std::vector<uint64_t> huge = {0x0123456789ABCDEF, 0xFEDCBA9876543210, 0x0F0F0F0F0F0F0F0F, 3, 0, 1};
    Stream general = seeded(x);
    ASSERT_EQ(skip_words(general.get(), huge), 0);
    EXPECT_EQ(state(general.get()), skipped(x, huge));
    // A skip of no words leaves the stream as it was.
    Stream none = seeded(x);
    ASSERT_EQ(__rixSkipAheadStreamEx(none.get(), 0, nullptr), 0);
    EXPECT_EQ(state(none.get()), x);
}

TEST(Mrg32k3a, MatrixPowerExportsAgreeWithTheSlowPower) {
    const uint32_t a[9] = {5, 4000000000u, 7, 1, 0, 99, 123456789, 2, 3};
    Matrix am;
    std::copy(a, a + 9, am.begin());
    for (uint32_t m : {65521u, 4294967291u}) {
        Matrix reduced = am;
        for (auto& v : reduced) v %= m;
        for (uint64_t e : {uint64_t{0}, uint64_t{1}, uint64_t{1000003}, ~uint64_t{0}}) {
            uint32_t r[9], r_words[9];
            __rixiVect3PowMod(r, a, e, m);
            const uint64_t words[2] = {e, 5};
            __rixiVect3PowArrayMod(r_words, a, words, 2, m);
            const Matrix want = mat_pow(reduced, {e}, m), want_words = mat_pow(reduced, {e, 5}, m);
            for (int i = 0; i < 9; ++i) {
                EXPECT_EQ(r[i], want[i]) << m << " " << e << " " << i;
                EXPECT_EQ(r_words[i], want_words[i]) << m << " " << e << " " << i;
            }
        }
    }
    const uint64_t e[3] = {0x8000000000000001, 0x1234, 0xFFFFFFFFFFFFFFFF};
    uint32_t r1[9], r2[9];
    __rixiVect3PowArrayMod_M1(r1, e, 3);
    __rixiVect3PowArrayMod_M2(r2, e, 3);
    const Matrix w1 = mat_pow(kA1, {e[0], e[1], e[2]}, kM1), w2 = mat_pow(kA2, {e[0], e[1], e[2]}, kM2);
    for (int i = 0; i < 9; ++i) {
        EXPECT_EQ(r1[i], w1[i]);
        EXPECT_EQ(r2[i], w2[i]);
    }
}

TEST(Mrg32k3a, RefusesLeapfrogAndUnknownMethods) {
    Stream s = make_stream(QOR_RNG_BRNG_MRG32K3A, {42});
    const State before = state(s.get());
    EXPECT_EQ(__rixLeapfrogStream(s.get(), 0, 1), QOR_RNG_STATUS_NO_LEAPFROG);
    EXPECT_EQ(__rixBRngMRG32K3AInitStream(4, s.get(), 0, nullptr), QOR_RNG_STATUS_BAD_METHOD);
    EXPECT_EQ(__rixBRngMRG32K3AInitStream(2, s.get(), 2, nullptr), QOR_RNG_STATUS_BAD_ARGUMENT);
    EXPECT_EQ(__rixBRngMRG32K3AInitStream(3, s.get(), 1, nullptr), QOR_RNG_STATUS_BAD_ARGUMENT);
    EXPECT_EQ(state(s.get()), before);
}

TEST(Mrg32k3a, CopiesAndSavedImagesContinueTheStream) {
    Stream s = make_stream(QOR_RNG_BRNG_MRG32K3A, {1, 2, 3, 4, 5, 6});
    ints(s.get(), 77);
    Stream copy = copy_of(s);
    Stream other = make_stream(QOR_RNG_BRNG_MRG32K3A, {9});
    ASSERT_EQ(__rixCopyStreamState(other.get(), s.get()), 0);
    std::vector<char> image(static_cast<size_t>(__rixGetStreamSize(s.get())));
    ASSERT_EQ(image.size(), 40u + 8u);
    ASSERT_EQ(__rixSaveStreamM(s.get(), image.data()), 0);
    qor_rng_stream* raw = nullptr;
    ASSERT_EQ(__rixLoadStreamM(&raw, image.data()), 0);
    Stream loaded(raw);
    const auto want = ints(s.get(), 1000);
    EXPECT_EQ(ints(copy.get(), 1000), want);
    EXPECT_EQ(ints(other.get(), 1000), want);
    EXPECT_EQ(ints(loaded.get(), 1000), want);
}
