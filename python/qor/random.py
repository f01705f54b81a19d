"""Random numbers: qor's basic generators as streams with qor's
distributions, and as NumPy bit generators.

    s = qor.random.Stream("philox4x32x10", seed=7)
    x = s.gaussian(0.0, 1.0, size=10**6)
    g = numpy.random.Generator(qor.random.MT19937(42))   # NumPy's own distributions

A seed is an int (its 32-bit words, least significant first, seed the
generator) or a sequence of 32-bit words; bit generators made with
seed=None draw their seed from NumPy's SeedSequence (fresh entropy).
Streams copy, save to bytes, load, pickle, skip ahead and leapfrog.
"""
import os as _os
import tempfile as _tempfile
import threading as _threading

import numpy as _np

from ._qor import random as _random

generators = tuple(_random._generators())


def _size_count(size):
    if size is None:
        return 1
    return int(_np.prod(size, dtype=_np.int64)) if not isinstance(size, int) else size


class Stream:
    """A stream of one of qor's generators (see ``generators``); ``member``
    picks a member of a family (MT2203, Wichmann-Hill)."""

    def __init__(self, generator="mt19937", seed=1, member=0):
        self._s = _random._Stream(generator, seed, member)

    @classmethod
    def _adopt(cls, raw):
        obj = cls.__new__(cls)
        obj._s = raw
        return obj

    @classmethod
    def load(cls, image):
        """The stream saved in ``image`` (bytes from ``save``)."""
        with _tempfile.TemporaryDirectory() as folder:
            path = _os.path.join(folder, "stream")
            with open(path, "wb") as f:
                f.write(bytes(image))
            return cls._adopt(_random._Stream.load_file(path))

    def save(self):
        return self._s.save()

    def copy(self):
        return Stream._adopt(self._s.copy())

    __copy__ = copy

    def __deepcopy__(self, memo):
        return self.copy()

    def __reduce__(self):
        return (Stream.load, (self.save(),))

    def skip_ahead(self, count):
        """Moves the stream ``count`` outputs ahead (any non-negative int)."""
        self._s.skip_ahead(int(count))

    def leapfrog(self, k, nstreams):
        """Makes this stream output k, k + nstreams, k + 2 nstreams, ..."""
        self._s.leapfrog(int(k), int(nstreams))

    @property
    def brng(self):
        return self._s.brng

    # ---- distributions ----------------------------------------------------
    def _real(self, name, params, size, dtype, method, accurate=False):
        form = "s" if _np.dtype(dtype) == _np.float32 else "d"
        if _np.dtype(dtype) not in (_np.float32, _np.float64):
            raise TypeError("dtype must be float32 or float64")
        if accurate:
            method |= 0x40000000
        r = self._s._fill(name, form, _size_count(size), 1, [float(p) for p in params], [], method)
        return r[0] if size is None else r.reshape(size)

    def _int(self, name, params, size, method=0, arrays=(), width=1):
        n = _size_count(size)
        r = self._s._fill(name, "i", n, width, [float(p) for p in params], list(arrays), method)
        if width > 1:
            return r.reshape((n, width) if size is None else tuple(_np.atleast_1d(size)) + (width,))
        return r[0] if size is None else r.reshape(size)

    def uniform(self, low=0.0, high=1.0, size=None, dtype=_np.float64, accurate=False):
        return self._real("Uniform", (low, high), size, dtype, 0, accurate)

    def gaussian(self, loc=0.0, scale=1.0, size=None, dtype=_np.float64, method=0):
        """method 0: Box-Muller, 1: Box-Muller (pairs), 2: inverse CDF."""
        return self._real("Gaussian", (loc, scale), size, dtype, method)

    normal = gaussian

    def exponential(self, scale=1.0, loc=0.0, size=None, dtype=_np.float64, accurate=False):
        return self._real("Exponential", (loc, scale), size, dtype, 0, accurate)

    def laplace(self, loc=0.0, scale=1.0, size=None, dtype=_np.float64):
        return self._real("Laplace", (loc, scale), size, dtype, 0)

    def weibull(self, shape, scale=1.0, loc=0.0, size=None, dtype=_np.float64, accurate=False):
        return self._real("Weibull", (shape, loc, scale), size, dtype, 0, accurate)

    def cauchy(self, loc=0.0, scale=1.0, size=None, dtype=_np.float64):
        return self._real("Cauchy", (loc, scale), size, dtype, 0)

    def rayleigh(self, scale=1.0, loc=0.0, size=None, dtype=_np.float64, accurate=False):
        return self._real("Rayleigh", (loc, scale), size, dtype, 0, accurate)

    def lognormal(self, mean=0.0, sigma=1.0, loc=0.0, scale=1.0, size=None, dtype=_np.float64, method=0):
        return self._real("Lognormal", (mean, sigma, loc, scale), size, dtype, method)

    def gumbel(self, loc=0.0, scale=1.0, size=None, dtype=_np.float64):
        return self._real("Gumbel", (loc, scale), size, dtype, 0)

    def gamma(self, shape, scale=1.0, loc=0.0, size=None, dtype=_np.float64, accurate=False):
        return self._real("Gamma", (shape, loc, scale), size, dtype, 0, accurate)

    def beta(self, a, b, loc=0.0, scale=1.0, size=None, dtype=_np.float64, accurate=False):
        return self._real("Beta", (a, b, loc, scale), size, dtype, 0, accurate)

    def chisquare(self, df, size=None, dtype=_np.float64):
        return self._real("ChiSquare", (df,), size, dtype, 0)

    def integers(self, low, high, size=None):
        """int32 values in [low, high)."""
        return self._int("Uniform", (low, high), size)

    def bits32(self, size=None):
        return self._int("UniformBits32", (), size)

    def bits64(self, size=None):
        return self._int("UniformBits64", (), size)

    def bernoulli(self, p, size=None):
        return self._int("Bernoulli", (p,), size)

    def geometric(self, p, size=None):
        return self._int("Geometric", (p,), size)

    def binomial(self, n, p, size=None):
        return self._int("Binomial", (n, p), size)

    def hypergeometric(self, population, successes, draws, size=None):
        return self._int("Hypergeometric", (population, draws, successes), size)

    def poisson(self, lam=1.0, size=None):
        if _np.ndim(lam):
            lam = _np.ascontiguousarray(lam, dtype=_np.float64).ravel()
            return self._int("PoissonV", (), lam.size, arrays=[lam])
        return self._int("Poisson", (lam,), size)

    def negative_binomial(self, n, p, size=None):
        return self._int("NegBinomial", (n, p), size)

    def multinomial(self, n, pvals, size=None):
        pvals = _np.ascontiguousarray(pvals, dtype=_np.float64)
        return self._int("Multinomial", (n, pvals.size), size, arrays=[pvals], width=pvals.size)


class _BitGenerator:
    """A qor generator as a NumPy bit generator: ``numpy.random.Generator``
    draws its 64-bit words and doubles from it through NumPy's bit-generator
    interface (the ``capsule`` and ``lock`` attributes)."""

    _name = None

    def __init__(self, seed=None, member=0):
        if seed is None:
            seed = [int(w) for w in _np.random.SeedSequence().generate_state(4)]
        elif isinstance(seed, _np.random.SeedSequence):
            seed = [int(w) for w in seed.generate_state(4)]
        self._member = member
        self._stream = Stream(self._name, seed, member)
        self._attach()

    def _attach(self):
        self._buffer = _random._BitBuffer(self._stream._s)
        self.lock = _threading.Lock()

    @property
    def capsule(self):
        return self._buffer.capsule

    def random_raw(self, size=None, output=True):
        """Raw 64-bit outputs (two 32-bit words, the first in the low half)."""
        n = 1 if size is None else _size_count(size)
        with self.lock:
            r = self._buffer.random_raw(n)
        if not output:
            return None
        return r[0] if size is None else r.reshape(size)

    @property
    def state(self):
        return {"bit_generator": type(self).__name__, "stream": self._stream.save(),
                "buffered": self._buffer.buffered(), "member": self._member}

    @state.setter
    def state(self, value):
        if not isinstance(value, dict) or value.get("bit_generator") != type(self).__name__:
            raise ValueError("state must be a dict from a %s" % type(self).__name__)
        self._stream = Stream.load(value["stream"])
        self._member = value.get("member", 0)
        self._attach()
        self._buffer.restore(value["buffered"])

    def __getstate__(self):
        return self.state

    def __setstate__(self, state):
        self.state = state

    def jumped(self, jumps=1):
        """A copy moved ahead by jumps * 2^64 32-bit outputs, where the generator skips ahead."""
        copy = type(self).__new__(type(self))
        copy.__setstate__(self.state)
        copy._stream.skip_ahead(int(jumps) << 64)
        copy._attach()
        return copy


def _bit_generator(name, cls_name, doc):
    return type(cls_name, (_BitGenerator,), {"_name": name, "__doc__": doc, "__module__": __name__})


MT19937 = _bit_generator("mt19937", "MT19937", "The Mersenne twister of period 2^19937 - 1.")
MT2203 = _bit_generator("mt2203", "MT2203", "A member (member=) of the family of twisters of period 2^2203 - 1.")
SFMT19937 = _bit_generator("sfmt19937", "SFMT19937", "The SIMD-oriented fast Mersenne twister.")
MRG32k3a = _bit_generator("mrg32k3a", "MRG32k3a", "L'Ecuyer's combined multiple recursive generator.")
MCG31m1 = _bit_generator("mcg31m1", "MCG31m1", "The multiplicative congruential generator modulo 2^31 - 1.")
MCG59 = _bit_generator("mcg59", "MCG59", "The multiplicative congruential generator modulo 2^59.")
R250 = _bit_generator("r250", "R250", "Kirkpatrick and Stoll's shift-register generator.")
Philox4x32x10 = _bit_generator("philox4x32x10", "Philox4x32x10", "The counter-based Philox4x32-10.")
ARS5 = _bit_generator("ars5", "ARS5", "The counter-based ARS-5 on AES instructions.")

__all__ = ["Stream", "generators", "MT19937", "MT2203", "SFMT19937", "MRG32k3a", "MCG31m1", "MCG59",
           "R250", "Philox4x32x10", "ARS5"]
