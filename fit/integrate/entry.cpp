// The integration entry: the integral of every function's spline between
// pairs of limits.  Each piece is integrated from its antiderivative
//   P_i(d) = sum_k c[k] d^(k+1) / (k+1),  d = t - x[i],
// exact up to rounding: from a to b within one interval P_i(b - x[i]) -
// P_i(a - x[i]); across intervals the partial pieces at both ends plus
// P_i(x[i+1] - x[i]) of every whole cell between them, summed in order.
// Limits outside the partition fall in the end intervals, whose
// polynomials continue; a pair whose right limit lies in an earlier
// interval is integrated the right way round and negated.  A quadratic whose knots lie between the breakpoints is
// summed over its pieces, knot to knot, the same way.
//
// Pairs go in blocks of kLocateBlock; both sides' limits are located as the
// search entry would, each with its own hint, in the calling thread.
#include <algorithm>

#include "fit/piecewise.h"
#include "fit/search_plan.h"

namespace qor::kp {
namespace {

// P(d) of the piece p by Horner's rule.
template <class T>
T antiderivative(const T* p, int64_t order, T d) {
    T v = p[order - 1] / static_cast<T>(order);
    for (int64_t m = order - 2; m >= 0; --m) v = v * d + p[m] / static_cast<T>(m + 1);
    return v * d;
}

// The integral from a to b, a in interval ia, b in interval ib >= ia.
template <class T, class X>
T integral(const X& x, int64_t order, const T* c, T a, int64_t ia, T b, int64_t ib) {
    const T* pa = c + ia * order;
    if (ia == ib) return antiderivative(pa, order, b - x[ia]) - antiderivative(pa, order, a - x[ia]);
    T sum = antiderivative(pa, order, x.width(ia)) - antiderivative(pa, order, a - x[ia]);
    for (int64_t i = ia + 1; i < ib; ++i) sum += antiderivative(c + i * order, order, x.width(i));
    return sum + antiderivative(c + ib * order, order, b - x[ib]);
}

// The same with pieces that change at knots between the breakpoints: pieces
// pa <= pb, piece p running from knot[p-1] (x[0] for p = 0) to knot[p].
template <class T, class X>
T integral_by_knots(const X& x, const T* knots, const T* c, T a, int64_t pa, T b, int64_t pb) {
    constexpr int64_t kOrder = 3;
    auto at = [&](int64_t p, T t) { return antiderivative(c + p * kOrder, kOrder, t - x[p]); };
    if (pa == pb) return at(pa, b) - at(pa, a);
    T sum = at(pa, knots[pa]) - at(pa, a);
    for (int64_t p = pa + 1; p < pb; ++p) sum += at(p, knots[p]) - at(p, knots[p - 1]);
    return sum + at(pb, b) - at(pb, knots[pb - 1]);
}

template <class T>
struct Request {
    const FitTask* task;
    SearchPlan<T> left, right;
    int64_t nlim;
    const T *llim, *rlim;
    T* r;
    bool by_site;
    const T* knots;  // a quadratic of type 1: pieces change at these
};

template <class T, class C, class X>
int32_t integrate_blocks(const Request<T>& q, const X& x) {
    const FitTask& task = *q.task;
    const int64_t nx = task.nx, ny = task.ny, order = task.order;
    C lcell[kLocateBlock], rcell[kLocateBlock];
    int32_t status = 0;
    for (int64_t b = 0; b * kLocateBlock < q.nlim; ++b) {
        const int64_t first = b * kLocateBlock, n = std::min(kLocateBlock, q.nlim - first);
        if ((status = locate_block(q.left, b, n, q.llim + first, lcell)) < 0) return status;
        if ((status = locate_block(q.right, b, n, q.rlim + first, rcell)) < 0) return status;
        for (int64_t j = 0; j < ny; ++j) {
            const T* c = coefficients_of<T>(task, j);
            for (int64_t k = 0; k < n; ++k) {
                const T a = q.llim[first + k], e = q.rlim[first + k];
                T v;
                // Limits are taken in the order of their pieces: the same as
                // the order of the limits for ascending breakpoints and knots,
                // and never a walk outside them for any others (or NaN).
                if (q.knots) {
                    const int64_t pa = piece_of(lcell[k], nx, q.knots, a), pe = piece_of(rcell[k], nx, q.knots, e);
                    v = pe >= pa ? integral_by_knots(x, q.knots, c, a, pa, e, pe)
                                 : -integral_by_knots(x, q.knots, c, e, pe, a, pa);
                } else {
                    const int64_t ia = interval_of(lcell[k], nx), ie = interval_of(rcell[k], nx);
                    v = ie >= ia ? integral(x, order, c, a, ia, e, ie) : -integral(x, order, c, e, ie, a, ia);
                }
                q.r[q.by_site ? (first + k) * ny + j : j * q.nlim + first + k] = v;
            }
        }
    }
    return status;
}

template <class T>
int32_t integrate(FitTask* task, int64_t method, int64_t nlim, const T* llim, int64_t llim_hint, const T* rlim,
                  int64_t rlim_hint, const T* ldata_hint, const T* rdata_hint, T* r, int64_t rhint) {
    if (!task) return statusNullTask;
    if (task->precision != (sizeof(T) == sizeof(double))) return statusUnsupportedMethod;
    if (!task->x) return statusBadBreakpoints;
    if (task->nx < 2) return statusBadBreakpointCount;
    if (nlim < 0) return statusBadIndex;
    if (rhint != hintResultDefault && rhint != hintResultByFunction && rhint != hintResultBySite)
        return statusBadResultHint;
    if (const int32_t status = check_coefficients(*task); status != 0) return status;
    if (nlim == 0) return 0;
    if (!llim || !rlim || !r) return statusNullOutput;
    Request<T> q{task, {}, {}, nlim, llim, rlim, r, rhint == hintResultBySite, piece_knots<T>(*task)};
    if (const int32_t status = plan_search(*task, method, llim_hint, ldata_hint, q.left); status != 0) return status;
    if (const int32_t status = plan_search(*task, method, rlim_hint, rdata_hint, q.right); status != 0) return status;
    return with_breaks<T>(*task, [&](const auto& x) {
        return fits_32bit_cells(task->nx) ? integrate_blocks<T, int32_t>(q, x) : integrate_blocks<T, int64_t>(q, x);
    });
}

}  // namespace
}  // namespace qor::kp

using namespace qor::kp;

QOR_EXTERN_C {

QOR_KP_API int32_t qor_kp_kernel_sIntegrate1D(FitTask* task, int64_t method, int64_t nlim, const float* llim,
                                              int64_t llimHint, const float* rlim, int64_t rlimHint,
                                              const float* ldataHint, const float* rdataHint, float* r,
                                              int64_t rhint) {
    return integrate(task, method, nlim, llim, llimHint, rlim, rlimHint, ldataHint, rdataHint, r, rhint);
}

QOR_KP_API int32_t qor_kp_kernel_dIntegrate1D(FitTask* task, int64_t method, int64_t nlim, const double* llim,
                                              int64_t llimHint, const double* rlim, int64_t rlimHint,
                                              const double* ldataHint, const double* rdataHint, double* r,
                                              int64_t rhint) {
    return integrate(task, method, nlim, llim, llimHint, rlim, rlimHint, ldataHint, rdataHint, r, rhint);
}

}  // extern "C"
