// qor.vm: every vector-math function of the row list as one Python-callable
// dispatcher over NumPy arrays.  A row's public call is reached through an
// invoker made from its prototype's type, so the list of rows alone decides
// what is bound: contiguous arrays of any shape go to the plain call,
// one-dimensional views with positive strides to the strided call without a
// copy, anything else is made contiguous first.
#include <qor/qor.h>
#include <qor/qor_vm_functions.h>
#include <qor/vm_kinds.h>

#include <complex>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "common.h"

namespace qor_python {
namespace {

// One call's operands, whatever the row's argument list.
struct Call {
    int64_t n = 0;
    const void* a = nullptr;
    const void* b = nullptr;
    void* r1 = nullptr;
    void* r2 = nullptr;
    int64_t inca = 1, incb = 1, incr1 = 1, incr2 = 1;
    std::complex<double> scalar[4];
    uint32_t mode = 0;
};

template <class T> T scalar_as(std::complex<double> v) {
    if constexpr (std::is_same_v<T, qor_complex8>) return {float(v.real()), float(v.imag())};
    else if constexpr (std::is_same_v<T, qor_complex16>) return {v.real(), v.imag()};
    else return T(v.real());
}

using Invoker = std::function<void(const Call&)>;

// The argument lists of the row kinds, contiguous and strided.
template <class A, class R> Invoker invoker(void (*f)(int64_t, const A*, R*, uint32_t)) {
    return [f](const Call& c) { f(c.n, (const A*)c.a, (R*)c.r1, c.mode); };
}
template <class A, class R> Invoker invoker(void (*f)(int64_t, const A*, int64_t, R*, int64_t, uint32_t)) {
    return [f](const Call& c) { f(c.n, (const A*)c.a, c.inca, (R*)c.r1, c.incr1, c.mode); };
}
template <class T> Invoker invoker(void (*f)(int64_t, const T*, const T*, T*, uint32_t)) {
    return [f](const Call& c) { f(c.n, (const T*)c.a, (const T*)c.b, (T*)c.r1, c.mode); };
}
template <class T>
Invoker invoker(void (*f)(int64_t, const T*, int64_t, const T*, int64_t, T*, int64_t, uint32_t)) {
    return [f](const Call& c) { f(c.n, (const T*)c.a, c.inca, (const T*)c.b, c.incb, (T*)c.r1, c.incr1, c.mode); };
}
template <class T> Invoker invoker(void (*f)(int64_t, const T*, T*, T*, uint32_t)) {
    return [f](const Call& c) { f(c.n, (const T*)c.a, (T*)c.r1, (T*)c.r2, c.mode); };
}
template <class T> Invoker invoker(void (*f)(int64_t, const T*, int64_t, T*, int64_t, T*, int64_t, uint32_t)) {
    return [f](const Call& c) { f(c.n, (const T*)c.a, c.inca, (T*)c.r1, c.incr1, (T*)c.r2, c.incr2, c.mode); };
}
template <class T> Invoker invoker(void (*f)(int64_t, const T*, T, T*, uint32_t)) {
    return [f](const Call& c) { f(c.n, (const T*)c.a, scalar_as<T>(c.scalar[0]), (T*)c.r1, c.mode); };
}
template <class T> Invoker invoker(void (*f)(int64_t, const T*, int64_t, T, T*, int64_t, uint32_t)) {
    return [f](const Call& c) {
        f(c.n, (const T*)c.a, c.inca, scalar_as<T>(c.scalar[0]), (T*)c.r1, c.incr1, c.mode);
    };
}
template <class T> Invoker invoker(void (*f)(int64_t, const T*, const T*, T, T, T, T, T*, uint32_t)) {
    return [f](const Call& c) {
        f(c.n, (const T*)c.a, (const T*)c.b, scalar_as<T>(c.scalar[0]), scalar_as<T>(c.scalar[1]),
          scalar_as<T>(c.scalar[2]), scalar_as<T>(c.scalar[3]), (T*)c.r1, c.mode);
    };
}
template <class T>
Invoker invoker(void (*f)(int64_t, const T*, int64_t, const T*, int64_t, T, T, T, T, T*, int64_t, uint32_t)) {
    return [f](const Call& c) {
        f(c.n, (const T*)c.a, c.inca, (const T*)c.b, c.incb, scalar_as<T>(c.scalar[0]), scalar_as<T>(c.scalar[1]),
          scalar_as<T>(c.scalar[2]), scalar_as<T>(c.scalar[3]), (T*)c.r1, c.incr1, c.mode);
    };
}

struct Row {
    char precision;        // s, d, c, z
    std::string family;    // the kind without its strided mark
    bool strided;
    Invoker invoke;
};

// Function name in lower case ("CdfNormInv" -> "cdfnorminv"), the name a
// NumPy user looks for.
std::string python_name(std::string fn, bool strided) {
    if (strided) fn.pop_back();
    for (char& ch : fn) ch = char(std::tolower((unsigned char)ch));
    return fn;
}

std::map<std::string, std::vector<Row>> make_table() {
    std::map<std::string, std::vector<Row>> table;
    auto add = [&](const char* fn, std::string kind, char p, Invoker invoke) {
        const bool strided = kind.size() > 2 && kind.compare(kind.size() - 2, 2, "_i") == 0;
        if (strided) kind.resize(kind.size() - 2);
        table[python_name(fn, strided)].push_back({p, kind, strided, std::move(invoke)});
    };
#define QOR_PY_ROW(p, Fn, kind) add(#Fn, #kind, #p[0], invoker(&qor_vm##p##Fn));
#define QOR_PY_SKIP(p, Fn, kind)
#define QOR_PY_KIND_unary QOR_PY_ROW
#define QOR_PY_KIND_unary_i QOR_PY_ROW
#define QOR_PY_KIND_binary QOR_PY_ROW
#define QOR_PY_KIND_binary_i QOR_PY_ROW
#define QOR_PY_KIND_two_out QOR_PY_ROW
#define QOR_PY_KIND_two_out_i QOR_PY_ROW
#define QOR_PY_KIND_scalar QOR_PY_ROW
#define QOR_PY_KIND_scalar_i QOR_PY_ROW
#define QOR_PY_KIND_linfrac QOR_PY_ROW
#define QOR_PY_KIND_linfrac_i QOR_PY_ROW
#define QOR_PY_KIND_c2r QOR_PY_ROW
#define QOR_PY_KIND_c2r_i QOR_PY_ROW
#define QOR_PY_KIND_r2c QOR_PY_ROW
#define QOR_PY_KIND_r2c_i QOR_PY_ROW
// Pack and unpack are NumPy's own indexing; they are not bound.
#define QOR_PY_KIND_pack_i QOR_PY_SKIP
#define QOR_PY_KIND_pack_v QOR_PY_SKIP
#define QOR_PY_KIND_pack_m QOR_PY_SKIP
#define QOR_PY_KIND_unpack_i QOR_PY_SKIP
#define QOR_PY_KIND_unpack_v QOR_PY_SKIP
#define QOR_PY_KIND_unpack_m QOR_PY_SKIP
#define QOR_VM_ROW(p, Fn, kind, share, on, ...) QOR_VM_IF_ON(on, QOR_PY_KIND_##kind(p, Fn, kind))
#include <qor/vm_rows.def>
#undef QOR_VM_ROW
    return table;
}

const std::map<std::string, std::vector<Row>>& table() {
    static const auto rows = make_table();
    return rows;
}

// Element dtypes of a precision: the row's own type and its real type.
py::dtype element_dtype(char p) {
    switch (p) {
        case 's': return py::dtype::of<float>();
        case 'd': return py::dtype::of<double>();
        case 'c': return py::dtype::of<std::complex<float>>();
        default: return py::dtype::of<std::complex<double>>();
    }
}
char real_of(char p) { return p == 'c' ? 's' : p == 'z' ? 'd' : p; }

// The precision an input array asks for: its own, float64 for integers.
char wanted_precision(const py::array& a) {
    const char kind = a.dtype().kind();
    if (kind == 'i' || kind == 'u' || kind == 'b') return 'd';
    return precision_of(a.dtype());
}

// The precision that holds both: complex if either is, double if either is.
char promote(char a, char b) {
    const bool complex = a == 'c' || a == 'z' || b == 'c' || b == 'z';
    const bool wide = a == 'd' || a == 'z' || b == 'd' || b == 'z';
    return complex ? (wide ? 'z' : 'c') : (wide ? 'd' : 's');
}

// A positive element stride of a one-dimensional array, or 0.
int64_t element_stride(const py::array& a) {
    if (a.ndim() != 1) return 0;
    const auto stride = a.strides(0), size = a.itemsize();
    return stride > 0 && stride % size == 0 ? stride / size : 0;
}

bool contiguous(const py::array& a) { return a.flags() & py::array::c_style; }

py::tuple call(const std::string& name, const py::list& inputs, const py::list& scalars, py::object outs,
               py::object accuracy) {
    const auto found = table().find(name);
    if (found == table().end()) throw py::value_error("qor.vm has no function " + name);
    const auto& rows = found->second;
    const std::string where = "qor.vm." + name;

    // Inputs as arrays of one precision, the highest the inputs ask for.
    std::vector<py::array> in;
    char p = 0;
    for (const auto& item : inputs) {
        py::array a = py::array::ensure(item);
        const char want = a ? wanted_precision(a) : 0;
        if (!want)
            throw py::type_error(where + ": unsupported input dtype " +
                                 (a ? dtype_name(a.dtype()) : std::string("(not an array)")));
        in.push_back(a);
        p = p ? promote(p, want) : want;
    }
    // The row: complex rows whose argument is real (CIS) are chosen by the
    // complex form of the argument's precision.
    const Row* contiguous_row = nullptr;
    const Row* strided_row = nullptr;
    for (const auto& row : rows) {
        const char arg = row.family == "r2c" ? real_of(row.precision) : row.precision;
        if (arg != p) continue;
        (row.strided ? strided_row : contiguous_row) = &row;
    }
    if (!contiguous_row)
        throw py::type_error(where + ": no form for " + dtype_name(element_dtype(p)) + " arguments");
    const Row& row = *contiguous_row;
    const py::dtype arg_type = element_dtype(p);
    const py::dtype out_type = element_dtype(row.family == "c2r"   ? real_of(row.precision)
                                             : row.family == "r2c" ? row.precision
                                                                   : p);
    for (auto& a : in) {
        if (!a.dtype().is(arg_type)) a = a.attr("astype")(arg_type);
        if (a.ndim() != in[0].ndim() ||
            !std::equal(a.shape(), a.shape() + a.ndim(), in[0].shape()))
            throw py::value_error(where + ": arguments of different shapes");
    }
    const std::vector<py::ssize_t> shape(in[0].shape(), in[0].shape() + in[0].ndim());

    // Results: the caller's arrays (checked) or new ones.
    const size_t result_count = row.family == "two_out" ? 2 : 1;
    std::vector<py::array> out;
    if (!outs.is_none()) {
        const py::list given = outs;
        if (given.size() != result_count)
            throw py::value_error(where + ": out must hold " + std::to_string(result_count) + " array(s)");
        for (const auto& o : given) {
            if (o.is_none()) {
                out.push_back(py::array(out_type, shape));
                continue;
            }
            if (!py::isinstance<py::array>(o)) throw py::type_error(where + ": out must be a NumPy array");
            py::array a = py::reinterpret_borrow<py::array>(o);
            if (!a.dtype().is(out_type))
                throw py::type_error(where + ": out must have dtype " + dtype_name(out_type) + ", not " +
                                     dtype_name(a.dtype()));
            if (a.ndim() != (py::ssize_t)shape.size() || !std::equal(shape.begin(), shape.end(), a.shape()))
                throw py::value_error(where + ": out has the wrong shape");
            if (!a.writeable()) throw py::value_error(where + ": out is read-only");
            out.push_back(a);
        }
    } else {
        for (size_t k = 0; k < result_count; ++k) out.push_back(py::array(out_type, shape));
    }

    Call c;
    c.n = in[0].size();
    for (size_t k = 0; k < scalars.size() && k < 4; ++k) c.scalar[k] = scalars[k].cast<std::complex<double>>();
    uint32_t mode = qor_vm_get_mode();
    if (!accuracy.is_none()) {
        const std::string level = py::str(accuracy);
        const uint32_t bits = level == "ha" ? QOR_VM_HA : level == "la" ? QOR_VM_LA : level == "ep" ? QOR_VM_EP : 0;
        if (!bits) throw py::value_error(where + ": accuracy must be 'ha', 'la' or 'ep', not '" + level + "'");
        mode = (mode & ~uint32_t(QOR_VM_ACCURACY_MASK)) | bits;
    }
    // Traps would stop the interpreter: Python raises instead (see qor.vm).
    c.mode = mode & ~uint32_t(QOR_VM_TRAP_MASK);

    int status = 0;
    if (c.n > 0) {
        // One-dimensional views with positive strides run in place through
        // the strided row; other layouts are made contiguous.
        bool all_contiguous = true, all_strided = strided_row != nullptr;
        for (const auto* group : {&in, &out})
            for (const auto& a : *group) {
                all_contiguous = all_contiguous && contiguous(a);
                all_strided = all_strided && element_stride(a) > 0;
            }
        std::vector<py::array> targets = out;
        const Row* use = &row;
        if (!all_contiguous && all_strided) {
            use = strided_row;
            c.inca = element_stride(in[0]);
            if (in.size() > 1) c.incb = element_stride(in[1]);
            c.incr1 = element_stride(out[0]);
            if (out.size() > 1) c.incr2 = element_stride(out[1]);
        } else if (!all_contiguous) {
            for (auto& a : in) a = py::array::ensure(a, py::array::c_style);
            for (auto& t : targets)
                if (!contiguous(t)) t = py::array(out_type, shape);
        }
        c.a = in[0].data();
        if (in.size() > 1) c.b = in[1].data();
        c.r1 = targets[0].mutable_data();
        if (targets.size() > 1) c.r2 = targets[1].mutable_data();
        {
            py::gil_scoped_release unlocked;
            qor_vm_clear_status();
            use->invoke(c);
            status = qor_vm_get_status();
        }
        for (size_t k = 0; k < out.size(); ++k)
            if (!targets[k].is(out[k])) out[k][py::ellipsis()] = targets[k];
    }
    py::tuple results(out.size());
    for (size_t k = 0; k < out.size(); ++k) results[k] = out[k];
    return py::make_tuple(results, status, mode);
}

}  // namespace

void bind_vm(py::module_& m) {
    m.def("_call", &call, py::arg("name"), py::arg("inputs"), py::arg("scalars"), py::arg("out"),
          py::arg("accuracy"));
    m.def("_functions", [] {
        py::list functions;
        for (const auto& [name, rows] : table()) {
            std::string precisions;
            for (const auto& row : rows)
                if (!row.strided) precisions += row.precision;
            std::string family = rows.front().family;
            if (family == "c2r" || family == "r2c") family = "unary";
            functions.append(py::make_tuple(name, family, precisions));
        }
        return functions;
    });
    m.def("get_mode", [] { return qor_vm_get_mode(); }, "The calling thread's vector-math mode word.");
    m.def("set_mode", [](uint32_t mode) { return qor_vm_set_mode(mode); }, py::arg("mode"),
          "Merges the non-zero fields of mode into the thread's mode; returns the previous mode.");
    m.attr("LA") = int(QOR_VM_LA);
    m.attr("HA") = int(QOR_VM_HA);
    m.attr("EP") = int(QOR_VM_EP);
    m.attr("ERRMODE_IGNORE") = int(QOR_VM_ERRMODE_IGNORE);
    m.attr("ERRMODE_DEFAULT") = int(QOR_VM_ERRMODE_DEFAULT);
    m.attr("TRAP_MASK") = int(QOR_VM_TRAP_MASK);
}

}  // namespace qor_python
