// qor.stats: summary statistics, quantiles and streaming quantiles of the
// columns of a NumPy array (observations in rows, NumPy's convention), one
// task per call with the results registered in fresh arrays.
#include <qor/qor.h>
#include <qor/qor_stats.h>

#include <memory>
#include <string>
#include <vector>

#include "common.h"

namespace qor_python {
namespace {

using Matrix = py::array_t<double, py::array::c_style>;

// x as n observations of p variables: a 1-D array is one variable.
struct Observations {
    Matrix x;
    int64_t n, p;
};
Observations observations(const py::handle& value, const char* where) {
    Matrix x = real_input(value, "x");
    if (x.ndim() == 1) return {x, int64_t(x.shape(0)), 1};
    if (x.ndim() != 2) throw py::value_error(std::string(where) + ": x must be one- or two-dimensional");
    return {x, int64_t(x.shape(0)), int64_t(x.shape(1))};
}

struct TaskOwner {
    qor_ss_task* task = nullptr;
    ~TaskOwner() { qor_ss_delete_task(&task); }
};

// One result of the basic statistics: its name, estimate bit, the task
// field that receives it, and whether it is a p x p matrix.
struct Estimate {
    const char* name;
    uint64_t bit;
    int field;
    bool matrix;
};
constexpr Estimate kEstimates[] = {
    {"mean", SS_EST_MEAN, SS_PARAM_MEAN, false},
    {"raw_moment2", SS_EST_RAW_MOMENT2, SS_PARAM_RAW_MOMENT2, false},
    {"raw_moment3", SS_EST_RAW_MOMENT3, SS_PARAM_RAW_MOMENT3, false},
    {"raw_moment4", SS_EST_RAW_MOMENT4, SS_PARAM_RAW_MOMENT4, false},
    {"variance", SS_EST_CENTRAL_MOMENT2, SS_PARAM_CENTRAL_MOMENT2, false},
    {"central_moment3", SS_EST_CENTRAL_MOMENT3, SS_PARAM_CENTRAL_MOMENT3, false},
    {"central_moment4", SS_EST_CENTRAL_MOMENT4, SS_PARAM_CENTRAL_MOMENT4, false},
    {"skewness", SS_EST_SKEWNESS, SS_PARAM_SKEWNESS, false},
    {"kurtosis", SS_EST_KURTOSIS, SS_PARAM_KURTOSIS, false},
    {"variation", SS_EST_VARIATION, SS_PARAM_VARIATION, false},
    {"sum", SS_EST_SUM, SS_PARAM_SUM, false},
    {"cov", SS_EST_COV, SS_PARAM_COV, true},
    {"cor", SS_EST_COR, SS_PARAM_COR, true},
    {"min", SS_EST_MIN, SS_PARAM_MIN, false},
    {"max", SS_EST_MAX, SS_PARAM_MAX, false},
};

py::dict summary(const py::handle& data, py::object weights, const std::vector<std::string>& names) {
    auto [x, n, p] = observations(data, "qor.stats.summary");
    if (n < 1) throw py::value_error("qor.stats.summary: x has no observations");
    py::array_t<double, py::array::c_style> w;
    if (!weights.is_none()) {
        w = vector_input(weights, "weights");
        if (w.shape(0) != n) throw py::value_error("qor.stats.summary: weights must have one entry per observation");
    }
    const int64_t storage = SS_OBS_OBSERVATIONS_IN_ROWS, full = SS_MATRIX_STORAGE_FULL;
    TaskOwner owner;
    check("qor.stats.summary", qor_dss_new_task(&owner.task, &p, &n, &storage, x.data(),
                                                weights.is_none() ? nullptr : w.data(), nullptr));
    double accumulated[2] = {0, 0};
    check("qor.stats.summary", qor_dss_edit_task(owner.task, SS_PARAM_ACC_WEIGHTS, accumulated));
    check("qor.stats.summary", qor_ss_edit_task_i(owner.task, SS_PARAM_COV_STORAGE, &full));
    check("qor.stats.summary", qor_ss_edit_task_i(owner.task, SS_PARAM_COR_STORAGE, &full));

    // Every field gets an array, so that results that need others find them.
    py::dict results;
    uint64_t basic = 0, extremes = 0;
    std::vector<Matrix> arrays;
    for (const auto& e : kEstimates) {
        Matrix a = e.matrix ? Matrix({p, p}) : Matrix({p});
        check("qor.stats.summary", qor_dss_edit_task(owner.task, e.field, a.mutable_data()));
        arrays.push_back(a);
    }
    for (const auto& name : names) {
        size_t k = 0;
        while (k < std::size(kEstimates) && name != kEstimates[k].name) ++k;
        if (k == std::size(kEstimates)) throw py::value_error("qor.stats.summary: unknown estimate '" + name + "'");
        const auto& e = kEstimates[k];
        (e.bit == SS_EST_MIN || e.bit == SS_EST_MAX ? extremes : basic) |= e.bit;
        results[py::str(name)] = arrays[k];
    }
    int status = 0;
    {
        py::gil_scoped_release unlocked;
        if (extremes) status = qor_dss_minmax(owner.task, extremes, SS_METHOD_OBS_1);
        if (!status && basic) status = qor_dss_basic(owner.task, basic, SS_METHOD_OBS_1);
    }
    check("qor.stats.summary", status);
    return results;
}

Matrix quantiles(const py::handle& data, const py::handle& orders) {
    auto [x, n, p] = observations(data, "qor.stats.quantiles");
    auto q = vector_input(orders, "q");
    if (n < 1) throw py::value_error("qor.stats.quantiles: x has no observations");
    const int64_t storage = SS_OBS_OBSERVATIONS_IN_ROWS, m = q.shape(0);
    Matrix r({p, m});
    TaskOwner owner;
    check("qor.stats.quantiles", qor_dss_new_task(&owner.task, &p, &n, &storage, x.data(), nullptr, nullptr));
    check("qor.stats.quantiles",
          qor_dss_edit_quantiles(owner.task, &m, q.mutable_data(), r.mutable_data(), nullptr, nullptr));
    int status;
    {
        py::gil_scoped_release unlocked;
        status = qor_dss_quantiles(owner.task, SS_EST_QUANTILES, SS_METHOD_OBS_1);
    }
    check("qor.stats.quantiles", status);
    return r;
}

// Quantiles of everything fed so far, fed in portions: the sketch lives in
// the task between calls.
class StreamQuantiles {
public:
    StreamQuantiles(const py::handle& orders, double eps) : orders_(vector_input(orders, "q")), eps_{eps} {
        if (!(eps > 0 && eps < 1)) throw py::value_error("qor.stats.StreamQuantiles: eps must lie in (0, 1)");
        count_ = orders_.shape(0);
        results_ = Matrix({count_});
        check("qor.stats.StreamQuantiles", qor_dss_new_task(&owner_.task, &p_, &n_, &storage_, nullptr, nullptr, nullptr));
        check("qor.stats.StreamQuantiles",
              qor_dss_edit_stream_quantiles(owner_.task, &count_, orders_.mutable_data(), results_.mutable_data(),
                                            &param_count_, eps_));
    }
    void feed(const py::handle& portion) {
        auto x = vector_input(portion, "x");
        n_ = x.shape(0);
        check("qor.stats.StreamQuantiles.feed", qor_dss_edit_task(owner_.task, SS_PARAM_OBS, x.mutable_data()));
        int status;
        {
            py::gil_scoped_release unlocked;
            status = qor_dss_stream_quantiles(owner_.task, SS_EST_STREAM_QUANTILES, SS_METHOD_STREAM_1);
        }
        n_ = 0;
        check("qor.stats.StreamQuantiles.feed", status);
        total_ += x.shape(0);
    }
    Matrix quantiles() const {
        if (!total_) throw py::value_error("qor.stats.StreamQuantiles: nothing fed yet");
        return Matrix(results_.request());
    }
    int64_t count() const { return total_; }

private:
    Matrix orders_, results_;
    double eps_[1];
    int64_t p_ = 1, n_ = 0, storage_ = SS_OBS_VARIABLES_IN_ROWS, count_ = 0, param_count_ = 1, total_ = 0;
    TaskOwner owner_;
};

// Robust mean and covariance: FAST-MCD, or the translated-biweight
// S-estimate started from it; parameters by their index (SS_RCOV_...).
py::tuple robust_covariance(const py::handle& data, const std::string& method, std::vector<double> params) {
    auto [x, n, p] = observations(data, "qor.stats.robust_cov");
    const int code = method == "mcd" ? SS_METHOD_FAST_MCD : method == "tbs" ? SS_METHOD_TBS : 0;
    if (!code) throw py::value_error("qor.stats.robust_cov: method must be 'mcd' or 'tbs', not '" + method + "'");
    const int64_t storage = SS_OBS_OBSERVATIONS_IN_ROWS, full = SS_MATRIX_STORAGE_FULL,
                  count = int64_t(params.size());
    Matrix mean({p}), cov({p, p});
    TaskOwner owner;
    check("qor.stats.robust_cov", qor_dss_new_task(&owner.task, &p, &n, &storage, x.data(), nullptr, nullptr));
    check("qor.stats.robust_cov", qor_dss_edit_rcov(owner.task, &full, &count, params.data(),
                                                    mean.mutable_data(), cov.mutable_data()));
    int status;
    {
        py::gil_scoped_release unlocked;
        status = qor_dss_robust_covariance(owner.task, SS_EST_ROBUST_COV, code);
    }
    check("qor.stats.robust_cov", status);
    return py::make_tuple(mean, cov);
}

// BACON's weights: 0 for an outlier, 1 otherwise.
Matrix outliers(const py::handle& data, std::vector<double> params) {
    auto [x, n, p] = observations(data, "qor.stats.outliers");
    const int64_t storage = SS_OBS_OBSERVATIONS_IN_ROWS, count = int64_t(params.size());
    Matrix weights({n});
    TaskOwner owner;
    check("qor.stats.outliers", qor_dss_new_task(&owner.task, &p, &n, &storage, x.data(), nullptr, nullptr));
    check("qor.stats.outliers",
          qor_dss_edit_out_detect(owner.task, &count, params.data(), weights.mutable_data()));
    int status;
    {
        py::gil_scoped_release unlocked;
        status = qor_dss_outlier_detection(owner.task, SS_EST_OUTLIERS, SS_METHOD_BACON);
    }
    check("qor.stats.outliers", status);
    return weights;
}

}  // namespace

void bind_stats(py::module_& m) {
    m.def("_summary", &summary, py::arg("x"), py::arg("weights"), py::arg("estimates"));
    m.def("_quantiles", &quantiles, py::arg("x"), py::arg("q"));
    m.def("_robust_cov", &robust_covariance);
    m.def("_outliers", &outliers);
    py::class_<StreamQuantiles>(m, "StreamQuantiles",
                                "Quantiles of data fed in portions, each within eps*n ranks of the exact one.")
        .def(py::init<const py::handle&, double>(), py::arg("q"), py::arg("eps") = 0.001)
        .def("feed", &StreamQuantiles::feed, py::arg("x"))
        .def_property_readonly("quantiles", &StreamQuantiles::quantiles)
        .def_property_readonly("count", &StreamQuantiles::count);
}

}  // namespace qor_python
