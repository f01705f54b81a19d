"""Summary statistics of the columns of an array (observations in rows).

    qor.stats.summary(x)                     # mean, variance, skewness, kurtosis, min, max
    qor.stats.summary(x, estimates=("mean", "cov"), weights=w)
    qor.stats.quantiles(x, [0.25, 0.5, 0.75])
    sq = qor.stats.StreamQuantiles([0.5, 0.99], eps=1e-3); sq.feed(part); sq.quantiles

Variance and covariance are the unbiased ones (divided by n - 1, or by
W1 - W2/W1 with weights); kurtosis is the excess kurtosis.
"""
import numpy as _np

from ._qor import stats as _stats

StreamQuantiles = _stats.StreamQuantiles

ESTIMATES = ("mean", "raw_moment2", "raw_moment3", "raw_moment4", "variance", "central_moment3",
             "central_moment4", "skewness", "kurtosis", "variation", "sum", "cov", "cor", "min", "max")
DEFAULT = ("mean", "variance", "skewness", "kurtosis", "min", "max")


def _squeeze(x, r):
    """Results of a one-dimensional x as scalars (matrices as 1 x 1 values)."""
    if _np.ndim(x) == 1:
        return r.reshape(()) if r.size == 1 else r[0]
    return r


def summary(x, weights=None, estimates=DEFAULT):
    """A dict of the requested estimates (names in ESTIMATES), one value per column."""
    if isinstance(estimates, str):
        estimates = (estimates,)
    results = _stats._summary(x, weights, list(estimates))
    return {name: _squeeze(x, value) for name, value in results.items()}


def quantiles(x, q):
    """Quantiles of orders q (in [0, 1]) of each column, NumPy's default
    (linear) rule: shape (len(q),) for 1-D x, (columns, len(q)) otherwise."""
    r = _stats._quantiles(x, _np.atleast_1d(_np.asarray(q, dtype=_np.float64)))
    return r[0] if _np.ndim(x) == 1 else r


def cov(x, weights=None):
    return summary(x, weights, ("cov",))["cov"]


def corr(x, weights=None):
    return summary(x, weights, ("cor",))["cor"]


def robust_cov(x, method="mcd", breakdown=0.5, rejection=0.001, subsets=500, seed=1):
    """Robust mean and covariance of the columns of x: FAST-MCD ("mcd",
    reweighted) or Rocke's translated-biweight S-estimate ("tbs") started
    from it.  Repeatable for a given seed."""
    params = [breakdown, rejection, 1e-6, 100, subsets, 1, seed]
    return _stats._robust_cov(x, method, [float(v) for v in params])


def outliers(x, alpha=0.05, init="mahalanobis"):
    """BACON's outlier flags over the rows of x: a boolean array, True for
    an outlier."""
    start = {"mahalanobis": 0, "median": 1}.get(init)
    if start is None:
        raise ValueError("init must be 'mahalanobis' or 'median'")
    return _stats._outliers(x, [float(start), float(alpha)]) == 0


__all__ = ["summary", "quantiles", "cov", "corr", "robust_cov", "outliers", "StreamQuantiles", "ESTIMATES"]
