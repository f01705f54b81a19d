// The extension module qor._qor: initialises the library once and binds the
// four families; the pure-Python package qor on top gives them their
// NumPy-style surface.
#include <qor/qor.h>

#include <string>

#include "common.h"

namespace qor_python {

void raise_status(const char* call, int status) {
    const std::string text = qor_status_string(status);
    throw py::value_error(std::string(call) + ": " + (text.empty() ? "failed" : text) + " (status " +
                          std::to_string(status) + ")");
}

char precision_of(const py::dtype& dtype) {
    switch (dtype.num()) {
        case py::detail::npy_api::NPY_FLOAT_: return 's';
        case py::detail::npy_api::NPY_DOUBLE_: return 'd';
        case py::detail::npy_api::NPY_CFLOAT_: return 'c';
        case py::detail::npy_api::NPY_CDOUBLE_: return 'z';
        default: return 0;
    }
}

py::array_t<double, py::array::c_style> real_input(const py::handle& value, const char* name) {
    const py::array array = py::array::ensure(value);
    if (!array) throw py::type_error(std::string(name) + " must be an array of real numbers");
    const char kind = array.dtype().kind();
    if (kind != 'f' && kind != 'i' && kind != 'u' && kind != 'b')
        throw py::type_error(std::string(name) + " must hold real numbers, not dtype " +
                             dtype_name(array.dtype()));
    return py::array_t<double, py::array::c_style | py::array::forcecast>::ensure(array);
}

py::array_t<double, py::array::c_style> vector_input(const py::handle& value, const char* name) {
    auto array = real_input(value, name);
    if (array.ndim() != 1) throw py::value_error(std::string(name) + " must be one-dimensional");
    return array;
}

}  // namespace qor_python

PYBIND11_MODULE(_qor, m) {
    namespace py = pybind11;
    m.doc() = "qor's numeric kernels: vector math, random numbers, summary statistics, data fitting";
    const int status = qor_init();
    if (status != QOR_STATUS_OK)
        throw std::runtime_error(std::string("qor: the kernel library cannot be used: ") + qor_init_detail());
    m.def("kernel_set", [] { return std::string(qor_kernel_set_name()); });
    m.def("status_string", [](int status) { return std::string(qor_status_string(status)); });
    auto vm = m.def_submodule("vm");
    auto random = m.def_submodule("random");
    auto stats = m.def_submodule("stats");
    auto fit = m.def_submodule("fit");
    qor_python::bind_vm(vm);
    qor_python::bind_random(random);
    qor_python::bind_stats(stats);
    qor_python::bind_fit(fit);
}
