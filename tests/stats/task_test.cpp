// Statistics tasks: construction checks, the single and grouped edits, deletion,
// and the task readers the estimators share.
#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <utility>
#include <vector>

#include "qor/qor_serv.h"
#include "qor/qor_ss.h"
#include "stats/task_internal.h"

namespace {

const int32_t kP = 3, kN = 5, kByVariables = 0x10000;

SSTask* new_task() {
    SSTask* t = nullptr;
    EXPECT_EQ(__rixdSSNewTask(&t, &kP, &kN, &kByVariables, nullptr, nullptr, nullptr, 0), 0);
    return t;
}

void* sentinel(size_t k) { return reinterpret_cast<void*>(uintptr_t{0x10000} + 16 * k); }

// The record `before` with the pointer at each offset replaced by sentinel(k).
SSTask with_sentinels(const SSTask& before, const std::vector<size_t>& offsets) {
    SSTask expected = before;
    for (size_t k = 0; k < offsets.size(); ++k) {
        void* v = sentinel(k);
        std::memcpy(reinterpret_cast<char*>(&expected) + offsets[k], &v, sizeof v);
    }
    return expected;
}

bool same(const SSTask& a, const SSTask& b) { return std::memcmp(&a, &b, sizeof(SSTask)) == 0; }

std::vector<std::pair<int, SSTask*>> cleanups_run;
void first_cleanup(SSTask* t) { cleanups_run.emplace_back(1, t); }
void second_cleanup(SSTask* t) { cleanups_run.emplace_back(2, t); }

#define AT(field) offsetof(SSTask, field)

}  // namespace

TEST(EditTask, EveryCodeStoresItsFieldInItsFormAndReportsItsNullStatus) {
    const std::set<int32_t> integer_codes = {1,  2,  4,  5,  20, 22, 24, 28, 29, 32, 34, 36, 37, 41,
                                             44, 45, 47, 49, 50, 52, 54, 56, 58, 61, 62, 64, 75, 79};
    const std::pair<size_t, int32_t> codes[79] = {
        {AT(dim), -4001}, {AT(obs_count), -4002}, {AT(obs), -4032}, {AT(obs_storage), -4044}, {AT(indices), -4004},
        {AT(weights), -4005}, {AT(mean), -4006}, {AT(raw_moment2), -4007}, {AT(raw_moment3), -4008},
        {AT(raw_moment4), -4009}, {AT(central_moment2), -4010}, {AT(central_moment3), -4011},
        {AT(central_moment4), -4012}, {AT(kurtosis), -4013}, {AT(skewness), -4014}, {AT(min), -4015}, {AT(max), -4016},
        {AT(variation), -4017}, {AT(cov), -4018}, {AT(cov_storage), -4044}, {AT(cor), -4019}, {AT(cor_storage), -4044},
        {AT(acc_weights), -4020}, {AT(quant_order_count), -4022}, {AT(quant_orders), -4021}, {AT(quantiles), -4023},
        {AT(order_stats), -4024}, {AT(group_indices), -4038}, {AT(pooled_cov_storage), -4044},
        {AT(pooled_mean), -4035}, {AT(pooled_cov), -4034}, {AT(requested_groups), -4038}, {AT(group_means), -4037},
        {AT(group_cov_storage), -4044}, {AT(group_covs), -4036}, {AT(robust_cov_storage), -4044},
        {AT(rcov_param_count), -4043}, {AT(rcov_params), -4042}, {AT(robust_mean), -4028}, {AT(robust_cov), -4027},
        {AT(outlier_param_count), -4040}, {AT(outlier_params), -4039}, {AT(outlier_weights), -4041},
        {AT(order_stats_storage), -4044}, {AT(partial_index), -4045}, {AT(partial_cov), -4046},
        {AT(partial_cov_storage), -4044}, {AT(partial_cor), -4047}, {AT(partial_cor_storage), -4044},
        {AT(mv_param_count), -4049}, {AT(mv_params), -4048}, {AT(mv_init_count), -4052}, {AT(mv_init), -4053},
        {AT(mv_sim_count), -4055}, {AT(mv_sim), -4054}, {AT(mv_est_count), -4056}, {AT(mv_est), -4057},
        {AT(mv_prior_count), -4061}, {AT(mv_prior), -4062}, {AT(param_cor), -4071}, {AT(param_cor_storage), -4044},
        {AT(sq_param_count), -4066}, {AT(sq_params), -4065}, {AT(sq_order_count), -4069}, {AT(sq_orders), -4068},
        {AT(sq_quantiles), -4070}, {AT(sum), -4006}, {AT(raw_sum2), -4075}, {AT(raw_sum3), -4076},
        {AT(raw_sum4), -4077}, {AT(central_sum2), -4078}, {AT(central_sum3), -4079}, {AT(central_sum4), -4080},
        {AT(cp), -4081}, {AT(cp_storage), -4044}, {AT(median_abs_dev), -4082}, {AT(mean_abs_dev), -4083},
        {AT(sorted), -4084}, {AT(sorted_storage), -4044}};
    auto edit_i = [](SSTask* t, int32_t c, void* v) { return __rixiSSEditTask(t, c, v); };
    auto edit_d = [](SSTask* t, int32_t c, void* v) { return __rixdSSEditTask(t, c, static_cast<double*>(v)); };
    auto edit_s = [](SSTask* t, int32_t c, void* v) { return __rixsSSEditTask(t, c, static_cast<float*>(v)); };
    using Edit = int32_t (*)(SSTask*, int32_t, void*);
    for (int32_t code = -1; code <= 80; ++code) {
        const bool known = code >= 1 && code <= 79, integer = integer_codes.count(code) != 0;
        for (Edit edit : {+edit_i, +edit_d, +edit_s}) {
            SCOPED_TRACE(testing::Message() << "code " << code << (edit == +edit_i ? " i" : " r"));
            const bool right_form = known && (edit == +edit_i) == integer;
            SSTask* t = new_task();
            const SSTask before = *t;
            EXPECT_EQ(edit(nullptr, code, sentinel(0)), -4031);
            EXPECT_EQ(edit(t, code, sentinel(0)), right_form ? 0 : -3);
            const SSTask after = right_form ? with_sentinels(before, {codes[code - 1].first}) : before;
            EXPECT_TRUE(same(*t, after));
            EXPECT_EQ(edit(t, code, nullptr), right_form ? codes[code - 1].second : -3);
            EXPECT_TRUE(same(*t, after));
            __rixSSDeleteTask(&t);
        }
    }
}

namespace {

// Calls a grouped edit with every argument null, or with sentinel(k) as argument k.
template <class... A, size_t... K>
int32_t call_group(int32_t (*edit)(SSTask*, A...), SSTask* t, bool nulls, std::index_sequence<K...>) {
    return edit(t, (nulls ? A{} : reinterpret_cast<A>(sentinel(K)))...);
}

template <class... A>
void expect_group(int32_t (*edit)(SSTask*, A...), const std::vector<size_t>& fields) {
    ASSERT_EQ(sizeof...(A), fields.size());
    const auto args = std::index_sequence_for<A...>{};
    SSTask* t = new_task();
    const SSTask before = *t;
    EXPECT_EQ(call_group(edit, nullptr, false, args), -4031);
    EXPECT_EQ(call_group(edit, t, false, args), 0);
    const SSTask after = with_sentinels(before, fields);
    EXPECT_TRUE(same(*t, after));
    EXPECT_EQ(call_group(edit, t, true, args), 0);
    EXPECT_TRUE(same(*t, after));
    __rixSSDeleteTask(&t);
}

#define EXPECT_GROUP(name, ...)                 \
    expect_group(__rixd##name, {__VA_ARGS__}); \
    expect_group(__rixs##name, {__VA_ARGS__})

}  // namespace

TEST(EditTask, GroupedEditsSetTheirFieldsInOrderAndLeaveThoseGivenNull) {
    EXPECT_GROUP(SSEditMoments, AT(mean), AT(raw_moment2), AT(raw_moment3), AT(raw_moment4), AT(central_moment2),
                 AT(central_moment3), AT(central_moment4));
    EXPECT_GROUP(SSEditSums, AT(sum), AT(raw_sum2), AT(raw_sum3), AT(raw_sum4), AT(central_sum2),
                 AT(central_sum3), AT(central_sum4));
    EXPECT_GROUP(SSEditCovCor, AT(mean), AT(cov), AT(cov_storage), AT(cor), AT(cor_storage));
    EXPECT_GROUP(SSEditCP, AT(mean), AT(sum), AT(cp), AT(cp_storage));
    EXPECT_GROUP(SSEditPartialCovCor, AT(partial_index), AT(cov), AT(cov_storage), AT(cor), AT(cor_storage),
                 AT(partial_cov), AT(partial_cov_storage), AT(partial_cor), AT(partial_cor_storage));
    EXPECT_GROUP(SSEditQuantiles, AT(quant_order_count), AT(quant_orders), AT(quantiles), AT(order_stats),
                 AT(order_stats_storage));
    EXPECT_GROUP(SSEditStreamQuantiles, AT(sq_order_count), AT(sq_orders), AT(sq_quantiles), AT(sq_param_count),
                 AT(sq_params));
    EXPECT_GROUP(SSEditPooledCovariance, AT(group_indices), AT(pooled_mean), AT(pooled_cov), AT(requested_groups),
                 AT(group_means), AT(group_covs));
    EXPECT_GROUP(SSEditRCov, AT(robust_cov_storage), AT(rcov_param_count), AT(rcov_params), AT(robust_mean),
                 AT(robust_cov));
    EXPECT_GROUP(SSEditOutDetect, AT(outlier_param_count), AT(outlier_params), AT(outlier_weights));
    EXPECT_GROUP(SSEditMissingVals, AT(mv_param_count), AT(mv_params), AT(mv_init_count), AT(mv_init),
                 AT(mv_prior_count), AT(mv_prior), AT(mv_sim_count), AT(mv_sim), AT(mv_est_count), AT(mv_est));
    EXPECT_GROUP(SSEditMtxParametrz, AT(cor), AT(cor_storage), AT(param_cor), AT(param_cor_storage));
}

TEST(NewTask, FillsAZeroedAlignedRecord) {
    const double obs[15] = {}, weights[5] = {};
    const int64_t p = 3, n = 5, storage = 0x20000, indices[3] = {1, 0, 1};
    for (int32_t precision : {1, 0}) {
        SSTask* t = nullptr;
        const int32_t status =
            precision ? __rixdSSNewTask(&t, &p, &n, &storage, obs, weights, indices, 7)
                      : __rixsSSNewTask(&t, &p, &n, &storage, reinterpret_cast<const float*>(obs),
                                        reinterpret_cast<const float*>(weights), indices, 7);
        ASSERT_EQ(status, 0);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(t) % 128, 0u);
        SSTask expected{};
        expected.wide_ints = 7;
        expected.task_kind = 2;
        expected.precision = precision;
        expected.dim = &p;
        expected.obs_count = &n;
        expected.indices = indices;
        expected.obs = const_cast<double*>(obs);
        expected.weights = const_cast<double*>(weights);
        expected.obs_storage = &storage;
        EXPECT_TRUE(same(*t, expected));
        __rixSSDeleteTask(&t);
    }
}

TEST(NewTask, ChecksInOrderAndLeavesNoTaskOnFailure) {
    const int32_t zero = 0, bad_storage = 0x30000, by_observations = 0x20000;
    const double obs[15] = {};
    struct Case { const void *dim, *n, *storage; const double* obs; int32_t status; };
    for (const Case& c : {Case{nullptr, nullptr, nullptr, obs, -4001}, Case{&zero, nullptr, nullptr, obs, -4001},
                          Case{&kP, nullptr, nullptr, obs, -4044}, Case{&kP, nullptr, &zero, obs, -4003},
                          Case{&kP, &kN, &bad_storage, obs, -4003}, Case{&kP, nullptr, &kByVariables, obs, -4002},
                          Case{&kP, &zero, &by_observations, obs, -4002}, Case{&kP, nullptr, nullptr, nullptr, 0},
                          Case{&kP, &zero, &zero, nullptr, 0}, Case{&kP, &kN, &by_observations, obs, 0}}) {
        SSTask* t = reinterpret_cast<SSTask*>(uintptr_t{0x1000});
        EXPECT_EQ(__rixdSSNewTask(&t, c.dim, c.n, c.storage, c.obs, nullptr, nullptr, 0), c.status);
        EXPECT_EQ(t == nullptr, c.status != 0);
        if (t) __rixSSDeleteTask(&t);
    }
    EXPECT_EQ(__rixsSSNewTask(nullptr, &kP, nullptr, nullptr, nullptr, nullptr, nullptr, 0), -4031);
    // 2^32 is a dimension read whole as a wide integer, and 0 from its low half.
    const int64_t two_to_32 = int64_t{1} << 32;
    SSTask* t = nullptr;
    EXPECT_EQ(__rixdSSNewTask(&t, &two_to_32, nullptr, nullptr, nullptr, nullptr, nullptr, 0), -4001);
    ASSERT_EQ(__rixdSSNewTask(&t, &two_to_32, &two_to_32, nullptr, nullptr, nullptr, nullptr, 1), 0);
    __rixSSDeleteTask(&t);
}

TEST(DeleteTask, ReleasesTheBufferRunsCleanupsInOrderAndNullsTheHandle) {
    SSTask* t = new_task();
    ASSERT_EQ(qor::ss::add_cleanup(*t, second_cleanup), 0);
    ASSERT_EQ(qor::ss::add_cleanup(*t, first_cleanup), 0);
    EXPECT_EQ(qor::ss::add_cleanup(*t, second_cleanup), 0);
    EXPECT_EQ(t->cleanup_count, 2);
    t->work = qor_serv_allocate(64, 128);
    SSTask* const record = t;
    cleanups_run.clear();
    EXPECT_EQ(__rixSSDeleteTask(&t), 0);
    EXPECT_EQ(t, nullptr);
    EXPECT_EQ(cleanups_run, (std::vector<std::pair<int, SSTask*>>{{2, record}, {1, record}}));
    EXPECT_EQ(__rixSSDeleteTask(nullptr), -4031);
}

TEST(TaskReaders, EntryChecksSelectionAndCleanupRoom) {
    using namespace qor::ss;
    const int64_t wide[8] = {2, 4, 0x10000 | 0x20000, int64_t{1} << 32, 1, 0, 0x20000 | 0x8000, 0x40000};
    SSTask t{};
    t.wide_ints = 1;
    t.dim = &wide[0];
    t.obs_count = &wide[1];
    Shape shape;
    EXPECT_EQ(read_shape(nullptr, shape), -4031);
    EXPECT_EQ(read_shape(&t, shape), -4044);
    t.obs_storage = &wide[2];  // both layout bits: refused whole, variables in rows by bits
    EXPECT_EQ(read_shape(&t, shape), -4003);
    ASSERT_EQ(read_shape_by_bits(&t, shape), 0);
    EXPECT_TRUE(shape.p == 2 && shape.n == 4 && shape.variables_in_rows);
    t.obs_storage = &wide[6];
    EXPECT_EQ(read_shape(&t, shape), -4003);
    ASSERT_EQ(read_shape_by_bits(&t, shape), 0);
    EXPECT_FALSE(shape.variables_in_rows);
    t.obs_storage = &wide[7];
    EXPECT_EQ(read_shape_by_bits(&t, shape), -4003);
    t.obs_count = &wide[5];
    EXPECT_EQ(read_shape(&t, shape), -4002);
    t.dim = &wide[5];
    EXPECT_EQ(read_shape_by_bits(&t, shape), -4001);
    // Only the low half of a wide index entry counts: 2^32 leaves its variable out.
    EXPECT_TRUE(variable_selected(t, 7));
    t.indices = &wide[3];
    EXPECT_EQ((std::vector<bool>{variable_selected(t, 0), variable_selected(t, 1), variable_selected(t, 2)}),
              (std::vector<bool>{false, true, false}));
    auto routine = [](uintptr_t k) { return reinterpret_cast<SSCleanup>(k << 8); };
    for (uintptr_t k = 1; k <= SS_CLEANUP_ROOM; ++k) EXPECT_EQ(add_cleanup(t, routine(k)), 0);
    EXPECT_EQ(add_cleanup(t, routine(SS_CLEANUP_ROOM + 1)), -4000);
    EXPECT_EQ(add_cleanup(t, routine(1)), 0);
    EXPECT_EQ(t.cleanup_count, SS_CLEANUP_ROOM);
}
