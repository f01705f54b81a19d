// The ARS block function against every published Random123 answer for
// ARS-4x32 (7 and 10 rounds, the only round counts published): the same
// key schedule and rounds with 5 rounds make the ARS5 generator, whose
// stream must hand out exactly these blocks.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>

#include "qor/qor_rng.h"
#include "rng/brng/ars_rounds.h"

namespace {

TEST(ArsRounds, PublishedKnownAnswersAndTheFiveRoundStream) {
    if (!__rixCPUisAES()) GTEST_SKIP() << "no AES instructions";
    int checked[11] = {};
    for (const char* file : {"/random123_kat_vectors_philox4x32_10_ars4x32.txt",
                             "/random123_old_kat_vectors_philox4x32_10_ars4x32.txt"}) {
        std::ifstream in(std::string(QOR_TEST_VECTORS_DIR) + file);
        ASSERT_TRUE(in) << file;
        for (std::string line; std::getline(in, line);) {
            std::istringstream words(line);
            std::string name;
            int rounds = 0;
            if (!(words >> name >> rounds) || name != "ars4x32") continue;
            uint32_t v[12], got[4];
            for (auto& w : v) ASSERT_TRUE(words >> std::hex >> w) << line;
            qor::rng::ars_block(rounds, v, v + 4, got);
            for (int j = 0; j < 4; ++j) ASSERT_EQ(got[j], v[8 + j]) << line;
            ++checked[rounds];
        }
    }
    EXPECT_EQ(checked[7], 2254);
    EXPECT_EQ(checked[10], 2254 + 3);
    // The stream: key words, then counter words; blocks of counters c, c + 1.
    const uint32_t seed[8] = {0x243f6a88, 0x85a308d3, 0x13198a2e, 0x03707344, 0xFFFFFFFF, 0xFFFFFFFF, 5, 6};
    qor_rng_stream* s = nullptr;
    ASSERT_EQ(__rixNewStreamEx(&s, QOR_RNG_BRNG_ARS5, 8, seed), 0);
    uint32_t out[8], expected[8];
    ASSERT_EQ(__rixiBRngARS5(s, 8, out), 0);
    const uint32_t next[4] = {0, 0, 6, 6};
    qor::rng::ars_block(5, seed + 4, seed, expected);
    qor::rng::ars_block(5, next, seed, expected + 4);
    for (int j = 0; j < 8; ++j) EXPECT_EQ(out[j], expected[j]) << j;
    __rixDeleteStream(&s);
}

}  // namespace
