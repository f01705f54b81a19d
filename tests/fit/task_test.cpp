// Data-fitting tasks: creation checks and record, the search table against
// its definition, edits with what survives their errors, and queries.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

#include "qor/qor_kp.h"

namespace {

const double kX[5] = {0, 1, 2.5, 2.6, 16};
const float kXf[5] = {0, 1, 2.5f, 2.6f, 16};
double kY[20] = {}, kOther[4] = {};

FitTask* make(uint32_t precision, int64_t ny = 2, int64_t yhint = 0, int64_t xhint = 1, uint32_t width = 0) {
    FitTask* t = nullptr;
    const float* yf = ny ? reinterpret_cast<float*>(kY) : nullptr;
    EXPECT_EQ(precision ? qor_kp_kernel_dNewTask1D(&t, 5, kX, xhint, ny, ny ? kY : nullptr, yhint, width)
                        : qor_kp_kernel_sNewTask1D(&t, 5, kXf, xhint, ny, yf, yhint, width), 0);
    return t;
}
const void* at(const void* p, int64_t n, uint32_t precision) {
    return static_cast<const char*>(p) + n * (precision ? 8 : 4);
}
bool same(const FitTask& a, const FitTask& b) { return std::memcmp(&a, &b, sizeof(FitTask)) == 0; }

// The table from its definition: lo of bin k is the last breakpoint in bins 1 .. k-1 (those of bin 0 leave
// it 0), hi the first in bins k+1 .. binCount-1 (else nx-1); pair binCount repeats pair binCount-1.
template <class T>
void expect_table_by_definition(int64_t nx, int64_t bins, std::mt19937_64& rng) {
    std::vector<T> x(nx);  // clustered: empty bins, crowded bins, a crowded bin 0
    std::exponential_distribution<double> gap(1.0);
    for (int64_t i = 1; i < nx; ++i) x[i] = x[i - 1] + static_cast<T>(0.05 + gap(rng) * gap(rng) * gap(rng));
    const T scale = static_cast<T>(bins) / (x.back() - x[0]);
    std::vector<int64_t> pairs;
    for (int64_t k = 0, kk = 0; k <= bins; ++k, kk = std::min(k, bins - 1)) {
        int64_t lo = 0, hi = nx - 1;
        for (int64_t i = nx - 1; i >= 1; --i) {
            const auto b = static_cast<int64_t>((x[i] - x[0]) * scale);
            if (b >= 1 && b < kk) lo = std::max(lo, i);
            if (b > kk && b < bins) hi = i;
        }
        pairs.insert(pairs.end(), {lo, hi});
    }
    FitTask* t = nullptr;
    if constexpr (sizeof(T) == 8) ASSERT_EQ(qor_kp_kernel_dNewTask1D(&t, nx, x.data(), 0, 0, nullptr, 0, 0), 0);
    else ASSERT_EQ(qor_kp_kernel_sNewTask1D(&t, nx, x.data(), 2, 0, nullptr, 0, 0), 0);
    ASSERT_EQ(t->binCount, bins);
    EXPECT_EQ(std::vector<int64_t>(t->binTable, t->binTable + 2 * (bins + 1)), pairs);
    qor_kp_kernel_DeleteTask(&t);
}

}  // namespace

TEST(FitNewTask, ChecksInOrderAndLeavesTheHandleAloneOnFailure) {
    struct Case { int64_t nx; const double* x; int64_t xhint, ny; const double* y; int64_t yhint; int32_t status; };
    for (const Case& c : std::initializer_list<Case>{
             {1, nullptr, 3, 0, kY, 1, -1004}, {2, nullptr, 3, 0, kY, 1, -1005}, {2, kX, 3, 0, kY, 1, -1006},
             {2, kX, 5, 0, kY, 1, -1006}, {2, kX, -1, 0, kY, 1, -1006}, {2, kX, 4, 0, kY, 1, -1007},
             {2, kX, 4, -1, nullptr, 1, -1008}, {2, kX, 4, 1, kY, 64, -1009}, {2, kX, 4, 0, nullptr, 128, 0}}) {
        FitTask* t = reinterpret_cast<FitTask*>(uintptr_t{0x1000});
        EXPECT_EQ(qor_kp_kernel_dNewTask1D(&t, c.nx, c.x, c.xhint, c.ny, c.y, c.yhint, 0), c.status);
        if (c.status) EXPECT_EQ(t, reinterpret_cast<FitTask*>(uintptr_t{0x1000}));
        else EXPECT_TRUE(t->yTable == nullptr && t->binTable == nullptr && qor_kp_kernel_DeleteTask(&t) == 0);
    }
    FitTask* t = nullptr;  // a table too large to allocate: the record keeps what came before it
    EXPECT_EQ(qor_kp_kernel_dNewTask1D(&t, 5, kX, 2, int64_t{1} << 61, kY, 0, 1), -1001);
    ASSERT_TRUE(t != nullptr);
    EXPECT_TRUE(t->nx == 5 && t->x == kX && t->xhint == 2 && !t->yTable && !t->ny && !t->kind && !t->indexWidth);
    EXPECT_TRUE(qor_kp_kernel_DeleteTask(&t) == 0 && !t && qor_kp_kernel_DeleteTask(&t) == -1000);
}

TEST(FitNewTask, FillsTheRecordAndTheValueTablePerHint) {
    for (uint32_t precision : {0u, 1u})
        for (int64_t yhint : {0, 16, 32, 128}) {
            FitTask* t = make(precision, 3, yhint, 4, 7);
            EXPECT_EQ(reinterpret_cast<uintptr_t>(t) % 128, 0u);
            const auto* r = reinterpret_cast<const char*>(t);  // zero from `order` on: no coefficients, no search table
            EXPECT_TRUE(std::all_of(r + offsetof(FitTask, order), r + sizeof(FitTask), [](char b) { return !b; }));
            EXPECT_TRUE(t->indexWidth == 7 && t->tag == 4 && t->precision == precision && t->kind == 1 && t->ny == 3);
            EXPECT_TRUE(t->nx == 5 && t->x == (precision ? static_cast<const void*>(kX) : kXf) && t->yhint == yhint);
            std::vector<const void*> want = {kY, at(kY, 5, precision), at(kY, 10, precision), nullptr};
            if (yhint == 128) want = {kY, nullptr, nullptr, nullptr};
            want.resize(yhint == 32 ? 1 : 4);  // 32: one entry; else ny of them and the slot after the last
            EXPECT_EQ(std::vector<const void*>(t->yTable, t->yTable + want.size()), want);
            const double* entry = nullptr;
            EXPECT_EQ(qor_kp_kernel_dQueryIdxPtr(t, 2, 3, &entry), yhint == 32 ? -1009 : 0);  // index ny passes
            EXPECT_EQ(qor_kp_kernel_dEditIdxPtr(t, 2, -1, kOther), yhint == 32 ? -1009 : -1020);
            qor_kp_kernel_DeleteTask(&t);
        }
}

TEST(FitSearchTable, MatchesItsDefinitionForSmallAndLargePartitions) {
    std::mt19937_64 rng(2024);
    for (auto [nx, bins] : {std::pair<int64_t, int64_t>{2, 16}, {40, 16}, {300, 18}, {16399, 1024}, {16400, 1024},
                            {50000, 1024}}) {
        SCOPED_TRACE(nx);
        expect_table_by_definition<double>(nx, bins, rng);
        expect_table_by_definition<float>(nx, bins, rng);
    }
}

TEST(FitEditVal, EachAttributeAcceptsItsValuesAndQueryValReadsThemInTheTaskWidth) {
    struct Row { int64_t attribute; std::vector<int64_t> accepted, refused; int32_t status; };
    const Row rows[] = {{14, {2, 9}, {1, -2}, -1004},         {15, {0, 2, 4}, {3, 5, -1}, -1006},
                        {16, {1, 3}, {0, -1}, -1007},         {17, {0, 16, 32, 128}, {1, 64, 8}, -1009},
                        {18, {0, 4}, {-1}, -1010},            {19, {0, 5, 9}, {6, 7, 8, -1}, -1011},
                        {20, {0, 2, 8, 9, 12, -8}, {3, 4, 7, 16}, -1012}, {21, {0, 64}, {-1}, -1014},
                        {22, {0, 16, 32, 128}, {5, 256}, -1017}, {23, {0, 1}, {2, -1}, -1036}};
    for (uint32_t width : {0u, 1u}) {
        FitTask* t = make(1, 2, 0, 1, width);
        for (const Row& r : rows)
            for (int64_t v : r.accepted) {
                SCOPED_TRACE(testing::Message() << r.attribute << " = " << v);
                ASSERT_EQ(qor_kp_kernel_iEditVal(t, r.attribute, v), 0);
                const FitTask before = *t;
                for (int64_t w : r.refused) EXPECT_EQ(qor_kp_kernel_iEditVal(t, r.attribute, w), r.status);
                EXPECT_TRUE(same(*t, before));
                int32_t out[2] = {-5, -5};  // 4 bytes written without indexWidth, 8 with it
                ASSERT_EQ(qor_kp_kernel_iQueryVal(t, r.attribute, out), 0);
                EXPECT_EQ(width ? int64_t(uint64_t(uint32_t(out[1])) << 32 | uint32_t(out[0])) : out[0], v);
                EXPECT_EQ(out[1], width ? v >> 32 : -5);
            }
        int64_t out = 0;
        for (int64_t a : {13, 24, 5})
            EXPECT_TRUE(qor_kp_kernel_iEditVal(t, a, 0) == -1019 && qor_kp_kernel_iQueryVal(t, a, &out) == -1019);
        qor_kp_kernel_DeleteTask(&t);
    }
}

TEST(FitSearchTable, HandCheckedAtCreationAndWhenThePartitionHintBecomesOne) {
    auto table = [](std::vector<int64_t> head) {  // `head`, then pairs (3, 4) up to pair binCount = 16
        while (head.size() < 34) head.push_back(3 + head.size() % 2);
        return head;
    };
    // Scale 16/16: bins 1, 2, 2 and, exactly at x[4], bin 16, whose lo goes to the spare pair.
    for (uint32_t precision : {0u, 1u}) {
        FitTask* t = make(precision, 0, 0, 1);
        ASSERT_TRUE(t->binCount == 16 && (precision ? t->binScale.d : t->binScale.s) == 1);
        EXPECT_EQ(std::vector<int64_t>(t->binTable, t->binTable + 34), table({0, 1, 0, 2, 1, 4}));
        EXPECT_EQ(t->binTable[34], 4);
        qor_kp_kernel_DeleteTask(&t);
    }
    FitTask* t = make(1, 0, 0, 4);  // uniform: no table
    ASSERT_TRUE(qor_kp_kernel_iEditVal(t, 15, 2) == 0 && !t->binTable && !t->binCount);
    // Scale 16/49: bins 2, 2, 3 and, rounded down, 15 for x[4]; the last bin's hi is nx-1 all the same.
    const double moved[5] = {0, 8, 9, 10, 49};
    ASSERT_TRUE(qor_kp_kernel_dEditPtr(t, 1, moved) == 0 && !t->binTable);  // moving the breakpoints builds nothing
    ASSERT_TRUE(qor_kp_kernel_iEditVal(t, 15, 1) == 0 && t->binCount == 16 && t->binScale.d == 16.0 / 49);
    EXPECT_EQ(std::vector<int64_t>(t->binTable, t->binTable + 34), table({0, 1, 0, 1, 0, 3, 2, 4}));
    qor_kp_kernel_DeleteTask(&t);
}

TEST(FitEditPPSpline, ChecksInOrderKeepingWhatWasStoredBeforeAFailure) {
    float c[40] = {};
    const float *bc = reinterpret_cast<const float*>(kOther), *ic = bc + 1;
    FitTask* t = make(0, 0);
    auto edit = [&t](auto... args) { return qor_kp_kernel_sEditPPSpline1D(t, args...); };
    EXPECT_EQ(edit(-1, 0, 0, bc, 0, nullptr, c, 0), -1010);
    EXPECT_EQ(edit(2, -1, 0, bc, 0, nullptr, c, 0), -1011);
    EXPECT_TRUE(t->order == 0 && t->type == 0);
    EXPECT_EQ(edit(2, 3, 3, nullptr, 0, nullptr, c, 0), -1015);
    EXPECT_TRUE(t->order == 2 && t->type == 3 && t->bcType == 0);
    EXPECT_EQ(edit(2, 3, -1, nullptr, 0, nullptr, c, 0), -1015);  // bcType taken unsigned
    EXPECT_EQ(edit(3, 1, 64, nullptr, 1, nullptr, c, 0), -1013);
    EXPECT_TRUE(t->order == 3 && t->type == 1 && t->bcType == 64 && !t->bc && !t->icType);
    EXPECT_EQ(edit(3, 1, 2, bc, 0, ic, c, 0), -1012);
    EXPECT_TRUE(t->bcType == 2 && t->bc == bc && !t->ic);
    EXPECT_EQ(edit(4, 1, 1, nullptr, 8, ic, c, 16), -1007);  // no functions to point at
    EXPECT_TRUE(t->order == 4 && t->icType == 8 && t->ic == ic && !t->coeffTable && t->coeffHint == 0);
    EXPECT_TRUE(edit(4, 1, 1, nullptr, 8, ic, nullptr, 77) == 0 && t->coeffHint == 77);  // stored unchecked
    qor_kp_kernel_DeleteTask(&t);
    // Coefficient stride order*nx - order, order*nx for type 1; bit 7 of the hint: entry 0 only.
    struct Case { int64_t type, hint; std::vector<void*> entries; };
    for (const Case& k : {Case{0, 0, {c, c + 8, c + 16}}, Case{1, 16, {c, c + 10, c + 20}},
                          Case{2, 5, {c, c + 8, c + 16}}, Case{1, 128, {c, 0, 0}}, Case{0, 0x180, {c, 0, 0}}}) {
        t = make(0, 3);
        ASSERT_EQ(edit(2, k.type, 0, nullptr, 0, nullptr, c, k.hint), 0);
        EXPECT_EQ(std::vector<void*>(t->coeffTable, t->coeffTable + 3), k.entries);
        qor_kp_kernel_DeleteTask(&t);
    }
}

TEST(FitEditPtr, NullStatusesRebuildsAndQueries) {
    const int32_t null_status[7] = {-1019, -1005, -1008, -1013, -1015, -1016, -1019};
    for (uint32_t precision : {0u, 1u}) {
        FitTask* t = make(precision, 2);
        for (int64_t a = 0; a <= 6; ++a) EXPECT_EQ(qor_kp_kernel_dEditPtr(t, a, nullptr), null_status[a]);
        ASSERT_EQ(qor_kp_kernel_iEditVal(t, 18, 2), 0);
        const double* out = nullptr;
        for (int64_t a = 1; a <= 5; ++a) {
            EXPECT_EQ(qor_kp_kernel_dEditPtr(t, a, kOther + a - 1), 0);
            EXPECT_TRUE(qor_kp_kernel_dQueryPtr(t, a, &out) == 0 && out == kOther + a - 1);
        }
        EXPECT_EQ(t->yTable[1], at(kOther + 1, 5, precision));  // rebuilt from nx, ny, yhint
        EXPECT_EQ(t->coeffTable[1], at(kOther + 4, 8, precision));
        EXPECT_EQ(qor_kp_kernel_dQueryPtr(t, 6, &out), -1019);
        t->ny = 0;  // as NewTask1D leaves a task without functions
        EXPECT_EQ(qor_kp_kernel_dEditPtr(t, 5, kOther), -1007);
        qor_kp_kernel_DeleteTask(&t);
    }
}

TEST(FitEditIdxPtr, IndexRangesHintChecksAndTheKeptOffByOneOfTheQuery) {
    FitTask* t = make(1, 2, 128);
    const double* out = nullptr;
    for (int64_t a : {2, 5}) {  // the coefficient table is made on demand
        for (int64_t j : {-1, 2}) EXPECT_EQ(qor_kp_kernel_dEditIdxPtr(t, a, j, kOther), -1020);
        EXPECT_EQ(qor_kp_kernel_dEditIdxPtr(t, a, 1, nullptr), a == 2 ? -1008 : -1016);
        ASSERT_EQ(qor_kp_kernel_dEditIdxPtr(t, a, 1, kOther + a), 0);
        EXPECT_TRUE(qor_kp_kernel_dQueryIdxPtr(t, a, 1, &out) == 0 && out == kOther + a);
        EXPECT_TRUE(qor_kp_kernel_dQueryIdxPtr(t, a, 2, &out) == 0 && !out);  // index ny passes
        for (int64_t j : {-1, 3}) EXPECT_EQ(qor_kp_kernel_dQueryIdxPtr(t, a, j, &out), -1020);
    }
    EXPECT_EQ(qor_kp_kernel_dEditIdxPtr(t, 3, 0, kOther), -1019);
    EXPECT_EQ(qor_kp_kernel_dQueryIdxPtr(t, 1, 0, &out), -1019);
    ASSERT_EQ(qor_kp_kernel_iEditVal(t, 16, 9), 0);  // ny grown past the table: refused, never written beyond it
    EXPECT_TRUE(qor_kp_kernel_dEditIdxPtr(t, 2, 5, kOther) == -1020 && qor_kp_kernel_dQueryIdxPtr(t, 2, 9, &out) == 0);
    EXPECT_EQ(out, nullptr);
    qor_kp_kernel_DeleteTask(&t);
}

TEST(FitTaskChecks, NullTaskThenNullOutputThenKindOneOnlyButTheSplineEditIgnoresTheKind) {
    const double* out = kOther;
    int64_t value = 42;
    const int32_t null_task[] = {
        qor_kp_kernel_sNewTask1D(nullptr, 2, kXf, 0, 0, nullptr, 0, 0), qor_kp_kernel_DeleteTask(nullptr),
        qor_kp_kernel_dEditPPSpline1D(nullptr, 2, 0, 0, kOther, 0, nullptr, nullptr, 0),
        qor_kp_kernel_dEditPtr(nullptr, 1, kOther), qor_kp_kernel_dEditIdxPtr(nullptr, 2, 0, kOther),
        qor_kp_kernel_iEditVal(nullptr, 14, 2), qor_kp_kernel_iQueryVal(nullptr, 14, &value),
        qor_kp_kernel_dQueryPtr(nullptr, 1, &out), qor_kp_kernel_dQueryIdxPtr(nullptr, 2, 0, &out)};
    for (int32_t status : null_task) EXPECT_EQ(status, -1000);
    FitTask* t = make(1, 2);
    t->kind = 2;  // a null output is refused before the attribute, the index or the kind is looked at
    for (int32_t status : {qor_kp_kernel_iQueryVal(t, 99, nullptr), qor_kp_kernel_dQueryPtr(t, 99, nullptr),
                           qor_kp_kernel_dQueryIdxPtr(t, 99, 99, nullptr)})
        EXPECT_EQ(status, -1037);
    const FitTask before = *t;
    EXPECT_TRUE(qor_kp_kernel_dEditPtr(t, 1, nullptr) == 0 && qor_kp_kernel_dEditIdxPtr(t, 9, 0, kOther) == 0);
    EXPECT_TRUE(qor_kp_kernel_iEditVal(t, 14, 0) == 0 && qor_kp_kernel_iQueryVal(t, 14, &value) == 0);
    EXPECT_TRUE(qor_kp_kernel_dQueryPtr(t, 1, &out) == 0 && qor_kp_kernel_dQueryIdxPtr(t, 9, 0, &out) == 0);
    EXPECT_TRUE(same(*t, before) && value == 42 && out == kOther);
    EXPECT_EQ(qor_kp_kernel_dQueryIdxPtr(t, 2, 3, &out), -1020);  // the index is checked before the kind
    EXPECT_TRUE(qor_kp_kernel_dEditPPSpline1D(t, 4, 0, 0, nullptr, 0, nullptr, nullptr, 0) == 0 && t->order == 4);
    qor_kp_kernel_DeleteTask(&t);
}
