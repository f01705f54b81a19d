/* qor: data fitting, as applications call it through the core library.
 *
 * A task (qor_fit_task) describes one-dimensional splines over nx ascending
 * breakpoints x[0] < ... < x[nx-1] for ny functions given by their values
 * at the breakpoints.  It holds the caller's addresses, never copies: the
 * breakpoints, values, conditions and coefficient arrays must outlive the
 * task.  A task is made for one precision (qor_dfit_ for double, qor_sfit_
 * for float) and used by one thread at a time:
 *   double x[3] = {0, 1, 3}, y[3] = {1, 2, 0}, c[4];
 *   qor_fit_task* task;
 *   qor_dfit_new_task(&task, 3, x, hintPartitionNonUniform, 1, y, hintValuesDefault);
 *   qor_dfit_edit_pp_spline(task, 2, 0, 0, NULL, 0, NULL, c, hintValuesDefault);
 *   qor_dfit_construct(task, QOR_FIT_LINEAR, 0);   then c = {1, 1, 2, -1}
 *   double t[2] = {0.5, 2};  int64_t cell[2];
 *   qor_dfit_search(task, 0, 2, t, 0, NULL, cell);   then cell = {1, 2}
 *   int64_t dorder[2] = {1, 1};  double v[4];
 *   qor_dfit_interpolate(task, computeValues, 0, 2, t, 0, 2, dorder, NULL, v, hintResultByFunction, NULL);
 *                                                    then v = {1.5, 1, 1, -1} (value, slope per site)
 *   double a = 0, b = 3, area;
 *   qor_dfit_integrate(task, 0, 1, &a, 0, &b, 0, NULL, NULL, &area, hintResultByFunction);   then area = 3.5
 *   qor_fit_delete_task(&task);
 *
 * Partition (xhint): hintPartitionUniform means x holds x[0] and x[nx-1]
 * only; the other hints take all nx breakpoints (qor_kp.h).  Values (yhint)
 * and coefficients: see the hints in qor_kp.h.  hintValuesWhole keeps every
 * function in one array, value i of function j at y[i*ny + j].
 *
 * Coefficients: interval i, from x[i] to x[i+1] (i = 0 .. nx-2), of function
 * j owns `order` consecutive elements from element i*order of the
 * function's coefficients; function j's coefficients start j*order*(nx-1)
 * elements after the array given (j*order*nx for spline type 1; with the
 * coefficient hint hintValuesPerFunction each function's array is set by
 * qor_?fit_edit_idx_ptr).  A linear spline (order 2) stores the value and
 * the slope: on interval i it is c[2i] + c[2i+1]*(t - x[i]).  The
 * quadratic of type 1 has knots ic[i] inside (x[i], x[i+1]) and nx pieces:
 * piece i, around x[i], serves the sites from ic[i-1] (from x[0] or below
 * for i = 0) to ic[i] (to x[nx-1] or above for i = nx-1); interpolation and
 * integration follow the knots.
 *
 * Cells: the cell of a site t is the number of breakpoints not greater than
 * t (0 below x[0], nx above x[nx-1]; a site equal to x[i] is in cell i+1),
 * except that t == x[nx-1] is in cell nx-1, so the last interval is closed.
 * Interval i holds the sites of cell i+1.  Cells are always int64_t.
 *
 * Integers: counts and codes are int64_t; QueryVal results are int64_t.
 *
 * Status: 0 or a negative code: the status... codes of qor_kp.h, and those
 * below for what the core checks first.  A null task (or handle, or *task
 * to delete) gives statusNullTask, a task of the other precision
 * statusWrongPrecision, a null output statusNullOutput; a failed check
 * touches nothing.  When the kernels cannot be used (see qor_init in qor.h)
 * every call returns the qor_init status (-901 to -904). */
#ifndef QOR_FIT_H
#define QOR_FIT_H

#include "qor_kp.h"
#include "qor_types.h"

QOR_BEGIN_C

typedef FitTask qor_fit_task;

/* Statuses of the core's own checks, apart from the kernels' codes. */
enum {
    statusWrongPrecision = -1100,  /* a qor_sfit_ call on a double task, or the reverse */
    statusBadSiteCount = -1101,    /* a negative number of sites */
    statusNullSites = -1102        /* sites null while some are to be searched */
};

/* Spline kinds of qor_?fit_construct. */
enum {
    QOR_FIT_LINEAR = 0,
    QOR_FIT_QUADRATIC = 1,
    QOR_FIT_NATURAL_CUBIC = 2,
    QOR_FIT_DEFAULT_CUBIC = 3,
    QOR_FIT_HERMITE_CUBIC = 4,
    QOR_FIT_BESSEL_CUBIC = 5,
    QOR_FIT_HYMAN_CUBIC = 6,
    QOR_FIT_AKIMA_CUBIC = 7,
    QOR_FIT_KIND_COUNT = 8
};

/* ---- Tasks ---------------------------------------------------------------------
 * A negative ny gives statusBadFunctionCount; then the checks of nx (at
 * least 2), x, the partition hint, ny (0 only without y, y given
 * otherwise) and the values hint, in that order.  On failure *task is null. */
QOR_CORE_API int qor_dfit_new_task(qor_fit_task** task, int64_t nx, const double* x, int64_t xhint, int64_t ny,
                                   const double* y, int64_t yhint);
QOR_CORE_API int qor_sfit_new_task(qor_fit_task** task, int64_t nx, const float* x, int64_t xhint, int64_t ny,
                                   const float* y, int64_t yhint);
/* Frees the task's own tables and the task, and sets *task to null. */
QOR_CORE_API int qor_fit_delete_task(qor_fit_task** task);

/* ---- Edits and queries (attribute codes attr... of qor_kp.h) ------------------------
 * All spline parameters at once: order (2 linear, 3 quadratic, 4 cubic),
 * type, boundary condition type and values, internal condition type and
 * values, coefficients (null: keep) and the coefficient hint. */
QOR_CORE_API int qor_dfit_edit_pp_spline(qor_fit_task* task, int64_t order, int64_t type, int64_t bc_type,
                                         const double* bc, int64_t ic_type, const double* ic, double* coeff,
                                         int64_t coeff_hint);
QOR_CORE_API int qor_sfit_edit_pp_spline(qor_fit_task* task, int64_t order, int64_t type, int64_t bc_type,
                                         const float* bc, int64_t ic_type, const float* ic, float* coeff,
                                         int64_t coeff_hint);
/* One array (attributes 1-5), or one function's values or coefficients
 * (attributes 2, 5) by index. */
QOR_CORE_API int qor_dfit_edit_ptr(qor_fit_task* task, int64_t attribute, const double* pointer);
QOR_CORE_API int qor_sfit_edit_ptr(qor_fit_task* task, int64_t attribute, const float* pointer);
QOR_CORE_API int qor_dfit_edit_idx_ptr(qor_fit_task* task, int64_t attribute, int64_t index, const double* pointer);
QOR_CORE_API int qor_sfit_edit_idx_ptr(qor_fit_task* task, int64_t attribute, int64_t index, const float* pointer);
/* An integer attribute (14-23), in either precision. */
QOR_CORE_API int qor_fit_edit_value(qor_fit_task* task, int64_t attribute, int64_t value);

QOR_CORE_API int qor_dfit_query_ptr(const qor_fit_task* task, int64_t attribute, const double** out);
QOR_CORE_API int qor_sfit_query_ptr(const qor_fit_task* task, int64_t attribute, const float** out);
QOR_CORE_API int qor_dfit_query_idx_ptr(const qor_fit_task* task, int64_t attribute, int64_t index,
                                        const double** out);
QOR_CORE_API int qor_sfit_query_idx_ptr(const qor_fit_task* task, int64_t attribute, int64_t index,
                                        const float** out);
QOR_CORE_API int qor_fit_query_value(const qor_fit_task* task, int64_t attribute, int64_t* out);

/* ---- Construction, search, interpolation and integration ---------------------------
 * construct builds the coefficients of every function for a kind
 * (QOR_FIT_...; another value gives statusUnsupportedMethod) and a method,
 * with the checks, boundary conditions and layout that qor_kp.h describes
 * for its entries, on at most qor_get_max_threads() threads.  A kind whose
 * construction this kernel set does not provide checks the task and gives
 * statusUnsupportedMethod, writing nothing.
 *
 * search writes the cells of nsite sites; the strategy follows the method
 * (searchMethodDefault, or searchMethodUserDefined with data_hint pointing
 * to a FitUserSearchD or FitUserSearchS record), the task's partition hint
 * and site_hint (hintSitesSorted, hintSitesClustered around breakpoint
 * data_hint[0]); data_hint may be null.
 *
 * interpolate evaluates the constructed spline of every function at nsite
 * sites, located as search locates them: type is computeValues,
 * computeCells or both; dorder holds ndorder flags, 0 or 1, flag q asking
 * for the derivative of order q (q = 0: the value; orders at or above the
 * spline's order give 0), the nd orders asked for written in ascending
 * order.  r receives, with rhint hintResultByFunction (or 0), the results
 * of function j at site i at r[(j*nsite + i)*nd + q], with hintResultBySite
 * at r[(i*ny + j)*nd + q]; cell (for computeCells) the cells of the sites.
 * A site outside [x[0], x[nx-1]] takes the end interval's polynomial.
 * Large batches run on at most qor_get_max_threads() threads.
 *
 * integrate writes, for each of nlim pairs, the integral of every
 * function's spline from llim[k] to rlim[k]: r[j*nlim + k] by function,
 * r[k*ny + j] by site.  A pair in reverse order gives the negative; limits
 * outside the partition integrate the end polynomials.  Each side's limits
 * are located with its own hint and data hint.
 *
 * Checks before any kernel runs, in order: the task and its precision; for
 * interpolate the type (statusBadComputeType), nsite (statusBadSiteCount),
 * the sites (statusNullSites), for values the orders
 * (statusBadDerivativeOrder: ndorder below 1, dorder null, a flag other
 * than 0 or 1, or none set), rhint (statusBadResultHint) and r
 * (statusNullOutput), for cells the cell array (statusNullOutput); for
 * integrate nlim (statusBadSiteCount), the limits (statusNullSites), rhint
 * and r.  Then the kernels check the task: breakpoints, coefficients
 * present (statusBadCoefficients), order and function count, and the
 * method. */
QOR_CORE_API int qor_dfit_construct(qor_fit_task* task, int kind, int64_t method);
QOR_CORE_API int qor_sfit_construct(qor_fit_task* task, int kind, int64_t method);
QOR_CORE_API int qor_dfit_search(qor_fit_task* task, int64_t method, int64_t nsite, const double* site,
                                 int64_t site_hint, const double* data_hint, int64_t* cell);
QOR_CORE_API int qor_sfit_search(qor_fit_task* task, int64_t method, int64_t nsite, const float* site,
                                 int64_t site_hint, const float* data_hint, int64_t* cell);
QOR_CORE_API int qor_dfit_interpolate(qor_fit_task* task, int64_t type, int64_t method, int64_t nsite,
                                      const double* site, int64_t site_hint, int64_t ndorder, const int64_t* dorder,
                                      const double* data_hint, double* r, int64_t rhint, int64_t* cell);
QOR_CORE_API int qor_sfit_interpolate(qor_fit_task* task, int64_t type, int64_t method, int64_t nsite,
                                      const float* site, int64_t site_hint, int64_t ndorder, const int64_t* dorder,
                                      const float* data_hint, float* r, int64_t rhint, int64_t* cell);
QOR_CORE_API int qor_dfit_integrate(qor_fit_task* task, int64_t method, int64_t nlim, const double* llim,
                                    int64_t llim_hint, const double* rlim, int64_t rlim_hint,
                                    const double* ldata_hint, const double* rdata_hint, double* r, int64_t rhint);
QOR_CORE_API int qor_sfit_integrate(qor_fit_task* task, int64_t method, int64_t nlim, const float* llim,
                                    int64_t llim_hint, const float* rlim, int64_t rlim_hint, const float* ldata_hint,
                                    const float* rdata_hint, float* r, int64_t rhint);

QOR_END_C

#endif
