"""qor for Python: vector math, random numbers, summary statistics and data
fitting over NumPy arrays.

    import numpy as np, qor
    qor.vm.exp(np.linspace(0, 1, 5))
    rng = np.random.Generator(qor.random.MT19937(42))
    qor.stats.summary(np.random.default_rng(1).normal(size=(1000, 3)))
    qor.fit.CubicSpline([0, 1, 2, 3], [0, 1, 0, 1])(1.5)
"""
from . import _qor
from . import vm, random, stats, fit

kernel_set = _qor.kernel_set
__all__ = ["vm", "random", "stats", "fit", "kernel_set"]
