#!/usr/bin/env python3
"""qor for Python against its Python peers, in one run: best of a few
repetitions of each, in milliseconds, and the ratio peer / qor (above 1:
qor is faster).

    PYTHONPATH=build/release/python python3 bench/bench_python.py [N]

N defaults to 10^7 elements; the vector-math rows against a loop of
Python's math module use N / 100 elements (the loop is that slow) and say so.
"""
import math
import sys
import time

import numpy as np
import scipy.interpolate
import scipy.stats

import qor


def best(f, repeat=3):
    times = []
    for _ in range(repeat):
        t = time.perf_counter()
        f()
        times.append(time.perf_counter() - t)
    return min(times) * 1e3


def row(name, ours, peer_name, theirs):
    print(f"{name:<34} {ours:10.2f} ms   {peer_name:<36} {theirs:10.2f} ms   {theirs / ours:7.2f}x")


def main():
    n = int(float(sys.argv[1])) if len(sys.argv) > 1 else 10**7
    print(f"qor {qor.kernel_set()} kernels, n = {n}")
    print(f"{'qor':<34} {'':>13}   {'peer':<36} {'':>13}   ratio")
    stream = qor.random.Stream("philox4x32x10", 1)
    pcg = np.random.Generator(np.random.PCG64(1))
    row("Stream.gaussian (philox)", best(lambda: stream.gaussian(size=n)),
        "Generator(PCG64).standard_normal", best(lambda: pcg.standard_normal(n)))
    row("Stream.uniform (philox)", best(lambda: stream.uniform(size=n)),
        "Generator(PCG64).random", best(lambda: pcg.random(n)))
    mt = qor.random.Stream("mt19937", 1)
    row("Stream.uniform (mt19937)", best(lambda: mt.uniform(size=n)),
        "Generator(PCG64).random", best(lambda: pcg.random(n)))
    on_qor = np.random.Generator(qor.random.MT19937(1))
    row("Generator(qor MT19937).random", best(lambda: on_qor.random(n)),
        "Generator(PCG64).random", best(lambda: pcg.random(n)))

    x = pcg.standard_normal(n)
    row("stats.summary mean+variance", best(lambda: qor.stats.summary(x, estimates=("mean", "variance"))),
        "numpy mean + var", best(lambda: (x.mean(), x.var(ddof=1))))
    row("stats.summary (describe's set)",
        best(lambda: qor.stats.summary(x, estimates=("mean", "variance", "skewness", "kurtosis", "min", "max"))),
        "scipy.stats.describe", best(lambda: scipy.stats.describe(x)))
    q = [0.01, 0.25, 0.5, 0.75, 0.99]
    row("stats.quantiles (5 orders)", best(lambda: qor.stats.quantiles(x, q)),
        "numpy.quantile", best(lambda: np.quantile(x, q)))

    knots = np.sort(pcg.uniform(0, 1000, 10**6))
    values = np.sin(knots)
    sites = pcg.uniform(0, 1000, n)
    row("fit.CubicSpline build 10^6 pts", best(lambda: qor.fit.CubicSpline(knots, values, bc_type="natural")),
        "scipy CubicSpline build", best(lambda: scipy.interpolate.CubicSpline(knots, values, bc_type="natural")))
    ours = qor.fit.CubicSpline(knots, values, bc_type="natural")
    theirs = scipy.interpolate.CubicSpline(knots, values, bc_type="natural")
    row("fit.CubicSpline eval n sites", best(lambda: ours(sites)),
        "scipy CubicSpline eval", best(lambda: theirs(sites)))

    small = x[: n // 100]
    for name, scalar in (("exp", math.exp), ("sin", math.sin), ("erf", math.erf), ("atan", math.atan)):
        f = getattr(qor.vm, name)
        row(f"vm.{name} (n/100)", best(lambda: f(small)),
            f"[math.{name}(v) for v in x] (n/100)", best(lambda: [scalar(v) for v in small.tolist()], 1))


if __name__ == "__main__":
    main()
