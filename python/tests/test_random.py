"""qor.random: known answers, the NumPy bit-generator protocol, stream
operations and argument checks."""
import copy
import pickle

import numpy as np
import pytest

import qor


def test_mt19937_matches_numpy_array_seeding():
    # Array seeding of the Mersenne twister, as NumPy's legacy seeding of an
    # array does it: the raw 32-bit outputs agree.
    reference = np.random.MT19937()
    reference._legacy_seeding(np.array([0x123, 0x234, 0x345, 0x456], dtype=np.uint32))
    s = qor.random.Stream("mt19937", [0x123, 0x234, 0x345, 0x456])
    assert np.array_equal(s.bits32(1000), reference.random_raw(1000).astype(np.uint32))


def test_numpy_generator_runs_on_qor_bit_generators():
    for cls in (qor.random.MT19937, qor.random.Philox4x32x10, qor.random.MRG32k3a, qor.random.SFMT19937):
        g = np.random.Generator(cls(12345))
        x = g.standard_normal(200_000)
        assert abs(x.mean()) < 0.02 and abs(x.std() - 1) < 0.02
        assert set(np.unique(g.integers(0, 6, 1000))) == set(range(6))
        u = g.random(100_000)
        assert 0 <= u.min() and u.max() < 1 and abs(u.mean() - 0.5) < 0.01


def test_bit_generator_state_and_pickle_continue_the_sequence():
    bg = qor.random.MT2203(7, member=3)
    bg.random_raw(5)  # leave part of a buffer unread
    saved = bg.state
    again = pickle.loads(pickle.dumps(bg))
    first = bg.random_raw(3000)
    assert np.array_equal(again.random_raw(3000), first)
    bg.state = saved
    assert np.array_equal(bg.random_raw(3000), first)
    assert not np.array_equal(qor.random.MT2203(7, member=4).random_raw(8), qor.random.MT2203(7, member=3).random_raw(8))
    with pytest.raises(ValueError):
        bg.state = {"bit_generator": "PCG64"}


def test_stream_copy_save_skip_and_leapfrog():
    s = qor.random.Stream("mcg31m1", 777)
    twin, image = s.copy(), s.save()
    x = s.uniform(size=100)
    assert np.array_equal(twin.uniform(size=100), x)
    assert np.array_equal(qor.random.Stream.load(image).uniform(size=100), x)
    assert np.array_equal(pickle.loads(pickle.dumps(qor.random.Stream.load(image))).uniform(size=100), x)
    assert np.array_equal(copy.deepcopy(qor.random.Stream.load(image)).uniform(size=100), x)
    ahead = qor.random.Stream("mcg31m1", 777)
    ahead.skip_ahead(40)
    assert np.array_equal(ahead.uniform(size=60), x[40:])
    frog = qor.random.Stream("mcg31m1", 777)
    frog.leapfrog(2, 5)
    assert np.array_equal(frog.uniform(size=20), x[2::5])


def test_distributions_have_their_moments():
    s = qor.random.Stream("philox4x32x10", 99)
    n = 200_000
    g = s.gaussian(2.0, 3.0, size=n)
    assert abs(g.mean() - 2) < 0.05 and abs(g.std() - 3) < 0.05
    assert abs(s.exponential(2.0, size=n).mean() - 2) < 0.03
    assert abs(s.poisson(4.5, size=n).mean() - 4.5) < 0.03
    assert abs(s.binomial(10, 0.3, size=n).mean() - 3) < 0.03
    u = s.uniform(1, 2, size=(300, 4), dtype=np.float32)
    assert u.shape == (300, 4) and u.dtype == np.float32 and 1 <= u.min() and u.max() < 2
    counts = s.multinomial(10, [0.2, 0.3, 0.5], size=1000)
    assert counts.shape == (1000, 3) and (counts.sum(axis=1) == 10).all()


def test_bad_arguments():
    s = qor.random.Stream()
    with pytest.raises(ValueError, match="unknown generator"):
        qor.random.Stream("pcg64")
    with pytest.raises(ValueError):
        s.gaussian(0.0, -1.0, size=3)
    with pytest.raises(ValueError):
        s.uniform(size=-1)
    with pytest.raises(ValueError):
        qor.random.Stream.load(b"not a stream image at all" * 4)
    with pytest.raises(ValueError):
        qor.random.Stream("r250").leapfrog(1, 2)
