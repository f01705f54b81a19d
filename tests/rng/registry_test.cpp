// The generator registry: the exported rows and member counts, the legacy
// slots, identifier resolution in both forms, validation and registration
// of new generators.
#include <dlfcn.h>

#include <cstdlib>
#include <cstring>

#include "rng_test_support.h"

using namespace rng_test;

namespace {

struct Row {
    const char* name;
    int32_t members, state_size, words, includes_zero, word_size, bits;
    // The exported initialiser and single, double and integer fills.
    const char* functions[4];
};

#define QOR_ROW_FUNCTIONS(Name) \
    { "__rixBRng" #Name "InitStream", "__rixsBRng" #Name, "__rixdBRng" #Name, "__rixiBRng" #Name }

// An export of the kernel library, looked up by name when the test runs.
// (A function's address taken in a static initializer is, on Windows, the
// program's own import thunk, not the function in the DLL.)
const void* exported(const char* name) { return dlsym(RTLD_DEFAULT, name); }

// Row r has identifier (r + 1) << 20.
const Row kRows[QOR_RNG_BUILTIN_ROWS] = {{"MCG31M1", 1, 24, 1, 0, 4, 31, QOR_ROW_FUNCTIONS(MCG31M1)},
                                         {"R250", 1, 1024, 252, 1, 4, 32, QOR_ROW_FUNCTIONS(R250)},
                                         {"MRG32K3A", 1, 40, 6, 1, 4, 32, QOR_ROW_FUNCTIONS(MRG32K3A)},
                                         {"MCG59", 1, 32, 1, 0, 8, 59, QOR_ROW_FUNCTIONS(MCG59)},
                                         {"WH", 273, 48, 4, 1, 16, 24, QOR_ROW_FUNCTIONS(WH)},
                                         {"Sobol", 1, 11712, 2900, 0, 4, 32, QOR_ROW_FUNCTIONS(Sobol)},
                                         {"Niederr", 1, 84288, 21056, 0, 4, 32, QOR_ROW_FUNCTIONS(Niederr)},
                                         {"MT19937", 1, 2520, 625, 1, 4, 32, QOR_ROW_FUNCTIONS(MT19937)},
                                         {"MT2203", 6024, 312, 70, 1, 4, 32, QOR_ROW_FUNCTIONS(MT2203)},
                                         {"iAbstract", 1, 48, 0, 1, 4, 32, QOR_ROW_FUNCTIONS(iAbstract)},
                                         {"dAbstract", 1, 64, 0, 1, 4, 32, QOR_ROW_FUNCTIONS(dAbstract)},
                                         {"sAbstract", 1, 56, 0, 1, 4, 32, QOR_ROW_FUNCTIONS(sAbstract)},
                                         {"SFMT19937", 1, 2536, 625, 1, 4, 32, QOR_ROW_FUNCTIONS(SFMT19937)},
                                         {"TRNG", 1, 24, 1, 1, 4, 32, QOR_ROW_FUNCTIONS(TRNG)},
                                         {"ARS5", 1, 72, 13, 1, 4, 32, QOR_ROW_FUNCTIONS(ARS5)},
                                         {"PHILOX4X32X10", 1, 64, 11, 1, 4, 32, QOR_ROW_FUNCTIONS(PHILOX4X32X10)}};

// Field by field: the padding after bit_count is not part of a row.
bool same_row(const qor_rng_brng_properties& a, const qor_rng_brng_properties& b) {
    return a.state_size == b.state_size && a.state_word_count == b.state_word_count &&
           a.includes_zero == b.includes_zero && a.word_size == b.word_size && a.bit_count == b.bit_count &&
           a.init_stream == b.init_stream && a.fill_single == b.fill_single && a.fill_double == b.fill_double &&
           a.fill_int == b.fill_int;
}

int32_t noop_init(uint32_t, qor_rng_stream*, int32_t, const uint32_t*) { return 0; }
int32_t noop_s(qor_rng_stream*, int32_t, float*, float, float) { return 0; }
int32_t noop_d(qor_rng_stream*, int32_t, double*, double, double) { return 0; }
int32_t noop_i(qor_rng_stream*, int32_t, void*) { return 0; }

qor_rng_brng_properties valid_record() { return {40, 2, 1, 8, 64, noop_init, noop_s, noop_d, noop_i}; }

}  // namespace

TEST(Registry, BuiltInRowsCarryTheirPropertiesAndExportedFunctions) {
    ASSERT_GE(__rixGetNumRegBrngs(), QOR_RNG_BUILTIN_ROWS);
    for (int r = 0; r < QOR_RNG_BUILTIN_ROWS; ++r) {
        SCOPED_TRACE(kRows[r].name);
        const qor_rng_brng_properties& p = __RegBrngsNew.rows[r];
        EXPECT_EQ(p.state_size, kRows[r].state_size);
        EXPECT_EQ(p.state_word_count, kRows[r].words);
        EXPECT_EQ(p.includes_zero, kRows[r].includes_zero);
        EXPECT_EQ(p.word_size, kRows[r].word_size);
        EXPECT_EQ(p.bit_count, kRows[r].bits);
        EXPECT_EQ(__RegBrngsNew.member_counts[r], kRows[r].members);
        for (const char* name : kRows[r].functions) EXPECT_NE(exported(name), nullptr) << name;
        EXPECT_EQ(reinterpret_cast<const void*>(p.init_stream), exported(kRows[r].functions[0]));
        EXPECT_EQ(reinterpret_cast<const void*>(p.fill_single), exported(kRows[r].functions[1]));
        EXPECT_EQ(reinterpret_cast<const void*>(p.fill_double), exported(kRows[r].functions[2]));
        EXPECT_EQ(reinterpret_cast<const void*>(p.fill_int), exported(kRows[r].functions[3]));
        EXPECT_NE(p.init_stream, nullptr);
        qor_rng_brng_properties got;
        ASSERT_EQ(__rixGetBrngProperties((r + 1) << 20, &got), 0);
        EXPECT_TRUE(same_row(got, p));
    }
}

TEST(Registry, AbstractRowsShareOneWrongKindFunction) {
    const void* shared = reinterpret_cast<const void*>(&__rixsBRngiAbstract);
    const void* others[] = {
        reinterpret_cast<const void*>(&__rixdBRngiAbstract), reinterpret_cast<const void*>(&__rixsBRngdAbstract),
        reinterpret_cast<const void*>(&__rixiBRngdAbstract), reinterpret_cast<const void*>(&__rixdBRngsAbstract),
        reinterpret_cast<const void*>(&__rixiBRngsAbstract)};
    for (const void* f : others) EXPECT_EQ(f, shared);
    EXPECT_NE(reinterpret_cast<const void*>(&__rixiBRngiAbstract), shared);
    EXPECT_NE(reinterpret_cast<const void*>(&__rixdBRngdAbstract), shared);
    EXPECT_NE(reinterpret_cast<const void*>(&__rixsBRngsAbstract), shared);
    EXPECT_EQ(__rixdBRngiAbstract(nullptr, 5, nullptr, 0, 1), QOR_RNG_STATUS_ABSTRACT_KIND);
}

TEST(Registry, LegacySlotsRepeatTheCurrentRows) {
    for (int slot = 0; slot < 4; ++slot) EXPECT_TRUE(same_row(__RegBrngs[slot], __RegBrngsNew.rows[slot])) << slot;
    for (int slot = 4; slot <= 276; ++slot) ASSERT_TRUE(same_row(__RegBrngs[slot], __RegBrngsNew.rows[4])) << slot;
    EXPECT_TRUE(same_row(__RegBrngs[277], __RegBrngsNew.rows[5]));
    EXPECT_TRUE(same_row(__RegBrngs[278], __RegBrngsNew.rows[6]));
    const qor_rng_brng_properties empty{};
    EXPECT_TRUE(same_row(__RegBrngs[279], empty));
    EXPECT_TRUE(same_row(__RegBrngs[280], empty));
}

TEST(Registry, IdentifiersResolveInBothForms) {
    struct Case {
        int32_t brng;
        const qor_rng_brng_properties* table;
        int32_t row, member;
    } cases[] = {{0x100000, __RegBrngsNew.rows, 0, 0},
                 {0x500110, __RegBrngsNew.rows, 4, 272},
                 {0x900000 + 6023, __RegBrngsNew.rows, 8, 6023},
                 {0x1000000, __RegBrngsNew.rows, 15, 0},
                 {0, __RegBrngs, 0, 0},
                 {3, __RegBrngs, 3, 0},
                 {4, __RegBrngs, 4, 0},
                 {276, __RegBrngs, 4, 272},
                 {277, __RegBrngs, 277, 0},
                 {0xFFFFF, __RegBrngs, 0xFFFFF, 0}};
    for (const Case& c : cases) {
        int32_t row = -7, member = -7;
        EXPECT_EQ(__rixGetBrngBaseOffset(c.brng, &row, &member), c.table) << std::hex << c.brng;
        EXPECT_EQ(row, c.row) << std::hex << c.brng;
        EXPECT_EQ(member, c.member) << std::hex << c.brng;
    }
    EXPECT_EQ(__rixGetBrngBaseOffset(276, nullptr, nullptr), __RegBrngs);
}

TEST(Registry, ValidityFollowsTheTableAndMemberCounts) {
    EXPECT_EQ(__rixIsBrngValid(__RegBrngs, 280, 999), 0);
    EXPECT_EQ(__rixIsBrngValid(__RegBrngs, 281, 0), QOR_RNG_STATUS_BAD_BRNG);
    EXPECT_EQ(__rixIsBrngValid(__RegBrngs, -1, 0), QOR_RNG_STATUS_BAD_BRNG);
    EXPECT_EQ(__rixIsBrngValid(__RegBrngsNew.rows, 4, 272), 0);
    EXPECT_EQ(__rixIsBrngValid(__RegBrngsNew.rows, 4, 273), QOR_RNG_STATUS_BAD_BRNG);
    EXPECT_EQ(__rixIsBrngValid(__RegBrngsNew.rows, 0, 1), QOR_RNG_STATUS_BAD_BRNG);
    EXPECT_EQ(__rixIsBrngValid(__RegBrngsNew.rows, 0, -1), QOR_RNG_STATUS_BAD_BRNG);
    EXPECT_EQ(__rixIsBrngValid(__RegBrngsNew.rows, __rixGetNumRegBrngs(), 0), QOR_RNG_STATUS_BAD_BRNG);
    EXPECT_EQ(__rixIsBrngValid(__RegBrngsNew.rows, -1, 0), QOR_RNG_STATUS_BAD_BRNG);
    EXPECT_EQ(__rixIsBrngValid(nullptr, 0, 0), QOR_RNG_STATUS_BAD_BRNG);
    EXPECT_EQ(__rixIsBrngValid(__RegBrngs + 1, 0, 0), QOR_RNG_STATUS_BAD_BRNG);
}

TEST(Registry, PropertiesOfValidIdentifiersOnly) {
    qor_rng_brng_properties p;
    std::memset(&p, 0x5A, sizeof p);
    const qor_rng_brng_properties untouched = p;
    EXPECT_EQ(__rixGetBrngProperties(281, &p), QOR_RNG_STATUS_BAD_BRNG);
    EXPECT_EQ(__rixGetBrngProperties(0x500111, &p), QOR_RNG_STATUS_BAD_BRNG);
    EXPECT_EQ(__rixGetBrngProperties(0x7FF00000, &p), QOR_RNG_STATUS_BAD_BRNG);
    EXPECT_EQ(__rixGetBrngProperties(-1, &p), QOR_RNG_STATUS_BAD_BRNG);
    EXPECT_TRUE(same_row(p, untouched));
    EXPECT_EQ(__rixGetBrngProperties(0x100000, nullptr), QOR_RNG_STATUS_BAD_ARGUMENT);
    // Legacy WH members and the empty slots resolve.
    ASSERT_EQ(__rixGetBrngProperties(200, &p), 0);
    EXPECT_TRUE(same_row(p, __RegBrngsNew.rows[4]));
    ASSERT_EQ(__rixGetBrngProperties(280, &p), 0);
    EXPECT_EQ(p.state_size, 0);
    EXPECT_EQ(p.init_stream, nullptr);
}

TEST(Registry, RegistrationChecksTheRecordInOrder) {
    const int32_t before = __rixGetNumRegBrngs();
    qor_rng_brng_properties p = valid_record();
    p.state_size = -1;
    p.word_size = 12;  // also wrong, but the state size is checked first
    EXPECT_EQ(__rixRegisterBrng(&p), QOR_RNG_STATUS_REG_BAD_STATE_SIZE);
    p = valid_record();
    p.word_size = 12;
    EXPECT_EQ(__rixRegisterBrng(&p), QOR_RNG_STATUS_REG_BAD_WORD_SIZE);
    p = valid_record();
    p.state_word_count = 0;
    p.bit_count = 0;
    EXPECT_EQ(__rixRegisterBrng(&p), QOR_RNG_STATUS_REG_BAD_WORD_COUNT);
    p = valid_record();
    p.bit_count = 0;
    EXPECT_EQ(__rixRegisterBrng(&p), QOR_RNG_STATUS_REG_BAD_BIT_COUNT);
    for (int slot = 0; slot < 4; ++slot) {
        p = valid_record();
        void** fns[] = {reinterpret_cast<void**>(&p.init_stream), reinterpret_cast<void**>(&p.fill_single),
                        reinterpret_cast<void**>(&p.fill_double), reinterpret_cast<void**>(&p.fill_int)};
        *fns[slot] = nullptr;
        EXPECT_EQ(__rixRegisterBrng(&p), QOR_RNG_STATUS_NULL_FUNCTION) << slot;
    }
    EXPECT_EQ(__rixRegisterBrng(nullptr), QOR_RNG_STATUS_BAD_ARGUMENT);
    EXPECT_EQ(__rixGetNumRegBrngs(), before);
}

TEST(Registry, RegistrationAppendsARowWithOneMember) {
    const int32_t before = __rixGetNumRegBrngs();
    const qor_rng_brng_properties p = valid_record();
    const int32_t id = __rixRegisterBrng(&p);
    EXPECT_EQ(id, (before + 1) << 20);
    if (before == QOR_RNG_BUILTIN_ROWS) {
        EXPECT_EQ(id, 0x1100000);
    }
    EXPECT_EQ(__rixGetNumRegBrngs(), before + 1);
    EXPECT_EQ(__RegBrngsNew.member_counts[before], 1);
    qor_rng_brng_properties got;
    ASSERT_EQ(__rixGetBrngProperties(id, &got), 0);
    EXPECT_TRUE(same_row(got, p));
    EXPECT_EQ(__rixGetBrngProperties(id + 1, &got), QOR_RNG_STATUS_BAD_BRNG);
    // A stream of the new generator is allocated at its state size.
    Stream s = make_stream(id, {1});
    ASSERT_NE(s, nullptr);
    EXPECT_EQ(static_cast<int32_t>(s->brng), id);
}

// Filling the table is done in a child process so that the other tests
// keep their room.
TEST(Registry, AFullTableRefusesMoreRows) {
    EXPECT_EXIT(
        {
            const qor_rng_brng_properties p = valid_record();
            bool ok = true;
            while (__rixGetNumRegBrngs() < QOR_RNG_REGISTRY_ROOM) ok = ok && __rixRegisterBrng(&p) > 0;
            ok = ok && __rixRegisterBrng(&p) == QOR_RNG_STATUS_NO_MEMORY;
            ok = ok && __rixGetNumRegBrngs() == QOR_RNG_REGISTRY_ROOM;
            ok = ok && __RegBrngsNew.member_counts[QOR_RNG_REGISTRY_ROOM - 1] == 1;
            ok = ok && __rixIsBrngValid(__RegBrngsNew.rows, QOR_RNG_REGISTRY_ROOM - 1, 0) == 0;
            std::exit(ok ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
}

TEST(ProcessorTests, AnswerOneOrZero) {
    for (int32_t v : {__rixCPUisAES(), __rixCPUisRDRAND(), __rixCPUisVAES()}) EXPECT_TRUE(v == 0 || v == 1);
    // The vector AES instructions extend the scalar ones.
    if (__rixCPUisVAES()) {
        EXPECT_EQ(__rixCPUisAES(), 1);
    }
}
