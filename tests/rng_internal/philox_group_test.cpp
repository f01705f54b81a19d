// Both forms of the Philox4x32-10 vector group (128-bit registers, and
// 256-bit ones where the processor has AVX2) against the stream's one-block
// path, across carries out of the counter's low word and low 64 bits.
#include <gtest/gtest.h>

#include <vector>

#include "qor/qor_rng.h"
#include "rng/brng/philox_rounds.h"

namespace {

TEST(PhiloxGroup, BothFormsEqualOneBlockAtATime) {
    const uint32_t key[2] = {0xA4093822, 0x299F31D0};
    const uint32_t starts[][4] = {{0, 0, 0, 0}, {0xFFFFFFFB, 1, 2, 3}, {0xFFFFFFFE, 0xFFFFFFFF, 7, 0xFFFFFFFF}};
    for (const auto& start : starts) {
        std::vector<uint32_t> expected;
        for (uint32_t b = 0; b < qor::rng::kPhiloxGroupBlocks; ++b) {
            unsigned __int128 c = 0;
            for (int w = 3; w >= 0; --w) c = (c << 32) | start[w];
            c += b;
            const uint32_t seed[6] = {key[0], key[1], uint32_t(c), uint32_t(c >> 32), uint32_t(c >> 64), uint32_t(c >> 96)};
            qor_rng_stream* s = nullptr;
            ASSERT_EQ(__rixNewStreamEx(&s, QOR_RNG_BRNG_PHILOX4X32X10, 6, seed), 0);
            uint32_t block[4];
            __rixiBRngPHILOX4X32X10(s, 4, block);
            expected.insert(expected.end(), block, block + 4);
            __rixDeleteStream(&s);
        }
        for (bool wide : {false, true}) {
            std::vector<uint32_t> got(expected.size());
            qor::rng::philox_group(key, start, wide, got.data());
            EXPECT_EQ(got, expected) << "wide " << wide << " start " << start[0];
        }
    }
}

}  // namespace
