// What the four submodules of the Python binding share: array checks that
// raise Python's TypeError or ValueError with the argument's name, and the
// translation of a qor status into an exception carrying its text.
#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <string>

namespace qor_python {

namespace py = pybind11;

inline std::string dtype_name(const py::handle& dtype) { return py::str(dtype).cast<std::string>(); }

// A failed qor call: ValueError for a bad argument the library refused, with
// the status and the library's own text.
[[noreturn]] void raise_status(const char* call, int status);

inline void check(const char* call, int status) {
    if (status < 0) raise_status(call, status);
}

// The element type of a NumPy array as one of the four precision letters
// s, d, c, z; 0 for any other dtype.
char precision_of(const py::dtype& dtype);

// An array of doubles for a real-valued argument: float64 as it is (no
// copy when it is C-contiguous), integers and float32 converted; anything
// else (complex, object, strings) a TypeError naming the argument.
py::array_t<double, py::array::c_style> real_input(const py::handle& value, const char* name);

// A 1-D C-contiguous float64 array (ValueError for other shapes).
py::array_t<double, py::array::c_style> vector_input(const py::handle& value, const char* name);

void bind_vm(py::module_& m);
void bind_random(py::module_& m);
void bind_stats(py::module_& m);
void bind_fit(py::module_& m);

}  // namespace qor_python
