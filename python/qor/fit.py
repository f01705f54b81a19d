"""Splines through points, in the spirit of SciPy's CubicSpline.

    s = qor.fit.CubicSpline(x, y, bc_type="not-a-knot")
    s(t), s(t, 1), s.derivative()(t), s.integrate(a, b)

Kinds: "natural" (a C2 cubic under bc_type: "natural", "not-a-knot",
"periodic", "clamped" with end slopes bc=(left, right)), "akima", "bessel",
"hyman" (monotone where the data are), and "linear".
"""
from ._qor import fit as _fit


class CubicSpline:
    """A spline of the given kind through (x, y); x strictly ascending."""

    def __init__(self, x, y, bc_type="not-a-knot", kind="natural", bc=(0.0, 0.0)):
        self._spline = _fit._Spline(x, y, kind, bc_type, [float(v) for v in bc])
        self._nu = 0

    def __call__(self, x, nu=0):
        """The (nu-th derivative of the) spline at x; outside the
        breakpoints the end pieces continue."""
        return self._spline.evaluate(x, int(nu) + self._nu)[()]

    def derivative(self, nu=1):
        """The nu-th derivative as a callable spline."""
        d = CubicSpline.__new__(CubicSpline)
        d._spline, d._nu = self._spline, self._nu + nu
        return d

    def integrate(self, a, b):
        """The integral from a to b (negative when b < a)."""
        if self._nu:
            return self._spline.evaluate([b], self._nu - 1)[0] - self._spline.evaluate([a], self._nu - 1)[0]
        return self._spline.integrate(float(a), float(b))

    @property
    def x(self):
        return self._spline.x

    @property
    def c(self):
        """Coefficients: row i holds piece i's c0, c1, ... in powers of (t - x[i])."""
        return self._spline.c


def Spline(x, y, kind="natural", bc_type="not-a-knot", bc=(0.0, 0.0)):
    return CubicSpline(x, y, bc_type=bc_type, kind=kind, bc=bc)


__all__ = ["CubicSpline", "Spline"]
