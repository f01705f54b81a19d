// Philox4x32-10 and the ARS block function against every published
// Random123 answer (ARS-4x32 at 7 and 10 rounds, the only counts
// published; the same rounds at 5 make ARS5, whose stream must hand out
// exactly those blocks), and the Philox vector group against the
// one-block path across counter carries.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "qor/qor_rng.h"
#include "rng/brng/ars_rounds.h"
#include "rng/brng/philox_rounds.h"

namespace {

// The first n outputs of a stream seeded with the given words.
std::vector<uint32_t> outputs(int32_t brng, std::vector<uint32_t> seed, int32_t n) {
    qor_rng_stream* s = nullptr;
    EXPECT_EQ(__rixNewStreamEx(&s, brng, int32_t(seed.size()), seed.data()), 0);
    qor_rng_brng_properties p;
    __rixGetBrngProperties(brng, &p);
    std::vector<uint32_t> r(size_t(n), 0);
    EXPECT_EQ(p.fill_int(s, n, r.data()), 0);
    __rixDeleteStream(&s);
    return r;
}

TEST(CounterBlocks, PublishedKnownAnswers) {
    const bool aes = __rixCPUisAES() == 1;
    int ars[11] = {}, philox = 0;
    for (const char* file : {"/random123_kat_vectors_philox4x32_10_ars4x32.txt",
                             "/random123_old_kat_vectors_philox4x32_10_ars4x32.txt"}) {
        std::ifstream in(std::string(QOR_TEST_VECTORS_DIR) + file);
        ASSERT_TRUE(in) << file;
        for (std::string line; std::getline(in, line);) {
            std::istringstream words(line);
            std::string name;
            int rounds = 0;
            if (!(words >> name >> rounds) || line[0] == '#') continue;
            std::vector<uint32_t> v;
            for (uint32_t w; words >> std::hex >> w;) v.push_back(w);
            const std::vector<uint32_t> expected(v.end() - 4, v.end());
            if (name == "philox4x32" && rounds == 10 && v.size() == 10) {
                // Stream seed: the key, then the counter.
                EXPECT_EQ(outputs(QOR_RNG_BRNG_PHILOX4X32X10, {v[4], v[5], v[0], v[1], v[2], v[3]}, 4), expected) << line;
                ++philox;
            } else if (name == "ars4x32" && v.size() == 12 && aes) {
                uint32_t got[4];
                qor::rng::ars_block(rounds, v.data(), v.data() + 4, got);
                EXPECT_EQ(std::vector<uint32_t>(got, got + 4), expected) << line;
                ++ars[rounds];
            }
        }
    }
    EXPECT_EQ(philox, 3 + 52);
    if (!aes) GTEST_SKIP() << "no AES instructions: ARS not checked";
    EXPECT_EQ(ars[7], 2254);
    EXPECT_EQ(ars[10], 2254 + 3);
    // ARS5: key words, then counter words; blocks of counters c, c + 1.
    const std::vector<uint32_t> seed = {0x243f6a88, 0x85a308d3, 0x13198a2e, 0x03707344, ~0u, ~0u, 5, 6};
    const uint32_t next[4] = {0, 0, 6, 6};
    std::vector<uint32_t> expected(8);
    qor::rng::ars_block(5, seed.data() + 4, seed.data(), expected.data());
    qor::rng::ars_block(5, next, seed.data(), expected.data() + 4);
    EXPECT_EQ(outputs(QOR_RNG_BRNG_ARS5, seed, 8), expected);
}

TEST(CounterBlocks, BothPhiloxGroupFormsEqualOneBlockAtATime) {
    const uint32_t key[2] = {0xA4093822, 0x299F31D0};
    const uint32_t starts[][4] = {{0, 0, 0, 0}, {0xFFFFFFFB, 1, 2, 3}, {0xFFFFFFFE, ~0u, 7, ~0u}};
    for (const auto& start : starts) {
        std::vector<uint32_t> expected;
        unsigned __int128 c = 0;
        for (int w = 3; w >= 0; --w) c = (c << 32) | start[w];
        for (int b = 0; b < qor::rng::kPhiloxGroupBlocks; ++b, ++c) {
            const auto block = outputs(QOR_RNG_BRNG_PHILOX4X32X10,
                                       {key[0], key[1], uint32_t(c), uint32_t(c >> 32), uint32_t(c >> 64), uint32_t(c >> 96)}, 4);
            expected.insert(expected.end(), block.begin(), block.end());
        }
        std::vector<uint32_t> got(expected.size());
        qor::rng::philox_group(key, start, got.data());
        EXPECT_EQ(got, expected) << "start " << start[0];
    }
}

}  // namespace
