// Two passes, both split among the threads and computed in double.  The
// first sums W1, W2 and w x per group over a range of observations.  The
// second walks the observations in order of group (a counting sort of
// their group numbers) and adds each group's centred rows, scaled by
// sqrt(w), to the group's C with a rank-k update of the core's BLAS
// (C += A A', A holding up to kBlock rows as columns).  Each thread has its
// own sums and matrices; the first thread's receive the others' at the end.
#include "stats/group_sums.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "qor/qor_linalg.h"
#include "qor/qor_serv.h"
#include "stats/task_internal.h"
#include "stats/variable_workers.h"

namespace qor::ss {
namespace {

constexpr int64_t kBlock = 256;
constexpr int64_t kObservationsPerThread = 4096;

template <class T>
struct SumsJob {
    const T* obs;
    const T* weights;
    int64_t p, n, q, groups;
    bool variables_in_rows;
    const int64_t* vars;
    const int64_t* group_of;  // null: every observation in group 0
    const int64_t* order;     // grouped observations by group; null: 0 .. n-1
    const int64_t* first;     // order[first[g] .. first[g+1]) are group g's
    int threads;
    double* head;             // threads x groups x (q + 2)
    double* cp;               // threads x groups x q x q
    double* blocks;           // threads x q x kBlock

    double x(int64_t j, int64_t a) const { return variables_in_rows ? obs[vars[a] * n + j] : obs[j * p + vars[a]]; }
    double w(int64_t j) const { return weights ? static_cast<double>(weights[j]) : 1.0; }
    int64_t group(int64_t j) const { return group_of ? group_of[j] : 0; }

    void first_pass(int t) const {
        double* own = head + static_cast<int64_t>(t) * groups * (q + 2);
        const int64_t lo = n * t / threads, hi = n * (t + 1) / threads;
        for (int64_t j = lo; j < hi; ++j) {
            if (group(j) < 0) continue;
            double* s = own + group(j) * (q + 2);
            const double wj = w(j);
            s[0] += wj, s[1] += wj * wj;
            for (int64_t a = 0; a < q; ++a) s[2 + a] += wj * x(j, a);
        }
    }

    void second_pass(int t) const {
        double* block = blocks + static_cast<int64_t>(t) * q * kBlock;
        const int64_t total = first[groups], lo = total * t / threads, hi = total * (t + 1) / threads;
        const int qi = static_cast<int>(q);
        const double one = 1.0;
        for (int64_t at = lo; at < hi;) {
            const int64_t g = group(order ? order[at] : at);
            const int64_t end = std::min({hi, first[g + 1], at + kBlock});
            const double* m = head + g * (q + 2) + 2;  // the means, in the first thread's sums
            for (int64_t r = at; r < end; ++r) {
                const int64_t j = order ? order[r] : r;
                const double root = std::sqrt(w(j));
                double* col = block + (r - at) * q;
                for (int64_t a = 0; a < q; ++a) col[a] = (x(j, a) - m[a]) * root;
            }
            const int rows = static_cast<int>(end - at);
            qor_dsyrk("U", "N", &qi, &rows, &one, block, &qi, &one, cp + (static_cast<int64_t>(t) * groups + g) * q * q,
                      &qi);
            at = end;
        }
    }
};

}  // namespace

template <class T>
int32_t group_sums(const T* obs, const T* weights, int64_t p, int64_t n, bool variables_in_rows, const int64_t* vars,
                   int64_t q, const int64_t* group_of, int64_t groups, const qor_threading* threading, GroupSums& sums) {
    const int threads = static_cast<int>(std::clamp<int64_t>(n / kObservationsPerThread, 1, thread_limit(threading)));
    int64_t head_len, cp_len;
    size_t b_order, b_first, b_head, b_cp, b_blocks, total = 0;
    if (__builtin_mul_overflow(groups, q + 2, &head_len) || __builtin_mul_overflow(head_len, int64_t(threads), &head_len) ||
        __builtin_mul_overflow(groups, q * q, &cp_len) || __builtin_mul_overflow(cp_len, int64_t(threads), &cp_len) ||
        !aligned_bytes(group_of ? n : 0, sizeof(int64_t), b_order) ||
        !aligned_bytes(groups + 1, sizeof(int64_t), b_first) || !aligned_bytes(head_len, sizeof(double), b_head) ||
        !aligned_bytes(cp_len, sizeof(double), b_cp) || !aligned_bytes(q * kBlock * threads, sizeof(double), b_blocks))
        return SS_ERR_NO_MEMORY;
    for (size_t part : {b_order, b_first, b_head, b_cp, b_blocks})
        if (__builtin_add_overflow(total, part, &total)) return SS_ERR_NO_MEMORY;
    char* buffer = static_cast<char*>(qor_serv_allocate(total, kTaskAlignment));
    if (!buffer) return SS_ERR_NO_MEMORY;
    std::memset(buffer, 0, b_order + b_first + b_head + b_cp);
    auto* order = reinterpret_cast<int64_t*>(buffer);
    auto* first = reinterpret_cast<int64_t*>(buffer + b_order);
    auto* head = reinterpret_cast<double*>(buffer + b_order + b_first);
    auto* cp = reinterpret_cast<double*>(buffer + b_order + b_first + b_head);
    auto* blocks = reinterpret_cast<double*>(buffer + b_order + b_first + b_head + b_cp);

    // The counting sort: first[g] ends as the start of group g.
    if (group_of) {
        for (int64_t j = 0; j < n; ++j)
            if (group_of[j] >= 0) ++first[group_of[j] + 1];
        for (int64_t g = 0; g < groups; ++g) first[g + 1] += first[g];
        for (int64_t j = 0; j < n; ++j)
            if (group_of[j] >= 0) order[first[group_of[j]]++] = j;
        for (int64_t g = groups; g > 0; --g) first[g] = first[g - 1];
        first[0] = 0;
    } else {
        first[1] = n;
    }

    SumsJob<T> job{obs, weights, p, n, q, groups, variables_in_rows, vars, group_of, group_of ? order : nullptr,
                   first, threads, head, cp, blocks};
    auto pass1 = [&job](int t) { job.first_pass(t); };
    run_workers(threading, threads, pass1);
    const int64_t stride = groups * (q + 2);
    for (int t = 1; t < threads; ++t)
        for (int64_t i = 0; i < stride; ++i) head[i] += head[t * stride + i];
    for (int64_t g = 0; g < groups; ++g)
        for (int64_t a = 0; a < q; ++a) head[g * (q + 2) + 2 + a] /= head[g * (q + 2)];
    auto pass2 = [&job](int t) { job.second_pass(t); };
    if (q > 0) run_workers(threading, threads, pass2);
    const int64_t cstride = groups * q * q;
    for (int t = 1; t < threads; ++t)
        for (int64_t i = 0; i < cstride; ++i) cp[i] += cp[t * cstride + i];
    sums = {groups, q, head, cp, buffer};
    return SS_OK;
}

void release_group_sums(GroupSums& sums) {
    qor_serv_deallocate(sums.buffer);
    sums = {};
}

template int32_t group_sums<double>(const double*, const double*, int64_t, int64_t, bool, const int64_t*, int64_t,
                                    const int64_t*, int64_t, const qor_threading*, GroupSums&);
template int32_t group_sums<float>(const float*, const float*, int64_t, int64_t, bool, const int64_t*, int64_t,
                                   const int64_t*, int64_t, const qor_threading*, GroupSums&);

}  // namespace qor::ss
