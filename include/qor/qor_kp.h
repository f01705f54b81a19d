/* Data fitting: the exported interface of the kernel library.
 *
 * A task (FitTask) describes a one-dimensional fitting problem: nx ascending
 * breakpoints, ny functions given by their values at the breakpoints, the
 * spline to build (order, type, boundary and internal conditions) and where
 * its coefficients go.  The task keeps the caller's array addresses, never
 * copies; it owns only the tables it allocates itself: the per-function
 * pointer tables of the values and of the coefficients, and a search table
 * over the breakpoints.
 *
 * Every function returns 0 or one of the negative status codes below. */
#ifndef QOR_KP_H
#define QOR_KP_H

#include "qor_threading.h"
#include "qor_types.h"

#ifndef QOR_KP_API
#  ifdef QOR_BUILDING_KERNELS
#    define QOR_KP_API QOR_EXPORT
#  else
#    define QOR_KP_API QOR_IMPORT
#  endif
#endif

QOR_BEGIN_C

/* ---- Status codes ---------------------------------------------------------- */

enum {
    statusNullTask = -1000,              /* the task, or the handle's content, is null */
    statusNoMemory = -1001,
    statusUnsupportedMethod = -1002,     /* construction method or quadratic type */
    statusBadBreakpointCount = -1004,    /* nx too small */
    statusBadBreakpoints = -1005,        /* breakpoints null */
    statusBadPartitionHint = -1006,      /* partition hint not 0, 1, 2, 4 */
    statusBadFunctionCount = -1007,      /* ny below 1 where needed, or 0 with values given */
    statusBadFunctionValues = -1008,     /* function values null */
    statusBadValuesHint = -1009,         /* values hint invalid, or a per-function pointer under hint 32 */
    statusBadSplineOrder = -1010,
    statusBadSplineType = -1011,
    statusBadInternalCondType = -1012,   /* invalid, or given without values to go with it */
    statusBadInternalCondValues = -1013,
    statusBadBoundaryCondType = -1014,
    statusBadBoundaryCondValues = -1015,
    statusBadCoefficients = -1016,       /* coefficient pointer null */
    statusBadCoefficientHint = -1017,
    statusBadPeriodicValues = -1018,     /* periodic condition with unequal first and last values */
    statusBadAttribute = -1019,
    statusBadIndex = -1020,              /* function index out of range */
    statusBadFlagValue = -1036,          /* attribute 23 not 0 or 1 */
    statusNullOutput = -1037             /* a query's output pointer is null */
};

/* ---- Attribute codes ---------------------------------------------------------
 * 1-5: pointers (EditPtr, QueryPtr; 2 and 5 also per function by index);
 * 14-23: integers (EditVal, QueryVal). */

enum {
    attrBreakpoints = 1,
    attrFunctionValues = 2,
    attrInternalCondValues = 3,
    attrBoundaryCondValues = 4,
    attrCoefficients = 5,
    attrBreakpointCount = 14,
    attrPartitionHint = 15,
    attrFunctionCount = 16,
    attrValuesHint = 17,
    attrSplineOrder = 18,
    attrSplineType = 19,
    attrInternalCondType = 20,
    attrBoundaryCondType = 21,
    attrCoefficientHint = 22,
    attrFlag23 = 23
};

/* ---- Hints -------------------------------------------------------------------
 * Partition: with hintPartitionUniform the breakpoint array holds only
 * x[0] and x[nx-1], and the task builds no search table.
 * Values and coefficients: how the per-function pointer tables are filled
 * from the caller's one pointer p (elements of the task's precision):
 *   hintValuesDefault, hintValuesByFunction  entry j is p + j*run, where run
 *                                            is nx for values and the
 *                                            coefficient count of one
 *                                            function for coefficients;
 *   hintValuesWhole                          values only: a single entry p
 *                                            for all functions, read whole by
 *                                            the construction workers: value
 *                                            i of function j at p[i*ny + j]
 *                                            (breakpoint by breakpoint);
 *   hintValuesPerFunction                    entry 0 is p, the others are
 *                                            set one by one (EditIdxPtr). */

enum {
    hintPartitionNone = 0,
    hintPartitionNonUniform = 1,
    hintPartitionQuasiUniform = 2,
    hintPartitionUniform = 4,
    hintValuesDefault = 0,
    hintValuesByFunction = 16,
    hintValuesWhole = 32,
    hintValuesPerFunction = 128
};

/* ---- The task record ------------------------------------------------------- */

/* binScale in the task's precision, in one 8-byte slot. */
typedef union FitScale {
    double d;
    float s;
} FitScale;

typedef struct FitTask {
    uint32_t indexWidth;     /* 0: integers handed back are 32-bit, else 64-bit */
    uint8_t tag;             /* 4 */
    uint32_t precision;      /* 1 double, 0 single */
    uint32_t kind;           /* 1 for every task made by NewTask1D */
    int64_t nx;              /* breakpoints */
    const void* x;
    int64_t xhint;           /* hintPartition... */
    int64_t ny;              /* functions */
    const void** yTable;     /* task-owned: the values of function j at yTable[j] */
    int64_t yhint;           /* hintValues... */
    int64_t order;           /* coefficients per interval */
    int64_t type;            /* spline type */
    int64_t icType;
    const void* ic;
    int64_t bcType;
    const void* bc;
    void** coeffTable;       /* task-owned: the coefficients of function j at coeffTable[j] */
    int64_t coeffHint;
    uint32_t flag23;
    int64_t binCount;        /* bins of binTable, 0 without one */
    int64_t* binTable;       /* task-owned: binCount + 2 pairs (lo, hi) of breakpoint indexes */
    FitScale binScale;       /* binCount / (x[nx-1] - x[0]) */
} FitTask;

/* ---- Task operations -----------------------------------------------------------
 * NewTask1D checks, in order: nx below 2 (statusBadBreakpointCount), x null,
 * the partition hint, ny 0 with y given (statusBadFunctionCount), ny non-zero
 * without y, the values hint; a null handle gives statusNullTask.  The record
 * is in *task as soon as it exists: after statusNoMemory it holds what was
 * built so far, for DeleteTask. */
QOR_KP_API int32_t qor_kp_kernel_sNewTask1D(FitTask** task, int64_t nx, const float* x, int64_t xhint, int64_t ny,
                                            const float* y, int64_t yhint, uint32_t indexWidth);
QOR_KP_API int32_t qor_kp_kernel_dNewTask1D(FitTask** task, int64_t nx, const double* x, int64_t xhint, int64_t ny,
                                            const double* y, int64_t yhint, uint32_t indexWidth);
QOR_KP_API int32_t qor_kp_kernel_DeleteTask(FitTask** task);

/* All spline parameters at once.  Fields are stored as their checks pass
 * (order and type, then the boundary, then the internal conditions), so a
 * later failure keeps the earlier ones; coeffHint is stored last, unchecked.
 * A non-null scoeff rebuilds the coefficient table. */
QOR_KP_API int32_t qor_kp_kernel_sEditPPSpline1D(FitTask* task, int64_t order, int64_t type, int64_t bcType,
                                                 const float* bc, int64_t icType, const float* ic, float* scoeff,
                                                 int64_t coeffHint);
QOR_KP_API int32_t qor_kp_kernel_dEditPPSpline1D(FitTask* task, int64_t order, int64_t type, int64_t bcType,
                                                 const double* bc, int64_t icType, const double* ic, double* scoeff,
                                                 int64_t coeffHint);

/* Edits and queries do nothing and return 0 on a task whose kind is not 1.
 * EditPtr of attrBreakpoints leaves the search table as it is: editing
 * attrPartitionHint to 1 rebuilds it.  EditPtr of attrFunctionValues and
 * attrCoefficients rebuilds that table from the task's current fields.
 * EditIdxPtr makes a table of ny entries when there is none, and refuses
 * (statusBadIndex) an index beyond a table built while ny was smaller. */
QOR_KP_API int32_t qor_kp_kernel_sEditPtr(FitTask* task, int64_t attribute, const float* pointer);
QOR_KP_API int32_t qor_kp_kernel_dEditPtr(FitTask* task, int64_t attribute, const double* pointer);
QOR_KP_API int32_t qor_kp_kernel_sEditIdxPtr(FitTask* task, int64_t attribute, int64_t index, const float* pointer);
QOR_KP_API int32_t qor_kp_kernel_dEditIdxPtr(FitTask* task, int64_t attribute, int64_t index, const double* pointer);
QOR_KP_API int32_t qor_kp_kernel_iEditVal(FitTask* task, int64_t attribute, int64_t value);

/* QueryVal writes an int64_t when the task's indexWidth is non-zero, else an
 * int32_t.  QueryIdxPtr accepts index 0 to ny inclusive; index ny reads the
 * spare slot after a table's last entry.  A pointer read from a missing
 * table, or from beyond one, is null. */
QOR_KP_API int32_t qor_kp_kernel_sQueryPtr(const FitTask* task, int64_t attribute, const float** out);
QOR_KP_API int32_t qor_kp_kernel_dQueryPtr(const FitTask* task, int64_t attribute, const double** out);
QOR_KP_API int32_t qor_kp_kernel_sQueryIdxPtr(const FitTask* task, int64_t attribute, int64_t index, const float** out);
QOR_KP_API int32_t qor_kp_kernel_dQueryIdxPtr(const FitTask* task, int64_t attribute, int64_t index,
                                              const double** out);
QOR_KP_API int32_t qor_kp_kernel_iQueryVal(const FitTask* task, int64_t attribute, void* out);

/* ---- Construction entries ------------------------------------------------------
 * Each validates the task for its kind and writes the coefficients through
 * coeffTable: the task, an argument this level ignores, the method code and
 * the threading services (null: the calling thread only).
 *
 * Interval i (from x[i] to x[i+1]) of function j owns `order` coefficients
 * from coeffTable[j][i*order].  Linear (method 0): c[2i] = y_j[i] and
 * c[2i+1] = (y_j[i+1] - y_j[i]) / (x[i+1] - x[i]), the slope; a uniform
 * partition multiplies by (nx-1) / (x[nx-1] - x[0]) instead.  Boundary
 * condition 64 (periodic) needs y_j[0] == y_j[nx-1] in every function, else
 * statusBadPeriodicValues and nothing is written.  After the checks of its
 * kind, a value table or coefficient table without an entry for every
 * function gives statusBadFunctionValues or statusBadCoefficients.
 * Coefficients may overlap the values only by holding each function's
 * values in the last nx elements of its own coefficients (built in place,
 * serially); any other overlap leaves the coefficients undefined.
 *
 * Quadratic and cubic splines (order 3 and 4): piece i is
 * sum_k c[i*order + k] * (t - x[i])^k.  Their coefficients must not overlap
 * the values or breakpoints.  Every kind interpolates the values.
 *   Natural, Default  cubic with continuous second derivative under the
 *                     boundary condition (one tridiagonal solve, cyclic when
 *                     periodic); Default takes method 0 only.
 *   Hermite           derivatives at x[1..nx-2] given: icType
 *                     icFirstDerivatives, nx-2 values per function in ic
 *                     (function j's from ic + j*(nx-2)); periodic takes the
 *                     common end derivative from bc[0].
 *   Bessel            derivative at x[i] of the parabola through x[i-1..i+1].
 *   Akima             Akima's (1970) weighted slopes; bcType 0: Akima's own
 *                     ends (slopes continued linearly past them).
 *   Hyman             the Natural spline's derivatives through Hyman's
 *                     monotonicity filter (clipped to [0, 3 min|m|] with the
 *                     slopes' sign, 0 at an extremum): monotone data give a
 *                     monotone spline; the filter may override an end
 *                     condition.
 * The cubic boundary conditions, bcType: bcFreeEnd, bcNotAKnot, bcPeriodic
 * (first == last value in every function, else statusBadPeriodicValues;
 * s' and s'' periodic) or one condition per end with its value in bc: the
 * sum of bcFirstLeft or bcSecondLeft (bc[0]) and bcFirstRight or
 * bcSecondRight (bc[1]).  Hermite, Bessel and Akima set an end derivative
 * from the condition and the derivatives next to it.
 * The quadratic: type 0, knots at the breakpoints, continuous first
 * derivative, bcType bcQuadraticMiddleValue with bc[0] the value at the
 * middle of the first interval; type 1, knots between the breakpoints in ic
 * (icType with bit icKnots, ic[k] strictly inside (x[k], x[k+1])), continuous
 * first derivative, a cubic boundary condition (bcFreeEnd: second
 * derivative 0; bcNotAKnot: the first and last knots inactive).  Type 1 has
 * nx pieces: piece i, around x[i], runs from knot i-1 (or x[0]) to knot i
 * (or x[nx-1]), so a site between knot i and x[i+1] takes piece i+1. */
enum {
    bcFreeEnd = 1,
    bcNotAKnot = 2,
    bcFirstLeft = 4,
    bcFirstRight = 8,
    bcSecondLeft = 16,
    bcSecondRight = 32,
    bcPeriodic = 64,
    bcQuadraticMiddleValue = 128,
    icFirstDerivatives = 1,
    icKnots = 8
};
#define QOR_KP_CONSTRUCTION_ENTRY(kind)                                                                    \
    QOR_KP_API int32_t qor_kp_kernel_sKP##kind##Spline1D(FitTask* task, int64_t reserved, int64_t method, \
                                                         const qor_threading* threading);                  \
    QOR_KP_API int32_t qor_kp_kernel_dKP##kind##Spline1D(FitTask* task, int64_t reserved, int64_t method, \
                                                         const qor_threading* threading);

QOR_KP_CONSTRUCTION_ENTRY(Linear)
QOR_KP_CONSTRUCTION_ENTRY(Quadratic)
QOR_KP_CONSTRUCTION_ENTRY(NaturalCubic)
QOR_KP_CONSTRUCTION_ENTRY(DefaultCubic)
QOR_KP_CONSTRUCTION_ENTRY(HermiteCubic)
QOR_KP_CONSTRUCTION_ENTRY(BesselCubic)
QOR_KP_CONSTRUCTION_ENTRY(HymanCubic)
QOR_KP_CONSTRUCTION_ENTRY(AkimaCubic)

/* ---- Cell search -----------------------------------------------------------------
 * The cell of a site t among x[0] < ... < x[nx-1] is the number of
 * breakpoints not greater than t, except that t == x[nx-1] is in cell nx-1;
 * a NaN site is in cell 0.
 *
 * The entry picks a kernel from the task's partition hint and the site hint
 * (dataHint carries a strategy's parameter, such as the peak breakpoint) and
 * writes nsite cells in the task's integer width.  Site hints: 4 the sites
 * ascend; 64 they cluster around breakpoint dataHint[0]; any other value says
 * nothing.  A uniform partition is computed whatever the site hint.  With
 * searchMethodUserDefined (below) the caller's function suggests the cells.
 * Checks: statusNullTask, statusBadBreakpoints (no breakpoints),
 * statusBadBreakpointCount (nx below 2), statusUnsupportedMethod (the entry's
 * precision is not the task's), statusBadIndex (nsite negative),
 * statusNullOutput (sites or cells null for a non-empty batch),
 * statusUnsupportedMethod (an unknown method, or the user-defined one without
 * a function), statusNoMemory (a work buffer could not be had). */
QOR_KP_API int32_t qor_kp_kernel_sKPSearch1D(FitTask* task, int64_t method, int64_t nsite, const float* site,
                                             int64_t siteHint, const float* dataHint, void* cell);
QOR_KP_API int32_t qor_kp_kernel_dKPSearch1D(FitTask* task, int64_t method, int64_t nsite, const double* site,
                                             int64_t siteHint, const double* dataHint, void* cell);

/* The caller's own search for the user-defined kernels: fills the suggested
 * cells of the *nsite sites and sets a site's flag non-zero when its cell is
 * final.  A negative return is an error; 1000 means every cell is final. */
typedef struct FitSearchParams {
    void* word[2];
} FitSearchParams;
typedef int32_t (*FitSearchFnS)(int64_t* nsite, const float* site, int64_t* cell, int32_t* flag,
                                FitSearchParams params);
typedef int32_t (*FitSearchFnD)(int64_t* nsite, const double* site, int64_t* cell, int32_t* flag,
                                FitSearchParams params);

/* The kernels, per strategy: suffix 32 computes and writes 32-bit cells,
 * 64 computes and writes 64-bit cells, 64Pack computes in 32 bits and writes
 * 64-bit cells; without a suffix the kernel writes cells of the width
 * indexWidth names (0: 32-bit).  Common arguments: nx, the breakpoints (for
 * the uniform strategies x[0] and x[nx-1] only), nsite, the sites, then the
 * strategy's parameters, last the cells. */
#define QOR_KP_SEARCH_KERNELS(p, T, strategy, ...)                                                            \
    QOR_KP_API int32_t qor_kp_kernel_##p##KP##strategy##Search1D32(int64_t nx, const T* x, int64_t nsite,     \
                                                                   const T* site, __VA_ARGS__, int32_t* cell); \
    QOR_KP_API int32_t qor_kp_kernel_##p##KP##strategy##Search1D64(int64_t nx, const T* x, int64_t nsite,     \
                                                                   const T* site, __VA_ARGS__, int64_t* cell); \
    QOR_KP_API int32_t qor_kp_kernel_##p##KP##strategy##Search1D64Pack(                                       \
        int64_t nx, const T* x, int64_t nsite, const T* site, __VA_ARGS__, int64_t* cell);                    \
    QOR_KP_API int32_t qor_kp_kernel_##p##KP##strategy##Search1D(uint32_t indexWidth, int64_t nx, const T* x, \
                                                                 int64_t nsite, const T* site, __VA_ARGS__,   \
                                                                 void* cell);

#define QOR_KP_SEARCH_FAMILY(p, T, SearchFn)                                                                  \
    /* scale: (nx-1) / (x[nx-1] - x[0]) */                                                                    \
    QOR_KP_SEARCH_KERNELS(p, T, Uniform, T scale)                                                             \
    QOR_KP_SEARCH_KERNELS(p, T, QuasiUniform, T scale)                                                        \
    /* peak: the breakpoint index the sites cluster around */                                                 \
    QOR_KP_SEARCH_KERNELS(p, T, Peak, T peak)                                                                 \
    /* the task's binScale and binTable */                                                                    \
    QOR_KP_SEARCH_KERNELS(p, T, Hybrid, T binScale, const int64_t* binTable)                                  \
    QOR_KP_SEARCH_KERNELS(p, T, UserDef, SearchFn search, FitSearchParams params, int32_t* flag)              \
    QOR_KP_SEARCH_KERNELS(p, T, UniUserDef, SearchFn search, FitSearchParams params, int32_t* flag)           \
    /* Sorted sites: start is the running start index, read and written back */                               \
    QOR_KP_API int32_t qor_kp_kernel_##p##KPSortedSearch1D32(int64_t nx, const T* x, int64_t nsite,           \
                                                             const T* site, int32_t* start, int32_t* cell);   \
    QOR_KP_API int32_t qor_kp_kernel_##p##KPSortedSearch1D64(int64_t nx, const T* x, int64_t nsite,           \
                                                             const T* site, int64_t* start, int64_t* cell);   \
    QOR_KP_API int32_t qor_kp_kernel_##p##KPSortedSearch1D64Pack(int64_t nx, const T* x, int64_t nsite,       \
                                                                 const T* site, int64_t* start,               \
                                                                 int64_t* cell);                              \
    QOR_KP_API int32_t qor_kp_kernel_##p##KPSortedSearch1D(uint32_t indexWidth, int64_t nx, const T* x,       \
                                                           int64_t nsite, const T* site, void* start,         \
                                                           void* cell);

QOR_KP_SEARCH_FAMILY(s, float, FitSearchFnS)
QOR_KP_SEARCH_FAMILY(d, double, FitSearchFnD)

/* ---- Search entry methods, interpolation and integration ------------------------
 * Site hints of the search, interpolation and integration entries:
 * hintSitesSorted, the sites ascend; hintSitesClustered, they cluster around
 * breakpoint dataHint[0]; hintSitesAny (or any other value) says nothing.
 *
 * Methods of the search: searchMethodDefault picks the strategy from the
 * hints; searchMethodUserDefined asks the caller's own search function,
 * given by a FitUserSearchS or FitUserSearchD record whose address is passed
 * as dataHint (cast to the entry's pointer type); the function is asked for
 * at most 1024 sites at a time and its flags start at 0 on every call.
 *
 * Results of the interpolation and integration: with hintResultByFunction
 * (or hintResultDefault) the results of function j come in one run, site
 * (or limit pair) by site; with hintResultBySite the results of one site
 * come together, function by function.  Interpolation writes nd results per
 * site and function, nd the number of derivative orders asked for, in
 * ascending order:
 *   by function  r[(j*nsite + i)*nd + q]
 *   by site      r[(i*ny + j)*nd + q]
 * integration one per limit pair k: r[j*nlim + k], or r[k*ny + j]. */
enum {
    hintSitesAny = 0,
    hintSitesSorted = 4,
    hintSitesClustered = 64,
    searchMethodDefault = 0,
    searchMethodUserDefined = 1,
    computeValues = 1,               /* interpolation: values and derivatives */
    computeCells = 2,                /* interpolation: the cells of the sites */
    hintResultDefault = 0,
    hintResultByFunction = 1,
    hintResultBySite = 2,
    statusBadComputeType = -1040,    /* interpolation asked for neither values nor cells */
    statusBadDerivativeOrder = -1041, /* no order, a null order array, or a flag other than 0 and 1 */
    statusBadResultHint = -1042
};

typedef struct FitUserSearchS {
    FitSearchFnS search;
    FitSearchParams params;
} FitUserSearchS;
typedef struct FitUserSearchD {
    FitSearchFnD search;
    FitSearchParams params;
} FitUserSearchD;

/* Values and derivatives of the spline of every function at nsite sites,
 * and (computeCells in type) the cells of the sites in the task's integer
 * width.  dorder holds ndorder flags, 0 or 1: flag k asks for the derivative
 * of order k (0: the value); orders at or above the spline's order are 0.
 * The sites are located as the search entry does with method, siteHint and
 * dataHint; a site outside [x[0], x[nx-1]] takes the end polynomial (cell 0
 * interval 0, cell nx interval nx-2), every coefficient set of any order is
 * evaluated by Horner's rule.  Batches of more than 4096 sites run in blocks
 * through the threading services (null: the calling thread); a user-defined
 * search runs in the calling thread.  Checks, in order, with nothing written
 * on failure: statusNullTask, statusUnsupportedMethod (the other precision),
 * statusBadBreakpoints, statusBadBreakpointCount, statusBadComputeType,
 * statusBadIndex (nsite negative), then for values statusBadDerivativeOrder,
 * statusBadResultHint, statusBadSplineOrder (order below 1),
 * statusBadFunctionCount (ny below 1), statusBadCoefficients (a function
 * without coefficients); then statusNullOutput for null sites, results or
 * cells of a non-empty batch, and statusUnsupportedMethod for an unknown
 * method.  A user search function's status is returned as the search entry
 * returns it. */
QOR_KP_API int32_t qor_kp_kernel_sInterpolate1D(FitTask* task, int64_t type, int64_t method, int64_t nsite,
                                                const float* site, int64_t siteHint, int64_t ndorder,
                                                const int64_t* dorder, const float* dataHint, float* r,
                                                int64_t rhint, void* cell, const qor_threading* threading);
QOR_KP_API int32_t qor_kp_kernel_dInterpolate1D(FitTask* task, int64_t type, int64_t method, int64_t nsite,
                                                const double* site, int64_t siteHint, int64_t ndorder,
                                                const int64_t* dorder, const double* dataHint, double* r,
                                                int64_t rhint, void* cell, const qor_threading* threading);

/* The integral of the spline of every function from llim[k] to rlim[k],
 * k = 0 .. nlim-1.  Limits may come in either order (a reversed pair gives
 * the negative) and lie outside the partition (the end polynomials
 * continue).  Each piece is integrated exactly from its antiderivative and
 * the whole cells between the limits are summed.  Each side's limits are
 * located as the search entry does with the method, its hint and data hint.
 * Checks as for the interpolation, with statusBadIndex for a negative nlim
 * and statusNullOutput for null limits or results. */
QOR_KP_API int32_t qor_kp_kernel_sIntegrate1D(FitTask* task, int64_t method, int64_t nlim, const float* llim,
                                              int64_t llimHint, const float* rlim, int64_t rlimHint,
                                              const float* ldataHint, const float* rdataHint, float* r,
                                              int64_t rhint);
QOR_KP_API int32_t qor_kp_kernel_dIntegrate1D(FitTask* task, int64_t method, int64_t nlim, const double* llim,
                                              int64_t llimHint, const double* rlim, int64_t rlimHint,
                                              const double* ldataHint, const double* rdataHint, double* r,
                                              int64_t rhint);

QOR_END_C

#endif
