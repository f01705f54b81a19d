#include "status_texts.h"

#include <cstddef>

#include "qor/qor.h"

namespace qor::core {
namespace {

struct StatusText {
    int status;
    const char* text;
};

constexpr StatusText kInit[] = {
    {QOR_STATUS_OK, "success"},
    {QOR_STATUS_CPU_UNSUPPORTED, "the processor lacks SSE4.2, which the qor kernels need"},
    {QOR_STATUS_KERNEL_NOT_FOUND, "the qor kernel library could not be loaded"},
    {QOR_STATUS_KERNEL_VERSION, "the kernel library found is for another instruction set"},
    {QOR_STATUS_KERNEL_INCOMPLETE, "the kernel library found does not match this core library"},
};

constexpr StatusText kVm[] = {
    {QOR_VM_STATUS_DOMAIN, "vector math: argument outside the domain of the function"},
    {QOR_VM_STATUS_SING, "vector math: singularity (pole of the function)"},
    {QOR_VM_STATUS_OVERFLOW, "vector math: overflow"},
    {QOR_VM_STATUS_UNDERFLOW, "vector math: underflow"},
    {QOR_VM_STATUS_BADARG, "vector math: invalid argument (a negative count)"},
    {QOR_VM_STATUS_BADMEM, "vector math: inaccessible memory (a null array)"},
};

constexpr StatusText kRng[] = {
    {QOR_RNG_STATUS_BAD_METHOD, "random numbers: unknown method number"},
    {QOR_RNG_STATUS_BAD_ARGUMENT, "random numbers: bad argument (null pointer, negative count or bad parameter)"},
    {QOR_RNG_STATUS_NO_MEMORY, "random numbers: out of memory"},
    {QOR_RNG_STATUS_NULL_FUNCTION, "random numbers: a generator row with a null function"},
    {QOR_RNG_STATUS_BAD_BRNG, "random numbers: unknown or unavailable generator"},
    {QOR_RNG_STATUS_NO_LEAPFROG, "random numbers: the generator has no leapfrog"},
    {QOR_RNG_STATUS_NO_SKIP_AHEAD_EX, "random numbers: the generator has no multi-word skip-ahead"},
    {QOR_RNG_STATUS_REG_BAD_STATE_SIZE, "random numbers: generator row with a bad state size"},
    {QOR_RNG_STATUS_REG_BAD_WORD_SIZE, "random numbers: generator row with a word size other than 4, 8 or 16"},
    {QOR_RNG_STATUS_REG_BAD_WORD_COUNT, "random numbers: generator row with no state words"},
    {QOR_RNG_STATUS_REG_BAD_BIT_COUNT, "random numbers: generator row with no bits per word"},
    {QOR_RNG_STATUS_BAD_STREAM_COUNT, "random numbers: leapfrog over fewer than one stream"},
    {QOR_RNG_STATUS_FILE_CLOSE, "random numbers: the stream file could not be closed"},
    {QOR_RNG_STATUS_FILE_OPEN, "random numbers: the stream file could not be opened"},
    {QOR_RNG_STATUS_FILE_WRITE, "random numbers: the stream file could not be written"},
    {QOR_RNG_STATUS_FILE_READ, "random numbers: the stream file is short or of an unknown layout"},
    {QOR_RNG_STATUS_BAD_STREAM_IMAGE, "random numbers: the stream file is not a valid saved stream"},
    {QOR_RNG_STATUS_STREAM_IMAGE_VERSION, "random numbers: the stream file is of a newer format version"},
    {QOR_RNG_STATUS_ABSTRACT_KIND, "random numbers: the abstract stream does not hold that kind of number"},
    {QOR_RNG_STATUS_NO_RDRAND, "random numbers: the processor lacks RDRAND"},
    {QOR_RNG_STATUS_NO_AES, "random numbers: the processor lacks the AES instructions"},
    {QOR_RNG_STATUS_BAD_MEMORY_IMAGE, "random numbers: the memory image is not a valid saved stream"},
    {QOR_RNG_STATUS_RO_DATA_TABLE, "random numbers: the shared data table lacks the key or is full"},
};

constexpr StatusText kStats[] = {
    {SS_ERR_BAD_PARAM_CODE, "statistics: unknown parameter code"},
    {SS_ERR_NO_MEMORY, "statistics: out of memory"},
    {SS_ERR_DIM, "statistics: bad dimension"},
    {SS_ERR_OBS_COUNT, "statistics: bad number of observations"},
    {SS_ERR_OBS_STORAGE, "statistics: bad observation storage format"},
    {SS_ERR_INDICES, "statistics: bad variable indices"},
    {SS_ERR_WEIGHTS, "statistics: bad weights (negative, or null where needed)"},
    {SS_ERR_MEAN, "statistics: the mean output is missing"},
    {SS_ERR_RAW_MOMENT2, "statistics: the second raw moment output is missing"},
    {SS_ERR_RAW_MOMENT3, "statistics: the third raw moment output is missing"},
    {SS_ERR_RAW_MOMENT4, "statistics: the fourth raw moment output is missing"},
    {SS_ERR_CENTRAL_MOMENT2, "statistics: the second central moment output is missing"},
    {SS_ERR_CENTRAL_MOMENT3, "statistics: the third central moment output is missing"},
    {SS_ERR_CENTRAL_MOMENT4, "statistics: the fourth central moment output is missing"},
    {SS_ERR_KURTOSIS, "statistics: the kurtosis output is missing"},
    {SS_ERR_SKEWNESS, "statistics: the skewness output is missing"},
    {SS_ERR_MIN, "statistics: the minimum output is missing"},
    {SS_ERR_MAX, "statistics: the maximum output is missing"},
    {SS_ERR_VARIATION, "statistics: the variation output is missing"},
    {SS_ERR_COV, "statistics: the covariance output or its storage is bad"},
    {SS_ERR_COR, "statistics: the correlation output or its storage is bad"},
    {SS_ERR_ACC_WEIGHTS, "statistics: the accumulated weights are missing"},
    {SS_ERR_QUANT_ORDERS, "statistics: bad quantile orders"},
    {SS_ERR_QUANT_ORDER_COUNT, "statistics: bad number of quantile orders"},
    {SS_ERR_QUANTILES, "statistics: the quantile output is missing"},
    {SS_ERR_ORDER_STATS, "statistics: the order statistics output is missing"},
    {SS_ERR_ROBUST_COV, "statistics: the robust covariance output is missing"},
    {SS_ERR_ROBUST_MEAN, "statistics: the robust mean output is missing"},
    {SS_ERR_METHOD, "statistics: unknown method"},
    {SS_ERR_TASK, "statistics: not a statistics task of this precision"},
    {SS_ERR_OBS, "statistics: the observations are missing"},
    {SS_ERR_POOLED_COV, "statistics: the pooled covariance output is missing"},
    {SS_ERR_POOLED_MEAN, "statistics: the pooled mean output is missing"},
    {SS_ERR_GROUP_COVS, "statistics: the group covariance output is missing"},
    {SS_ERR_GROUP_MEANS, "statistics: the group mean output is missing"},
    {SS_ERR_GROUP_INDICES, "statistics: bad group indices"},
    {SS_ERR_OUTLIER_PARAMS, "statistics: bad outlier detection parameters"},
    {SS_ERR_OUTLIER_PARAM_COUNT, "statistics: bad number of outlier detection parameters"},
    {SS_ERR_OUTLIER_WEIGHTS, "statistics: the outlier weights output is missing"},
    {SS_ERR_RCOV_PARAMS, "statistics: bad robust covariance parameters"},
    {SS_ERR_RCOV_PARAM_COUNT, "statistics: bad number of robust covariance parameters"},
    {SS_ERR_STORAGE, "statistics: bad matrix storage format"},
    {SS_ERR_PARTIAL_INDEX, "statistics: bad partial covariance indices"},
    {SS_ERR_PARTIAL_COV, "statistics: the partial covariance output is missing"},
    {SS_ERR_PARTIAL_COR, "statistics: the partial correlation output is missing"},
    {SS_ERR_MV_PARAMS, "statistics: bad missing-value parameters"},
    {SS_ERR_MV_PARAM_COUNT, "statistics: bad number of missing-value parameters"},
    {SS_ERR_MV_INIT_COUNT, "statistics: bad number of initial estimates"},
    {SS_ERR_MV_INIT, "statistics: the initial estimates are missing"},
    {SS_ERR_MV_SIM, "statistics: the simulated values output is missing"},
    {SS_ERR_MV_SIM_COUNT, "statistics: bad number of simulated values"},
    {SS_ERR_MV_EST_COUNT, "statistics: bad number of estimates"},
    {SS_ERR_MV_EST, "statistics: the estimates output is missing"},
    {SS_ERR_MV_PRIOR_COUNT, "statistics: bad number of prior parameters"},
    {SS_ERR_MV_PRIOR, "statistics: the prior parameters are missing"},
    {SS_ERR_SQ_PARAM_COUNT_PTR, "statistics: the streaming quantile parameter count is missing"},
    {SS_ERR_SQ_PARAMS, "statistics: bad streaming quantile parameters"},
    {SS_ERR_SQ_PARAM_COUNT, "statistics: bad number of streaming quantile parameters"},
    {SS_ERR_SQ_ORDERS, "statistics: bad streaming quantile orders"},
    {SS_ERR_SQ_ORDER_COUNT, "statistics: bad number of streaming quantile orders"},
    {SS_ERR_SQ_QUANTILES, "statistics: the streaming quantile output is missing"},
    {SS_ERR_PARAM_COR, "statistics: bad correlation matrix to parametrize"},
    {SS_ERR_SUM, "statistics: the sum output is missing"},
    {SS_ERR_RAW_SUM2, "statistics: the second raw sum output is missing"},
    {SS_ERR_RAW_SUM3, "statistics: the third raw sum output is missing"},
    {SS_ERR_RAW_SUM4, "statistics: the fourth raw sum output is missing"},
    {SS_ERR_CENTRAL_SUM2, "statistics: the second central sum output is missing"},
    {SS_ERR_CENTRAL_SUM3, "statistics: the third central sum output is missing"},
    {SS_ERR_CENTRAL_SUM4, "statistics: the fourth central sum output is missing"},
    {SS_ERR_CP, "statistics: the cross-product output is missing"},
    {SS_ERR_MEDIAN_ABS_DEV, "statistics: the median absolute deviation output is missing"},
    {SS_ERR_MEAN_ABS_DEV, "statistics: the mean absolute deviation output is missing"},
    {SS_ERR_SORTED, "statistics: the sorted observations output is missing"},
    {SS_ERR_INPLACE_INDICES, "statistics: in-place sorting with variable indices set"},
    {SS_ERR_EIGEN, "statistics: the eigenvalue computation failed"},
    {SS_ERR_NOT_POSITIVE_DEFINITE, "statistics: the covariance is not positive definite"},
    {SS_ERR_MAHAL_DISTANCES, "statistics: the Mahalanobis distance output is missing"},
};

constexpr StatusText kFit[] = {
    {statusNullTask, "data fitting: null task"},
    {statusNoMemory, "data fitting: out of memory"},
    {statusUnsupportedMethod, "data fitting: unsupported method or spline kind"},
    {statusBadBreakpointCount, "data fitting: too few breakpoints"},
    {statusBadBreakpoints, "data fitting: the breakpoints are missing"},
    {statusBadPartitionHint, "data fitting: bad partition hint"},
    {statusBadFunctionCount, "data fitting: bad number of functions"},
    {statusBadFunctionValues, "data fitting: the function values are missing"},
    {statusBadValuesHint, "data fitting: bad function values hint"},
    {statusBadSplineOrder, "data fitting: bad spline order"},
    {statusBadSplineType, "data fitting: bad spline type"},
    {statusBadInternalCondType, "data fitting: bad internal conditions type"},
    {statusBadInternalCondValues, "data fitting: the internal condition values are missing"},
    {statusBadBoundaryCondType, "data fitting: bad boundary conditions type"},
    {statusBadBoundaryCondValues, "data fitting: the boundary condition values are missing"},
    {statusBadCoefficients, "data fitting: the coefficients array is missing"},
    {statusBadCoefficientHint, "data fitting: bad coefficients hint"},
    {statusBadPeriodicValues, "data fitting: periodic conditions with unequal end values"},
    {statusBadAttribute, "data fitting: unknown attribute"},
    {statusBadIndex, "data fitting: function index out of range"},
    {statusBadFlagValue, "data fitting: flag value other than 0 or 1"},
    {statusNullOutput, "data fitting: null output"},
    {statusBadComputeType, "data fitting: interpolation asked for neither values nor cells"},
    {statusBadDerivativeOrder, "data fitting: bad derivative orders"},
    {statusBadResultHint, "data fitting: bad result hint"},
    {statusWrongPrecision, "data fitting: a task of the other precision"},
    {statusBadSiteCount, "data fitting: negative number of sites"},
    {statusNullSites, "data fitting: the sites are missing"},
};

template <std::size_t N>
const char* find(const StatusText (&table)[N], int status) {
    for (const StatusText& t : table)
        if (t.status == status) return t.text;
    return nullptr;
}

}  // namespace

const char* family_status_text(int family, int status) {
    const char* text = nullptr;
    switch (family) {
        case QOR_FAMILY_VM: text = find(kVm, status); break;
        case QOR_FAMILY_RNG: text = find(kRng, status); break;
        case QOR_FAMILY_STATS: text = find(kStats, status); break;
        case QOR_FAMILY_FIT: text = find(kFit, status); break;
        default: break;
    }
    return text ? text : find(kInit, status);
}

}  // namespace qor::core
