// Summary-statistics tasks driven by the bytes: a task over a small data
// set, then a sequence of edits (any parameter code, integer values within
// the arrays' reach, any reals, result arrays or null) and compute calls
// (any estimate mask, any method).  Every call must return a status; none
// may touch memory outside the arrays the task was given.
#include <cstdint>
#include <vector>

#include "fuzz_input.h"
#include "qor/qor.h"

namespace {

constexpr int64_t kMaxDim = 4, kMaxObs = 16, kMaxOrders = 8;
// Room for any result the bounded task can ask for: p*p matrices, p*n
// order statistics, p*m quantiles, per-group results.
constexpr std::size_t kArray = 512;

const int kIntegerCodes[] = {SS_PARAM_DIM, SS_PARAM_OBS_COUNT, SS_PARAM_OBS_STORAGE, SS_PARAM_INDICES,
                             SS_PARAM_COV_STORAGE, SS_PARAM_COR_STORAGE, SS_PARAM_QUANT_ORDER_COUNT,
                             SS_PARAM_GROUP_INDICES, SS_PARAM_POOLED_COV_STORAGE, SS_PARAM_REQUESTED_GROUPS,
                             SS_PARAM_GROUP_COV_STORAGE, SS_PARAM_ROBUST_COV_STORAGE, SS_PARAM_RCOV_PARAM_COUNT,
                             SS_PARAM_OUTLIER_PARAM_COUNT, SS_PARAM_ORDER_STATS_STORAGE, SS_PARAM_PARTIAL_INDEX,
                             SS_PARAM_PARTIAL_COV_STORAGE, SS_PARAM_PARTIAL_COR_STORAGE, SS_PARAM_MV_PARAM_COUNT,
                             SS_PARAM_MV_INIT_COUNT, SS_PARAM_MV_SIM_COUNT, SS_PARAM_MV_EST_COUNT,
                             SS_PARAM_MV_PRIOR_COUNT, SS_PARAM_PARAM_COR_STORAGE, SS_PARAM_SQ_PARAM_COUNT,
                             SS_PARAM_SQ_ORDER_COUNT, SS_PARAM_CP_STORAGE, SS_PARAM_SORTED_STORAGE};
const int kMethods[] = {SS_METHOD_OBS_1, SS_METHOD_OBS_2, SS_METHOD_OBS_3, SS_METHOD_SUMS_1, SS_METHOD_SUMS_2,
                        SS_METHOD_PARAMETRIZE, SS_METHOD_STREAM_1, SS_METHOD_STREAM_2, SS_METHOD_SORT, 0, -1};
const int64_t kStorages[] = {SS_OBS_VARIABLES_IN_ROWS, SS_OBS_OBSERVATIONS_IN_ROWS, SS_MATRIX_STORAGE_FULL,
                             SS_MATRIX_STORAGE_UPPER_PACKED, SS_MATRIX_STORAGE_LOWER_PACKED, -1, 7};

template <class T>
struct Api;
template <>
struct Api<double> {
    static constexpr auto new_task = qor_dss_new_task;
    static constexpr auto edit = qor_dss_edit_task;
    static constexpr int (*compute[])(qor_ss_task*, uint64_t, int) = {
        qor_dss_basic, qor_dss_quantiles, qor_dss_sort, qor_dss_minmax, qor_dss_mad, qor_dss_cor_parametrization,
        qor_dss_wmedian, qor_dss_stream_quantiles, qor_dss_pooled_covariance, qor_dss_partial_covariance,
        qor_dss_mah_distance};
};
template <>
struct Api<float> {
    static constexpr auto new_task = qor_sss_new_task;
    static constexpr auto edit = qor_sss_edit_task;
    static constexpr int (*compute[])(qor_ss_task*, uint64_t, int) = {
        qor_sss_basic, qor_sss_quantiles, qor_sss_sort, qor_sss_minmax, qor_sss_mad, qor_sss_cor_parametrization,
        qor_sss_wmedian, qor_sss_stream_quantiles, qor_sss_pooled_covariance, qor_sss_partial_covariance,
        qor_sss_mah_distance};
};

// An integer a parameter may hold: a count within the arrays' reach (the
// kernels take counts on trust as the arrays' lengths), a storage code, or
// a small value for index arrays; each may be just outside its range.
int64_t integer_value(FuzzInput& in, int code) {
    switch (code) {
        case SS_PARAM_DIM: return in.in(-1, kMaxDim);
        case SS_PARAM_OBS_COUNT: return in.in(-1, kMaxObs);
        case SS_PARAM_QUANT_ORDER_COUNT: case SS_PARAM_SQ_ORDER_COUNT: case SS_PARAM_RCOV_PARAM_COUNT:
        case SS_PARAM_OUTLIER_PARAM_COUNT: case SS_PARAM_MV_PARAM_COUNT: case SS_PARAM_MV_INIT_COUNT:
        case SS_PARAM_MV_SIM_COUNT: case SS_PARAM_MV_EST_COUNT: case SS_PARAM_MV_PRIOR_COUNT:
        case SS_PARAM_SQ_PARAM_COUNT: case SS_PARAM_REQUESTED_GROUPS: return in.in(-2, kMaxOrders);
        case SS_PARAM_INDICES: case SS_PARAM_GROUP_INDICES: case SS_PARAM_PARTIAL_INDEX: return in.in(-1, 2);
        default: return in.take<uint8_t>() % 4 ? in.pick(kStorages) : in.in(-2, kMaxOrders);
    }
}

template <class T>
void run(FuzzInput& in) {
    int64_t p = in.in(1, kMaxDim), n = in.in(1, kMaxObs), storage = in.pick(kStorages);
    std::vector<T> obs(kMaxDim * kMaxObs), weights(kMaxObs);
    for (T& x : obs) x = static_cast<T>(in.real());
    for (T& w : weights) w = static_cast<T>(in.take<uint8_t>() % 4);
    // Integer arrays (indices, group indices, partial indices), one per code.
    std::vector<std::vector<int64_t>> ints(sizeof kIntegerCodes / sizeof kIntegerCodes[0],
                                           std::vector<int64_t>(kMaxObs, 1));
    std::vector<std::vector<T>> arrays(12, std::vector<T>(kArray));
    qor_ss_task* task = nullptr;
    if (Api<T>::new_task(&task, &p, &n, &storage, obs.data(), in.take<uint8_t>() % 2 ? weights.data() : nullptr,
                         nullptr) != SS_OK)
        return;
    for (int step = 0; step < 64 && !in.empty(); ++step) {
        switch (in.take<uint8_t>() % 4) {
            case 0: {  // an integer parameter: the value, or an array of small integers
                const std::size_t k = in.take<uint8_t>() % ints.size();
                const int code = kIntegerCodes[k];
                if (code == SS_PARAM_INDICES || code == SS_PARAM_GROUP_INDICES || code == SS_PARAM_PARTIAL_INDEX)
                    for (int64_t& v : ints[k]) v = integer_value(in, code);
                else
                    ints[k][0] = integer_value(in, code);
                qor_ss_edit_task_i(task, code, ints[k].data());
                break;
            }
            case 1: {  // any code as a real array: a result or input array, or null
                const int code = static_cast<int>(in.in(-1, 81));
                std::vector<T>& a = arrays[in.take<uint8_t>() % arrays.size()];
                for (int i = 0; i < 4; ++i) a[in.take<uint8_t>() % 16] = static_cast<T>(in.real());
                Api<T>::edit(task, code, in.take<uint8_t>() % 8 ? a.data() : nullptr);
                break;
            }
            case 2: {  // a compute call
                const auto compute = in.pick(Api<T>::compute);
                const uint64_t mask = in.take<uint8_t>() % 2 ? in.take<uint64_t>() : uint64_t{1} << in.in(0, 40);
                compute(task, mask, in.take<uint8_t>() % 4 ? in.pick(kMethods) : in.take<int32_t>());
                break;
            }
            default:  // the data themselves, read at the next compute call
                obs[in.take<uint8_t>() % obs.size()] = static_cast<T>(in.real());
                p = in.in(1, kMaxDim);
                break;
        }
    }
    qor_ss_delete_task(&task);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    FuzzInput in(data, size);
    if (in.take<uint8_t>() % 2)
        run<double>(in);
    else
        run<float>(in);
    return 0;
}
