// Two passes over ranges of observations, split among the threads and
// computed in double.  The first sums W1, W2 and w x per group.  The second
// appends each observation's centred row, scaled by sqrt(w), to a block of
// its group, and adds every full block to the group's C with a rank-k
// update of the core's BLAS (C += A'A, A holding up to kBlock rows, one
// column per variable).  Each thread has its own sums, matrices and
// blocks; the first thread's receive the others' at the end.
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

constexpr int64_t kBlock = 512;
// The blocks of one thread, all groups together, stay within this size; with
// many groups a block has fewer rows, down to one.
constexpr int64_t kBlockBytes = 1 << 21;
// Columns of a block lie kPad values more than its rows apart, so that the
// q values of one row, stored together, do not share a cache set.
constexpr int64_t kPad = 8;
constexpr int64_t kObservationsPerThread = 4096;

template <class T>
struct SumsJob {
    const T* obs;
    const T* weights;
    int64_t p, n, q, groups;
    bool variables_in_rows;
    const int64_t* vars;
    const int64_t* group_of;  // null: every observation in group 0
    int threads;
    int64_t rows;             // rows of a block
    int64_t ld;               // distance between its columns
    double* head;             // threads x groups x (q + 2)
    double* cp;               // threads x groups x q x q
    double* blocks;           // threads x groups x q x ld
    int64_t* fill;            // threads x groups: rows in each block

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
            if (variables_in_rows) {
                for (int64_t a = 0; a < q; ++a) s[2 + a] += wj * static_cast<double>(obs[vars[a] * n + j]);
            } else {
                const T* row = obs + j * p;
                for (int64_t a = 0; a < q; ++a) s[2 + a] += wj * static_cast<double>(row[vars[a]]);
            }
        }
    }

    // Appends observation j's centred, weighted row to its group's block;
    // a full block goes into the group's C.
    void second_pass(int t) const {
        double* own = blocks + static_cast<int64_t>(t) * groups * q * ld;
        int64_t* filled = fill + static_cast<int64_t>(t) * groups;
        const int64_t lo = n * t / threads, hi = n * (t + 1) / threads;
        for (int64_t j = lo; j < hi; ++j) {
            const int64_t g = group(j);
            if (g < 0) continue;
            const double* m = head + g * (q + 2) + 2;  // the means, in the first thread's sums
            const double root = weights ? std::sqrt(w(j)) : 1.0;
            double* block = own + g * q * ld + filled[g];
            if (variables_in_rows) {
                for (int64_t a = 0; a < q; ++a) block[a * ld] = (static_cast<double>(obs[vars[a] * n + j]) - m[a]) * root;
            } else {
                const T* row = obs + j * p;
                for (int64_t a = 0; a < q; ++a) block[a * ld] = (static_cast<double>(row[vars[a]]) - m[a]) * root;
            }
            if (++filled[g] == rows) flush(t, g, own + g * q * ld, filled[g]);
        }
        for (int64_t g = 0; g < groups; ++g)
            if (filled[g]) flush(t, g, own + g * q * ld, filled[g]);
    }

    // C_g += A'A, A the block's `count` rows.
    void flush(int t, int64_t g, const double* block, int64_t& count) const {
        const int qi = static_cast<int>(q), ci = static_cast<int>(count), lda = static_cast<int>(ld);
        const double one = 1.0;
        qor_dsyrk("U", "T", &qi, &ci, &one, block, &lda, &one, cp + (static_cast<int64_t>(t) * groups + g) * q * q, &qi);
        count = 0;
    }
};

}  // namespace

template <class T>
int32_t group_sums(const T* obs, const T* weights, int64_t p, int64_t n, bool variables_in_rows, const int64_t* vars,
                   int64_t q, const int64_t* group_of, int64_t groups, const qor_threading* threading, GroupSums& sums) {
    const int threads = static_cast<int>(std::clamp<int64_t>(n / kObservationsPerThread, 1, thread_limit(threading)));
    const int64_t rows = std::clamp<int64_t>(kBlockBytes / 8 / std::max<int64_t>(1, groups * q), 1, kBlock);
    int64_t head_len, cp_len, block_len, fill_len;
    size_t b_head, b_cp, b_blocks, b_fill, total = 0;
    if (__builtin_mul_overflow(groups, q + 2, &head_len) || __builtin_mul_overflow(head_len, int64_t(threads), &head_len) ||
        __builtin_mul_overflow(groups, q * q, &cp_len) || __builtin_mul_overflow(cp_len, int64_t(threads), &cp_len) ||
        __builtin_mul_overflow(groups, q * (rows + kPad), &block_len) ||
        __builtin_mul_overflow(block_len, int64_t(threads), &block_len) ||
        __builtin_mul_overflow(groups, int64_t(threads), &fill_len) || !aligned_bytes(head_len, sizeof(double), b_head) ||
        !aligned_bytes(cp_len, sizeof(double), b_cp) || !aligned_bytes(block_len, sizeof(double), b_blocks) ||
        !aligned_bytes(fill_len, sizeof(int64_t), b_fill))
        return SS_ERR_NO_MEMORY;
    for (size_t part : {b_head, b_cp, b_blocks, b_fill})
        if (__builtin_add_overflow(total, part, &total)) return SS_ERR_NO_MEMORY;
    char* buffer = static_cast<char*>(qor_serv_allocate(total, kTaskAlignment));
    if (!buffer) return SS_ERR_NO_MEMORY;
    std::memset(buffer, 0, b_head + b_cp);
    auto* head = reinterpret_cast<double*>(buffer);
    auto* cp = reinterpret_cast<double*>(buffer + b_head);
    auto* blocks = reinterpret_cast<double*>(buffer + b_head + b_cp);
    auto* fill = reinterpret_cast<int64_t*>(buffer + b_head + b_cp + b_blocks);
    std::memset(fill, 0, b_fill);

    SumsJob<T> job{obs, weights, p, n, q, groups, variables_in_rows, vars, group_of, threads, rows, rows + kPad, head, cp, blocks, fill};
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
