"""Element-wise functions over NumPy arrays: every function of qor's vector
math, named in lower case (exp, log1p, cdfnorminv, sincos, ...).

Each takes arrays of float32, float64, complex64 or complex128 (integers
are taken as float64), an ``out=`` array (or a tuple of two for functions
with two results) and ``accuracy="ha"`` (high accuracy), ``"la"`` (lower
accuracy, faster) or ``"ep"`` (enhanced performance, about half the bits);
without it the thread's mode decides.  One-dimensional views with positive
strides are computed in place through the strided kernels; other
non-contiguous layouts are copied first.

Errors in elements (a domain error, a pole, overflow, underflow) follow the
thread's mode word: with its error field set to ERRMODE_IGNORE nothing is
said; with any trap bit (TRAP_MASK) set, FloatingPointError is raised;
otherwise a RuntimeWarning is issued, as NumPy does by default.
"""
import warnings as _warnings

from ._qor import vm as _vm

get_mode = _vm.get_mode
set_mode = _vm.set_mode
LA, HA, EP = _vm.LA, _vm.HA, _vm.EP
ERRMODE_IGNORE, ERRMODE_DEFAULT, TRAP_MASK = _vm.ERRMODE_IGNORE, _vm.ERRMODE_DEFAULT, _vm.TRAP_MASK

_STATUS = {1: "argument outside the domain", 2: "singularity", 3: "overflow", 4: "underflow"}


def _report(name, status, mode):
    if status == 0 or (mode & 0xFF00) == ERRMODE_IGNORE:
        return
    what = _STATUS.get(status, "error %d" % status)
    if mode & TRAP_MASK:
        raise FloatingPointError("qor.vm.%s: %s" % (name, what))
    _warnings.warn("qor.vm.%s: %s" % (name, what), RuntimeWarning, stacklevel=3)


def _unwrap(results, name, count):
    arrays, status, mode = results
    _report(name, status, mode)
    if count == 1:
        r = arrays[0]
        return r[()] if r.ndim == 0 else r
    return tuple(a[()] if a.ndim == 0 else a for a in arrays)


def _outs(out, count):
    if out is None:
        return None
    if isinstance(out, (tuple, list)):
        return list(out)
    if count != 1:
        raise TypeError("out must be a tuple of %d arrays" % count)
    return [out]


def _make(name, family, precisions):
    call = _vm._call
    if family == "unary":
        def f(a, /, out=None, *, accuracy=None):
            return _unwrap(call(name, [a], [], _outs(out, 1), accuracy), name, 1)
    elif family == "binary":
        def f(a, b, /, out=None, *, accuracy=None):
            return _unwrap(call(name, [a, b], [], _outs(out, 1), accuracy), name, 1)
    elif family == "two_out":
        def f(a, /, out=None, *, accuracy=None):
            return _unwrap(call(name, [a], [], _outs(out, 2), accuracy), name, 2)
    elif family == "scalar":
        def f(a, b, /, out=None, *, accuracy=None):
            return _unwrap(call(name, [a], [complex(b)], _outs(out, 1), accuracy), name, 1)
    elif family == "linfrac":
        def f(a, b, scalea, shifta, scaleb, shiftb, /, out=None, *, accuracy=None):
            scalars = [complex(scalea), complex(shifta), complex(scaleb), complex(shiftb)]
            return _unwrap(call(name, [a, b], scalars, _outs(out, 1), accuracy), name, 1)
    else:
        raise AssertionError(family)
    f.__name__ = f.__qualname__ = name
    kinds = {"s": "float32", "d": "float64", "c": "complex64", "z": "complex128"}
    f.__doc__ = "qor.vm.%s over arrays of %s." % (name, ", ".join(kinds[p] for p in precisions))
    return f


__all__ = ["get_mode", "set_mode"]
for _name, _family, _precisions in _vm._functions():
    globals()[_name] = _make(_name, _family, _precisions)
    __all__.append(_name)
