"""qor.vm against Python's scalar math and cmath, and its argument checks."""
import cmath
import math
import warnings

import numpy as np
import pytest

import qor

rng = np.random.default_rng(2026)
X = rng.uniform(-5, 5, 257)
Z = X + 1j * rng.uniform(-5, 5, 257)


def ulps(got, want):
    return np.max(np.abs(got - want) / np.spacing(np.abs(want)))


@pytest.mark.parametrize("name, scalar, domain", [
    ("exp", math.exp, X), ("ln", math.log, np.abs(X) + 1e-3), ("sin", math.sin, X),
    ("atan", math.atan, X), ("erf", math.erf, X), ("cbrt", lambda v: math.copysign(abs(v) ** (1 / 3), v), X),
])
def test_real_functions_match_scalar_math(name, scalar, domain):
    want = np.array([scalar(v) for v in domain])
    assert ulps(getattr(qor.vm, name)(domain), want) <= 2
    narrow = domain.astype(np.float32)
    single = getattr(qor.vm, name)(narrow)
    assert single.dtype == np.float32
    assert np.allclose(single, [scalar(float(v)) for v in narrow], rtol=1.2e-7, atol=1e-30)


@pytest.mark.parametrize("name, scalar", [("exp", cmath.exp), ("ln", cmath.log), ("sqrt", cmath.sqrt),
                                          ("asin", cmath.asin), ("tan", cmath.tan)])
def test_complex_functions_match_cmath(name, scalar):
    got = getattr(qor.vm, name)(Z)
    want = np.array([scalar(v) for v in Z])
    assert np.allclose(got, want, rtol=1e-14, atol=0)
    assert qor.vm.abs(Z).dtype == np.float64 and qor.vm.cis(X).dtype == np.complex128


def test_forms_and_layouts():
    # Binary, two results, a scalar and integers taken as float64.
    assert np.array_equal(qor.vm.add(X, X), X + X)
    s, c = qor.vm.sincos(X)
    assert np.allclose(s * s + c * c, 1, rtol=1e-15)
    assert np.allclose(qor.vm.powx(np.abs(X), 2.0), X * X, rtol=1e-15)
    assert qor.vm.sqrt(np.arange(4)).tolist() == [0, 1, math.sqrt(2), math.sqrt(3)]
    assert qor.vm.exp(0.0) == 1.0
    # Strided views are read and written in place, matching contiguous input.
    out = np.zeros(2 * X.size)
    r = qor.vm.exp(X[::3], out=out[::6][: X[::3].size])
    assert np.array_equal(r, qor.vm.exp(np.ascontiguousarray(X[::3])))
    assert np.shares_memory(r, out)
    # N-d and non-contiguous 2-d arrays keep their shape.
    m = X[:256].reshape(16, 16)
    assert np.array_equal(qor.vm.exp(m.T), qor.vm.exp(m).T)


def test_accuracy_variants_and_status():
    exact = np.array([math.exp(v) for v in X])
    assert ulps(qor.vm.exp(X, accuracy="ha"), exact) <= 1
    assert np.allclose(qor.vm.exp(X, accuracy="ep"), exact, rtol=1e-7)
    with pytest.warns(RuntimeWarning, match="domain"):
        r = qor.vm.ln(np.array([-1.0, 1.0]))
    assert math.isnan(r[0]) and r[1] == 0
    old = qor.vm.get_mode()
    try:
        qor.vm.set_mode(qor.vm.ERRMODE_IGNORE)
        with warnings.catch_warnings():
            warnings.simplefilter("error")
            qor.vm.ln(np.array([-1.0]))
    finally:
        qor.vm._vm.set_mode(old)


def test_bad_arguments():
    with pytest.raises(TypeError, match="dtype"):
        qor.vm.exp(np.array(["a"]))
    with pytest.raises(TypeError):
        qor.vm.erf(Z)  # no complex form
    with pytest.raises(ValueError, match="shape"):
        qor.vm.add(X, X[:3])
    with pytest.raises(ValueError, match="accuracy"):
        qor.vm.exp(X, accuracy="best")
    with pytest.raises(TypeError, match="out must have dtype"):
        qor.vm.exp(X, out=np.zeros(X.size, np.float32))
    with pytest.raises(ValueError, match="read-only"):
        ro = np.zeros(X.size)
        ro.flags.writeable = False
        qor.vm.exp(X, out=ro)
