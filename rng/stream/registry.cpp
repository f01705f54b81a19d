// The two registry tables, identifier resolution and registration of new
// generators.
#include "qor/qor_rng.h"
#include "rng/brng/brng_rows.h"
#include "rng/stream/stream_layout.h"

QOR_EXTERN_C {
QOR_EXPORT qor_rng_registry __RegBrngsNew;
QOR_EXPORT qor_rng_brng_properties __RegBrngs[QOR_RNG_REGISTRY_ROOM];
}

namespace qor::rng {
namespace {

// Identifiers at or above this use the current form: (row + 1) << 20 plus
// a member number.
constexpr uint32_t kCurrentFormBase = 0x100000;
constexpr int kRowShift = 20;
constexpr uint32_t kMemberMask = 0xFFFFF;
// Legacy identifiers 4 to 276 are the members of the Wichmann-Hill family,
// all held by legacy slot 4.
constexpr uint32_t kLegacyFamilyFirst = 4, kLegacyFamilyLast = 276;
constexpr int32_t kLegacyFamilySlot = 4;
constexpr int32_t kLegacySobolSlot = 277, kLegacyNiederrSlot = 278;

void fill_tables() {
    const qor_rng_brng_properties* const builtin[QOR_RNG_BUILTIN_ROWS] = {
        &kMcg31m1Row,   &kR250Row,      &kMrg32k3aRow,  &kMcg59Row,     &kWhRow,   &kSobolRow,
        &kNiederrRow,   &kMt19937Row,   &kMt2203Row,    &kIAbstractRow, &kDAbstractRow,
        &kSAbstractRow, &kSfmt19937Row, &kTrngRow,      &kArs5Row,      &kPhilox4x32x10Row};
    for (int row = 0; row < QOR_RNG_BUILTIN_ROWS; ++row) {
        __RegBrngsNew.rows[row] = *builtin[row];
        __RegBrngsNew.member_counts[row] = 1;
    }
    __RegBrngsNew.member_counts[4] = kWhMembers;
    __RegBrngsNew.member_counts[8] = kMt2203Members;
    __RegBrngsNew.count = QOR_RNG_BUILTIN_ROWS;

    // Legacy slots 0-3 repeat the first four rows; 279 and 280 stay empty.
    for (int slot = 0; slot < 4; ++slot) __RegBrngs[slot] = *builtin[slot];
    for (uint32_t id = kLegacyFamilyFirst; id <= kLegacyFamilyLast; ++id) __RegBrngs[id] = kWhRow;
    __RegBrngs[kLegacySobolSlot] = kSobolRow;
    __RegBrngs[kLegacyNiederrSlot] = kNiederrRow;
}

// The rows reference generator functions of other files, so the tables are
// filled by the library's load-time initialisation rather than statically.
[[maybe_unused]] const bool tables_filled = (fill_tables(), true);

bool is_current_table(const qor_rng_brng_properties* table) { return table == __RegBrngsNew.rows; }

}  // namespace

StateCheck state_check_of(qor_rng_init_fn init) {
    static const struct {
        const qor_rng_brng_properties* row;
        StateCheck check;
    } kChecks[] = {{&kMcg31m1Row, kMcg31m1StateCheck},   {&kR250Row, kR250StateCheck},
                   {&kMrg32k3aRow, kMrg32k3aStateCheck}, {&kMcg59Row, kMcg59StateCheck},
                   {&kWhRow, kWhStateCheck},             {&kMt19937Row, kMt19937StateCheck},
                   {&kMt2203Row, kMt2203StateCheck},     {&kSfmt19937Row, kSfmt19937StateCheck},
                   {&kArs5Row, kArs5StateCheck},         {&kPhilox4x32x10Row, kPhilox4x32x10StateCheck}};
    for (const auto& c : kChecks)
        if (c.row->init_stream == init) return c.check;
    return nullptr;
}

BrngLocation locate_brng(uint32_t brng) {
    if (brng >= kCurrentFormBase)
        return {__RegBrngsNew.rows, static_cast<int32_t>((brng >> kRowShift) - 1),
                static_cast<int32_t>(brng & kMemberMask)};
    if (brng >= kLegacyFamilyFirst && brng <= kLegacyFamilyLast)
        return {__RegBrngs, kLegacyFamilySlot, static_cast<int32_t>(brng - kLegacyFamilyFirst)};
    return {__RegBrngs, static_cast<int32_t>(brng), 0};
}

const qor_rng_brng_properties* usable_row(uint32_t brng) {
    const BrngLocation at = locate_brng(brng);
    if (__rixIsBrngValid(at.table, at.row, at.member) != QOR_RNG_STATUS_OK) return nullptr;
    const qor_rng_brng_properties* row = &at.table[at.row];
    // Empty legacy slots and rows too small for the header hold no generator.
    if (row->state_size < kStreamHeaderBytes || !row->init_stream) return nullptr;
    return row;
}

}  // namespace qor::rng

using namespace qor::rng;

QOR_EXTERN_C {

QOR_EXPORT const qor_rng_brng_properties* __rixGetBrngBaseOffset(int32_t brng, int32_t* row, int32_t* member) {
    const BrngLocation at = locate_brng(static_cast<uint32_t>(brng));
    if (row) *row = at.row;
    if (member) *member = at.member;
    return at.table;
}

QOR_EXPORT int32_t __rixIsBrngValid(const qor_rng_brng_properties* table, int32_t row, int32_t member) {
    if (table == __RegBrngs)
        return (row >= 0 && row < QOR_RNG_LEGACY_SLOTS) ? QOR_RNG_STATUS_OK : QOR_RNG_STATUS_BAD_BRNG;
    if (is_current_table(table)) {
        const int32_t count = __RegBrngsNew.count;
        if (row < 0 || row >= count || row >= QOR_RNG_REGISTRY_ROOM) return QOR_RNG_STATUS_BAD_BRNG;
        if (member < 0 || member >= __RegBrngsNew.member_counts[row]) return QOR_RNG_STATUS_BAD_BRNG;
        return QOR_RNG_STATUS_OK;
    }
    return QOR_RNG_STATUS_BAD_BRNG;
}

QOR_EXPORT int32_t __rixGetBrngProperties(int32_t brng, qor_rng_brng_properties* properties) {
    if (!properties) return QOR_RNG_STATUS_BAD_ARGUMENT;
    const BrngLocation at = locate_brng(static_cast<uint32_t>(brng));
    const int32_t status = __rixIsBrngValid(at.table, at.row, at.member);
    if (status != QOR_RNG_STATUS_OK) return status;
    *properties = at.table[at.row];
    return QOR_RNG_STATUS_OK;
}

QOR_EXPORT int32_t __rixGetNumRegBrngs(void) { return __RegBrngsNew.count; }

QOR_EXPORT int32_t __rixRegisterBrng(const qor_rng_brng_properties* p) {
    if (!p) return QOR_RNG_STATUS_BAD_ARGUMENT;
    if (p->state_size < 0) return QOR_RNG_STATUS_REG_BAD_STATE_SIZE;
    if (p->word_size != 4 && p->word_size != 8 && p->word_size != 16) return QOR_RNG_STATUS_REG_BAD_WORD_SIZE;
    if (p->state_word_count < 1) return QOR_RNG_STATUS_REG_BAD_WORD_COUNT;
    if (p->bit_count < 1) return QOR_RNG_STATUS_REG_BAD_BIT_COUNT;
    if (!p->init_stream || !p->fill_single || !p->fill_double || !p->fill_int) return QOR_RNG_STATUS_NULL_FUNCTION;
    const int32_t row = __RegBrngsNew.count;
    // A full table refuses further rows rather than write over the count
    // that follows it.
    if (row >= QOR_RNG_REGISTRY_ROOM) return QOR_RNG_STATUS_NO_MEMORY;
    __RegBrngsNew.rows[row] = *p;
    __RegBrngsNew.member_counts[row] = 1;
    __RegBrngsNew.count = row + 1;
    return (row + 1) << 20;
}

}  // extern "C"
