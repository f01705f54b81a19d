// _rixdSSCorParametrization and _rixsSSCorParametrization: the symmetric
// matrix in `cor`, meant as a correlation matrix but perhaps indefinite,
// turned into a valid one in `param_cor`.
//
// With cor = V·Λ·Vᵀ (eigenvalues λ_k, eigenvectors the columns of V), every
// eigenvalue below kEigenFloor is raised to it, and the rows of V·Λ^½ are
// scaled to unit length: B_ik = V_ik·√λ_k / √s_i with s_i = Σ_k V_ik²·λ_k,
// the diagonal of V·Λ·Vᵀ.  C = B·Bᵀ then has a unit diagonal and no
// eigenvalue below 0; a matrix that was valid already comes back as it was,
// up to rounding.  The floor is absolute on purpose: the input's diagonal is
// 1, so its eigenvalues are of order 1 to p.
//
// The input is read in its storage form (a full matrix by its upper
// triangle) with the diagonal taken as 1; the whole p × p matrix takes part
// (the variable selection is not read, nor the estimate mask).  Float tasks
// are computed in double, with the same work area, and converted at the
// ends.  param_cor may be cor itself, unless a full output would overrun a
// packed input; it is written only on success.
#include <algorithm>
#include <cstdint>
#include <type_traits>

#include "qor/qor_linalg.h"
#include "qor/qor_serv.h"
#include "qor/qor_ss.h"
#include "qor/qor_vm.h"
#include "stats/matrix_storage.h"
#include "stats/task_internal.h"

namespace qor::ss {
namespace {

constexpr double kEigenFloor = 1e-14;
// The vector-math mode of the square roots and inverses: denormals kept
// (flush-to-zero off), the default accuracy, no error reporting.
constexpr uint32_t kVmMode = QOR_VM_FTZDAZ_OFF;
// Bytes of the work area: 51·p + 2·p² doubles.
constexpr int64_t kWorkPerP = 408, kWorkPerP2 = 16;

// A vector-math kernel run under kVmMode, with the caller's mode word put
// back exactly afterwards.
void vm_call(void (*kernel)(int, const double*, double*), int n, const double* a, double* r) {
    const uint32_t caller = qor_lum_kernel_RestoreMode(kVmMode);
    kernel(n, a, r);
    qor_lum_kernel_RestoreMode(caller);
}

// The work area, in doubles: the p × p matrix (input, then eigenvectors,
// then C), B, the eigenvalues, √λ, and the rest for the eigen-solver, later
// s, √s and 1/√s.
struct Work {
    double *a, *b, *lambda, *root, *solver;
    int solver_size;
};

Work carve(double* area, int64_t p) {
    Work w;
    w.a = area;
    w.b = w.a + p * p;
    w.lambda = w.b + p * p;
    w.root = w.lambda + p;
    w.solver = w.root + p;
    w.solver_size = static_cast<int>((kWorkPerP / 8 - 2) * p);  // 49·p ≥ 3·p − 1
    return w;
}

template <class T>
int32_t parametrize(SSTask* task, uint64_t, int32_t method, const qor_threading*) {
    if (!task) return SS_ERR_TASK;
    int64_t p, in_code, out_code;
    if (!read_int(*task, task->dim, p) || p < 1) return SS_ERR_DIM;
    if (!task->cor) return SS_ERR_COR;
    if (!read_int(*task, task->cor_storage, in_code)) return SS_ERR_STORAGE;
    if (!matrix_storage_valid(in_code)) return SS_ERR_OBS_STORAGE;
    if (!task->param_cor) return SS_ERR_PARAM_COR;
    if (!read_int(*task, task->param_cor_storage, out_code)) return SS_ERR_STORAGE;
    if (!matrix_storage_valid(out_code)) return SS_ERR_OBS_STORAGE;
    if (task->param_cor == task->cor && out_code == SS_MATRIX_STORAGE_FULL && in_code != SS_MATRIX_STORAGE_FULL)
        return SS_ERR_OBS_STORAGE;
    if (!(method & SS_METHOD_PARAMETRIZE)) return SS_ERR_METHOD;

    auto* area = static_cast<double*>(
        qor_serv_allocate(static_cast<size_t>(kWorkPerP * p + kWorkPerP2 * p * p), kTaskAlignment));
    if (!area) return SS_ERR_NO_MEMORY;
    const Work w = carve(area, p);
    const int n = static_cast<int>(p);

    // Column-major and symmetric: (i, j) at i + j·p.
    const T* in = static_cast<const T*>(task->cor);
    for (int64_t j = 0; j < p; ++j)
        for (int64_t i = 0; i < p; ++i) w.a[i + j * p] = i == j ? 1.0 : in[matrix_offset(in_code, p, i, j)];

    int lwork = -1, info = 0;
    qor_dsyev("V", "U", &n, w.a, &n, w.lambda, w.solver, &lwork, &info);
    lwork = info == 0 ? std::min(w.solver_size, std::max(3 * n - 1, static_cast<int>(w.solver[0]))) : w.solver_size;
    qor_dsyev("V", "U", &n, w.a, &n, w.lambda, w.solver, &lwork, &info);
    if (info != 0) {
        qor_serv_deallocate(area);
        return SS_ERR_EIGEN;
    }

    double* s = w.solver;
    double* root_s = s + p;
    double* inv_root_s = root_s + p;
    for (int64_t k = 0; k < p; ++k) w.lambda[k] = std::max(w.lambda[k], kEigenFloor);
    for (int64_t i = 0; i < p; ++i) {
        double sum = 0;
        for (int64_t k = 0; k < p; ++k) sum += w.a[i + k * p] * w.a[i + k * p] * w.lambda[k];
        s[i] = sum;
    }
    vm_call(_lumdSqrt, n, w.lambda, w.root);
    vm_call(_lumdSqrt, n, s, root_s);
    vm_call(_lumdInv, n, root_s, inv_root_s);
    for (int64_t k = 0; k < p; ++k)
        for (int64_t i = 0; i < p; ++i) w.b[i + k * p] = w.a[i + k * p] * w.root[k] * inv_root_s[i];

    const double one = 1.0, zero = 0.0;
    qor_dsyrk("U", "N", &n, &n, &one, w.b, &n, &zero, w.a, &n);

    T* out = static_cast<T*>(task->param_cor);
    for (int64_t j = 0; j < p; ++j)
        for (int64_t i = 0; i <= j; ++i) put_symmetric(out, out_code, p, i, j, w.a[i + j * p]);
    qor_serv_deallocate(area);
    return SS_OK;
}

}  // namespace
}  // namespace qor::ss

QOR_SS_COMPUTE_EXPORTS(SSCorParametrization, qor::ss::parametrize)
