// qor.fit: a cubic (or linear) spline through points, built once by a task
// that owns copies of the breakpoints, values and coefficients, evaluated
// with derivatives and integrated like SciPy's CubicSpline.
#include <qor/qor.h>
#include <qor/qor_fit.h>

#include <string>
#include <vector>

#include "common.h"

namespace qor_python {
namespace {

using Vector = py::array_t<double, py::array::c_style>;

struct Kind {
    const char* name;
    int kind;
    int order;
};
constexpr Kind kKinds[] = {
    {"linear", QOR_FIT_LINEAR, 2},        {"natural", QOR_FIT_NATURAL_CUBIC, 4},
    {"akima", QOR_FIT_AKIMA_CUBIC, 4},     {"bessel", QOR_FIT_BESSEL_CUBIC, 4},
    {"hyman", QOR_FIT_HYMAN_CUBIC, 4},
};

struct BoundaryCondition {
    const char* name;
    int64_t code;
};
constexpr BoundaryCondition kConditions[] = {
    {"natural", bcFreeEnd}, {"not-a-knot", bcNotAKnot}, {"periodic", bcPeriodic},
    {"clamped", bcFirstLeft + bcFirstRight},  // first derivatives 0 unless given
};

class Spline {
public:
    Spline(const py::handle& x, const py::handle& y, const std::string& kind, const std::string& bc_type,
           std::vector<double> bc) {
        x_ = Vector(py::array(vector_input(x, "x")).attr("copy")());
        y_ = Vector(py::array(vector_input(y, "y")).attr("copy")());
        const int64_t nx = x_.shape(0);
        if (nx < 2) throw py::value_error("qor.fit: at least two points are needed");
        if (y_.shape(0) != nx) throw py::value_error("qor.fit: x and y must have the same length");
        for (int64_t i = 1; i < nx; ++i)
            if (!(x_.data()[i - 1] < x_.data()[i])) throw py::value_error("qor.fit: x must be strictly ascending");
        const Kind* k = nullptr;
        for (const auto& candidate : kKinds)
            if (kind == candidate.name) k = &candidate;
        if (!k) throw py::value_error("qor.fit: unknown spline kind '" + kind + "'");
        int64_t code = 0;
        if (k->order == 4) {
            for (const auto& c : kConditions)
                if (bc_type == c.name) code = c.code;
            if (!code) throw py::value_error("qor.fit: unknown boundary condition '" + bc_type + "'");
        }
        bc.resize(2, 0.0);
        bc_ = bc;
        order_ = k->order;
        coeff_ = Vector({(nx - 1) * order_});
        check("qor.fit", qor_dfit_new_task(&task_, nx, x_.data(), hintPartitionNonUniform, 1, y_.data(),
                                           hintValuesDefault));
        check("qor.fit", qor_dfit_edit_pp_spline(task_, order_, 0, code, bc_.data(), 0, nullptr,
                                                 coeff_.mutable_data(), hintValuesDefault));
        int status;
        {
            py::gil_scoped_release unlocked;
            status = qor_dfit_construct(task_, k->kind, 0);
        }
        check("qor.fit", status);
    }
    Spline(const Spline&) = delete;
    ~Spline() { qor_fit_delete_task(&task_); }

    // The nu-th derivative at the sites, shaped as the sites are.
    py::array evaluate(const py::handle& sites, int nu) const {
        if (nu < 0) throw py::value_error("qor.fit: the derivative order must not be negative");
        py::array_t<double, py::array::c_style> t = real_input(sites, "x");
        py::array_t<double> r(std::vector<py::ssize_t>(t.shape(), t.shape() + t.ndim()));
        if (nu >= order_) {
            std::fill_n(r.mutable_data(), r.size(), 0.0);
            return r;
        }
        std::vector<int64_t> orders(size_t(nu) + 1, 0);
        orders[size_t(nu)] = 1;
        int status = 0;
        {
            py::gil_scoped_release unlocked;
            if (t.size())
                status = qor_dfit_interpolate(task_, computeValues, 0, t.size(), t.data(), hintSitesAny,
                                              int64_t(orders.size()), orders.data(), nullptr, r.mutable_data(),
                                              hintResultByFunction, nullptr);
        }
        check("qor.fit", status);
        return r;
    }
    double integrate(double a, double b) const {
        double r = 0;
        check("qor.fit.integrate",
              qor_dfit_integrate(task_, 0, 1, &a, hintSitesAny, &b, hintSitesAny, nullptr, nullptr, &r,
                                 hintResultByFunction));
        return r;
    }
    py::array coefficients() const {
        const int64_t pieces = x_.shape(0) - 1;
        return Vector(py::array(coeff_).attr("reshape")(pieces, order_));
    }
    Vector x() const { return x_; }

private:
    Vector x_, y_, coeff_;
    std::vector<double> bc_;
    int64_t order_ = 4;
    qor_fit_task* task_ = nullptr;
};

}  // namespace

void bind_fit(py::module_& m) {
    py::class_<Spline>(m, "_Spline")
        .def(py::init<const py::handle&, const py::handle&, const std::string&, const std::string&,
                      std::vector<double>>())
        .def("evaluate", &Spline::evaluate)
        .def("integrate", &Spline::integrate)
        .def_property_readonly("c", &Spline::coefficients)
        .def_property_readonly("x", &Spline::x);
}

}  // namespace qor_python
