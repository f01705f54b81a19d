// rng_to_stdout: writes a generator's output to standard output as raw
// 32-bit words (little-endian), without end, for batteries that read a
// byte stream (dieharder -g 200).
//   rng_to_stdout --list        the pseudo-random generators this build
//                               makes: one "name identifier" per line
//   rng_to_stdout NAME [SEED]   the words of NAME seeded with SEED (default
//                               20261124); NAME is a name from --list, or
//                               std_mt19937, the standard library's twister,
//                               the battery's control
// Each generator gives its uniform 32-bit words (UniformBits32: the top
// significant bits of its words, concatenated), so generators of 31 or 59
// bits are measured on the bits they promise.  The quasi-random rows
// (Sobol, Niederr) and the non-deterministic one are not pseudo-random and
// are not listed; of a family, member 0 stands for the rest.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#endif

#include "qor/qor.h"

namespace {

struct Row {
    const char* name;
    int brng;
    bool pseudo_random;
};

// The built-in rows in registry order.
constexpr Row kRows[] = {
    {"mcg31m1", QOR_RNG_BRNG_MCG31M1, true},
    {"r250", QOR_RNG_BRNG_R250, true},
    {"mrg32k3a", QOR_RNG_BRNG_MRG32K3A, true},
    {"mcg59", QOR_RNG_BRNG_MCG59, true},
    {"wh", QOR_RNG_BRNG_WH, true},
    {"sobol", QOR_RNG_BRNG_SOBOL, false},
    {"niederr", QOR_RNG_BRNG_NIEDERR, false},
    {"mt19937", QOR_RNG_BRNG_MT19937, true},
    {"mt2203", QOR_RNG_BRNG_MT2203, true},
    {"iabstract", QOR_RNG_BRNG_IABSTRACT, false},
    {"dabstract", QOR_RNG_BRNG_DABSTRACT, false},
    {"sabstract", QOR_RNG_BRNG_SABSTRACT, false},
    {"sfmt19937", QOR_RNG_BRNG_SFMT19937, true},
    {"nondeterm", QOR_RNG_BRNG_NONDETERM, false},
    {"ars5", QOR_RNG_BRNG_ARS5, true},
    {"philox4x32x10", QOR_RNG_BRNG_PHILOX4X32X10, true},
};

constexpr uint32_t kDefaultSeed = 20261124;
constexpr size_t kBlockWords = 1 << 14;

// Rows of the registry whose streams can be made here: creation refuses
// (QOR_RNG_STATUS_BAD_BRNG) the generators a build does not provide.
bool available(const Row& row) {
    qor_rng_stream* s = nullptr;
    const int status = qor_rng_new_stream(&s, row.brng, kDefaultSeed);
    if (s) qor_rng_delete_stream(&s);
    return status == QOR_RNG_STATUS_OK;
}

const Row* find(const char* name) {
    for (const Row& row : kRows)
        if (std::strcmp(row.name, name) == 0) return &row;
    return nullptr;
}

int write_forever(qor_rng_stream* s) {
    std::vector<uint32_t> block(kBlockWords);
    for (;;) {
        const int status = qor_viRngUniformBits32(0, s, static_cast<int64_t>(block.size()), block.data());
        if (status != QOR_RNG_STATUS_OK) {
            std::fprintf(stderr, "rng_to_stdout: generator status %d\n", status);
            return 1;
        }
        if (std::fwrite(block.data(), sizeof(uint32_t), block.size(), stdout) != block.size()) return 0;
    }
}

int write_std_mt19937(uint32_t seed) {
    std::mt19937 g(seed);
    std::vector<uint32_t> block(kBlockWords);
    for (;;) {
        for (uint32_t& w : block) w = static_cast<uint32_t>(g());
        if (std::fwrite(block.data(), sizeof(uint32_t), block.size(), stdout) != block.size()) return 0;
    }
}

}  // namespace

int main(int argc, char** argv) {
#ifdef _WIN32
    _setmode(_fileno(stdout), _O_BINARY);  // raw words, no line-end translation
#endif
    if (argc == 2 && std::strcmp(argv[1], "--list") == 0) {
        const int registered = qor_rng_get_brng_count();
        for (int i = 0; i < registered && i < static_cast<int>(std::size(kRows)); ++i)
            if (kRows[i].pseudo_random && available(kRows[i])) std::printf("%s 0x%X\n", kRows[i].name, kRows[i].brng);
        return 0;
    }
    if (argc < 2 || argc > 3) {
        std::fprintf(stderr, "usage: %s --list | NAME [SEED]\n", argv[0]);
        return 2;
    }
    const uint32_t seed = argc == 3 ? static_cast<uint32_t>(std::strtoul(argv[2], nullptr, 0)) : kDefaultSeed;
    if (std::strcmp(argv[1], "std_mt19937") == 0) return write_std_mt19937(seed);
    const Row* row = find(argv[1]);
    if (!row) {
        std::fprintf(stderr, "rng_to_stdout: unknown generator %s\n", argv[1]);
        return 2;
    }
    qor_rng_stream* s = nullptr;
    const int status = qor_rng_new_stream(&s, row->brng, seed);
    if (status != QOR_RNG_STATUS_OK) {
        std::fprintf(stderr, "rng_to_stdout: %s: status %d\n", argv[1], status);
        return 1;
    }
    const int result = write_forever(s);
    qor_rng_delete_stream(&s);
    return result;
}
