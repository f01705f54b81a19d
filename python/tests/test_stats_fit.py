"""qor.stats against NumPy and SciPy; qor.fit against SciPy's splines."""
import os

import numpy as np
import pytest
import scipy.interpolate
import scipy.stats

import qor

rng = np.random.default_rng(7)
X = rng.normal(size=(5000, 3)) * [1, 2, 3] + [0, 10, -5]


def test_summary_matches_numpy_and_scipy():
    s = qor.stats.summary(X, estimates=("mean", "variance", "skewness", "kurtosis", "min", "max", "cov", "cor"))
    assert np.allclose(s["mean"], X.mean(axis=0), rtol=1e-13)
    assert np.allclose(s["variance"], X.var(axis=0, ddof=1), rtol=1e-12)
    assert np.allclose(s["skewness"], scipy.stats.skew(X), rtol=1e-10)
    assert np.allclose(s["kurtosis"], scipy.stats.kurtosis(X), rtol=1e-10)
    assert np.array_equal(s["min"], X.min(axis=0)) and np.array_equal(s["max"], X.max(axis=0))
    assert np.allclose(s["cov"], np.cov(X, rowvar=False), rtol=1e-12)
    assert np.allclose(qor.stats.corr(X), np.corrcoef(X, rowvar=False), rtol=1e-12)
    w = rng.uniform(0, 2, len(X))
    assert np.allclose(qor.stats.summary(X, w, "mean")["mean"], np.average(X, axis=0, weights=w), rtol=1e-13)
    assert np.isclose(qor.stats.summary(X[:, 0], estimates="mean")["mean"], X[:, 0].mean())


def test_quantiles_exact_and_streaming():
    q = [0, 0.1, 0.5, 0.99, 1]
    assert np.allclose(qor.stats.quantiles(X, q), np.quantile(X, q, axis=0).T, rtol=1e-14)
    eps = 0.01
    sq = qor.stats.StreamQuantiles(q[1:4], eps=eps)
    data = rng.standard_cauchy(100_000)
    for part in np.array_split(data, 37):
        sq.feed(part)
    ranks = np.searchsorted(np.sort(data), sq.quantiles)
    assert np.all(np.abs(ranks - np.array(q[1:4]) * (data.size - 1)) <= eps * data.size + 1)


def test_robust_estimates_find_the_planted_outliers_of_hbk():
    # Hawkins, Bradu and Kass: observations 1 to 14 are the planted outliers.
    path = os.path.join(os.environ.get("QOR_TEST_VECTORS_DIR", ""), "hbk.csv")
    if not os.path.exists(path):
        pytest.skip("hbk.csv not found")
    x = np.genfromtxt(path, delimiter=",", skip_header=1)[:, -4:-1]
    assert np.flatnonzero(qor.stats.outliers(x)).tolist() == list(range(14))
    for method in ("mcd", "tbs"):
        mean, cov = qor.stats.robust_cov(x, method)
        d = x - mean
        distances = np.einsum("ij,jk,ik->i", d, np.linalg.inv(cov), d)
        assert np.flatnonzero(distances > scipy.stats.chi2.ppf(0.975, 3)).tolist() == list(range(14))
    with pytest.raises(ValueError, match="method"):
        qor.stats.robust_cov(x, "ogk")


def test_stats_bad_arguments():
    with pytest.raises(ValueError, match="dimensional"):
        qor.stats.summary(np.zeros((2, 2, 2)))
    with pytest.raises(TypeError):
        qor.stats.summary(np.array(["x", "y"]))
    with pytest.raises(ValueError, match="unknown estimate"):
        qor.stats.summary(X, estimates=("median-ish",))
    with pytest.raises(ValueError, match="weights"):
        qor.stats.summary(X, weights=np.ones(3))
    with pytest.raises(ValueError):
        qor.stats.quantiles(X, [1.5])


@pytest.mark.parametrize("bc", ["natural", "not-a-knot", "periodic", "clamped"])
def test_cubic_spline_matches_scipy(bc):
    x = np.sort(rng.uniform(0, 10, 40))
    y = np.sin(x)
    if bc == "periodic":
        y[-1] = y[0]
    ours = qor.fit.CubicSpline(x, y, bc_type=bc)
    theirs = scipy.interpolate.CubicSpline(x, y, bc_type=bc, extrapolate=True)
    t = np.linspace(x[0] - 0.5, x[-1] + 0.5, 1001)
    for nu in range(4):
        assert np.allclose(ours(t, nu), theirs(t, nu), rtol=1e-9, atol=1e-9)
    assert np.allclose(ours.derivative()(t), theirs(t, 1), atol=1e-9)
    assert np.isclose(ours.integrate(2, 7), theirs.integrate(2, 7), rtol=1e-12)
    assert np.isclose(ours.integrate(7, 2), -theirs.integrate(2, 7), rtol=1e-12)


def test_other_kinds_and_bad_input():
    x = np.arange(10.0)
    y = np.where(x < 5, 0.0, 1.0)
    hyman = qor.fit.CubicSpline(x, y, kind="hyman")
    assert np.all(np.diff(hyman(np.linspace(0, 9, 500))) >= -1e-12)  # monotone data, monotone spline
    assert np.allclose(qor.fit.CubicSpline(x, 2 * x + 1, kind="akima")(x + 0.5), 2 * (x + 0.5) + 1)
    with pytest.raises(ValueError, match="ascending"):
        qor.fit.CubicSpline([0, 2, 1], [0, 1, 2])
    with pytest.raises(ValueError, match="same length"):
        qor.fit.CubicSpline([0, 1, 2], [0, 1])
    with pytest.raises(ValueError, match="kind"):
        qor.fit.CubicSpline(x, y, kind="quintic")
