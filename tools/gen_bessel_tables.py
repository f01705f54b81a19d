#!/usr/bin/env python3
"""Generates vm/kernels/bessel/bessel_table.h: the fits of the Bessel kernels.

Computed with mpmath at 256 bits:
  * zeros of J0, J1, Y0, Y1 below 66: sign changes on a grid of step 1/32,
    refined by the root finder to 256 bits, stored as hi + lo doubles;
  * pieces of [0.25, 64), 32 per binade: on each, f(x) = A + t g(u)
    with u = x - m (m the centre) and either t = x - z (z the nearest zero,
    A = 0) when x - z is exact over the whole piece, or t = u and A = f(m);
    g is interpolated at Chebyshev nodes and rewritten as a polynomial in u;
  * below 0.25, polynomials in v = x^2 for (J0 - 1)/v, (J1/x - 1/2)/v,
    Y0 - (2/pi) ln x J0 and (Y1 - (2/pi)(J1 ln x - 1/x))/x;
  * from 64 on, the Hankel functions P - 1 and xQ as polynomials in
    w = 1/x^2, summed from their asymptotic series (optimally truncated,
    the truncation error below e^-2x) and checked against the Bessel
    functions at a few points.
The worst relative errors of the rounded fits against the exact functions
are printed and written into the header.
Run: python3 tools/gen_bessel_tables.py > vm/kernels/bessel/bessel_table.h
"""
import struct
import sys
from mpmath import mp, diff, mpf, besselj, bessely, cos, sin, pi, sqrt, log, findroot, chebyt

mp.prec = 256

FUNCS = {
    'J0': lambda x: besselj(0, x),
    'J1': lambda x: besselj(1, x),
    'Y0': lambda x: bessely(0, x),
    'Y1': lambda x: bessely(1, x),
}
DEGREE = {'J0': 12, 'J1': 12, 'Y0': 12, 'Y1': 12}
SMALL_DEGREE = 11
SINGLE_DEGREE = 8
ASYM_DEGREE = 7
LOW, HIGH = 0.25, 64.0
PER_BINADE = 32
BINADES = 8


def d(x):
    return float(x)


def bits(x):
    return struct.unpack('<Q', struct.pack('<d', float(x)))[0]


def split(x):
    hi = d(x)
    return hi, d(x - mpf(hi))


def zeros(f, upto=66.0):
    out = []
    step = mpf(1) / 32
    x = step
    prev = f(x)
    while x < upto:
        nx = x + step
        cur = f(nx)
        if prev * cur < 0:
            out.append(findroot(f, (x, nx), solver='anderson'))
        x, prev = nx, cur
    return out


def cheb_fit(g, a, b, deg, centre):
    """Interpolates g at the Chebyshev nodes of [a, b]; returns the power
    coefficients in u = x - centre (exact arithmetic in mp)."""
    n = deg + 1
    a, b, centre = mpf(a), mpf(b), mpf(centre)
    h = (b - a) / 2
    mid = (a + b) / 2
    nodes = [cos(pi * (2 * k + 1) / (2 * n)) for k in range(n)]
    vals = [g(mid + h * s) for s in nodes]
    c = []
    for j in range(n):
        s = sum(vals[k] * cos(pi * j * (2 * k + 1) / (2 * n)) for k in range(n)) * 2 / n
        c.append(s)
    c[0] /= 2
    # sum c_j T_j(s), s = (x - mid)/h = (u + centre - mid)/h: power series in u.
    # T_j as power series in s by recurrence.
    tprev, tcur = [mpf(1)], [mpf(0), mpf(1)]
    ps = [mpf(0)] * n
    ps[0] += c[0]
    if n > 1:
        ps[1] += c[1]
    for j in range(2, n):
        tnext = [mpf(0)] * (j + 1)
        for i, v in enumerate(tcur):
            tnext[i + 1] += 2 * v
        for i, v in enumerate(tprev):
            tnext[i] -= v
        for i, v in enumerate(tnext):
            ps[i] += c[j] * v
        tprev, tcur = tcur, tnext
    # s = (u + off)/h, off = centre - mid
    off = centre - mid
    out = [mpf(0)] * n
    # expand sum ps_i ((u + off)/h)^i
    from math import comb
    for i, p in enumerate(ps):
        for k in range(i + 1):
            out[k] += p * comb(i, k) * off ** (i - k) / h ** i
    return out


def horner_d(coef, u):
    r = mpf(coef[-1])
    for c in reversed(coef[:-1]):
        r = r * u + mpf(c)
    return r


def pieces(name, single=False):
    f = FUNCS[name]
    zs = zeros(f)
    if name == 'J1':
        zs = [mpf(0)] + zs
    rows, worst = [], mpf(0)
    per_binade = {}
    e0 = -2
    count = BINADES * PER_BINADE
    for i in range(count):
        e, j = e0 + i // PER_BINADE, i % PER_BINADE
        a = mpf(2) ** e * (1 + mpf(j) / PER_BINADE)
        b = mpf(2) ** e * (1 + mpf(j + 1) / PER_BINADE)
        m = (a + b) / 2
        z = min(zs, key=lambda q: abs(q - m))
        zero_form = (z == 0) or (a >= z / 2 and b <= 2 * z)
        if zero_form:
            zh, zl = split(z)
            A = mpf(0)
            g = lambda x, z=z: f(x) / (x - z)
        else:
            zh, zl = d(m), 0.0
            A = f(m)
            g = lambda x, m=m, A=A: (f(x) - A) / (x - m) if x != m else diff(f, m)
        co = cheb_fit(g, a, b, SINGLE_DEGREE if single else DEGREE[name], m)
        g0h, g0l = split(co[0])
        Ah, Al = split(A)
        g1h, g1l = split(co[1])
        rest = [d(c) for c in co[2:]]
        row = [d(m), zh, zl, Ah, Al, g0h, g0l, g1h, g1l] + rest
        if single:
            g0h, g0l, g1h, g1l, Al = d(co[0]), 0.0, d(co[1]), 0.0, 0.0
            row = [d(m), zh, zl, Ah, g0h, g1h] + rest
        # check: the value A + t (g0 + u rest(u)) with the rounded coefficients
        for k in range(41):
            x = a + (b - a) * k / 40
            x = mpf(d(x))
            if x >= b:
                continue
            u = x - mpf(d(m))
            t = x - mpf(zh) - mpf(zl)
            gg = mpf(g0h) + mpf(g0l) + u * (mpf(g1h) + mpf(g1l)) + u * u * horner_d(rest, u)
            val = mpf(Ah) + mpf(Al) + t * gg
            ex = f(x)
            if ex != 0:
                err = abs(val - ex) / abs(ex)
                worst = max(worst, err)
                per_binade[i // PER_BINADE] = max(per_binade.get(i // PER_BINADE, 0), err)
        rows.append(row)
    print(name, 'per binade', [round(lg(per_binade[k]), 1) for k in sorted(per_binade)], file=sys.stderr)
    return rows, worst, zs


def small(name):
    twopi = 2 / pi
    fun = {
        'J0': lambda v: (besselj(0, sqrt(v)) - 1) / v,
        'J1': lambda v: (besselj(1, sqrt(v)) / sqrt(v) - mpf(1) / 2) / v,
        'Y0': lambda v: bessely(0, sqrt(v)) - twopi * log(sqrt(v)) * besselj(0, sqrt(v)),
        'Y1': lambda v: (bessely(1, sqrt(v)) - twopi * (besselj(1, sqrt(v)) * log(sqrt(v)) - 1 / sqrt(v))) / sqrt(v),
    }[name]
    hi = mpf(LOW) ** 2
    co = cheb_fit(fun, 0, hi, SMALL_DEGREE, 0)
    cd = [d(c) for c in co]
    worst = mpf(0)
    for k in range(1, 41):
        v = hi * k / 40
        ex = fun(v)
        worst = max(worst, abs(horner_d(cd, v) - ex) / abs(ex))
    return cd, worst


def asym_series(nu, x):
    """P - 1 and x Q of order nu by the asymptotic series."""
    mu = 4 * mpf(nu) ** 2
    P, Q = mpf(0), mpf(0)
    term = mpf(1)
    k = 1
    last = None
    while True:
        term = term * (mu - (2 * k - 1) ** 2) / (k * 8 * x)
        if last is not None and abs(term) > abs(last):
            break
        if abs(term) < mpf(2) ** -200:
            break
        sgn = (-1) ** (k // 2)
        if k % 2 == 0:
            P += sgn * term
        else:
            Q += sgn * term
        last = term
        k += 1
    return P, Q * x


def asym(nu):
    hi = mpf(1) / HIGH ** 2
    p = cheb_fit(lambda w: asym_series(nu, 1 / sqrt(w))[0], 0, hi, ASYM_DEGREE, 0)
    q = cheb_fit(lambda w: asym_series(nu, 1 / sqrt(w))[1], 0, hi, ASYM_DEGREE, 0)
    pd, qd = [d(c) for c in p], [d(c) for c in q]
    worst = mpf(0)
    for k in range(1, 41):
        w = hi * k / 40
        P, Q = asym_series(nu, 1 / sqrt(w))
        worst = max(worst, abs(horner_d(pd, w) - P), abs(horner_d(qd, w) - Q))
    # against the functions themselves
    for x in (mpf(64), mpf(77), mpf(130)):
        chi = x - (2 * nu + 1) * pi / 4
        J, Y = besselj(nu, x), bessely(nu, x)
        s = sqrt(pi * x / 2)
        P = s * (J * cos(chi) + Y * sin(chi)) - 1
        Q = s * (Y * cos(chi) - J * sin(chi)) * x
        P2, Q2 = asym_series(nu, x)
        assert abs(P - P2) < mpf(2) ** -80 and abs(Q - Q2) < mpf(2) ** -80, (nu, x)
    return pd, qd, worst


def lg(x):
    from mpmath import log as L
    return float(L(x, 2)) if x > 0 else -999


def emit_array(name, vals, indent='    '):
    out = []
    line = indent
    for v in vals:
        item = 'dbl(0x%016XULL), ' % bits(v)
        if len(line) + len(item) > 118:
            out.append(line.rstrip())
            line = indent
        line += item
    out.append(line.rstrip().rstrip(','))
    return out


def main():
    lines = []
    notes = []
    body = []
    for name in ('J0', 'J1', 'Y0', 'Y1'):
        rows, worst, zs = pieces(name)
        notes.append('  %s: degree %d, worst %.1f (zeros below 66: %d)' % (name, DEGREE[name], lg(worst), len(zs)))
        print('pieces', name, lg(worst), file=sys.stderr)
        n = len(rows[0])
        body.append('inline constexpr double k%sPieces[kPieces][%d] = {' % (name, n))
        for r in rows:
            body.append('    {')
            body += emit_array(None, r, '        ')
            body.append('    },')
        body.append('};')
        body.append('')
    for name in ('J0', 'J1', 'Y0', 'Y1'):
        rows, worst, zs = pieces(name, True)
        notes.append('  %s for single precision: degree %d, plain doubles, worst %.1f' % (name, SINGLE_DEGREE, lg(worst)))
        print('single pieces', name, lg(worst), file=sys.stderr)
        n = len(rows[0])
        body.append('inline constexpr double k%sSinglePieces[kPieces][%d] = {' % (name, n))
        for r in rows:
            body.append('    {')
            body += emit_array(None, r, '        ')
            body.append('    },')
        body.append('};')
        body.append('')
    for name in ('J0', 'J1', 'Y0', 'Y1'):
        cd, worst = small(name)
        notes.append('  small %s: degree %d, worst %.1f' % (name, SMALL_DEGREE, lg(worst)))
        print('small', name, lg(worst), file=sys.stderr)
        body.append('inline constexpr double k%sSmall[%d] = {' % (name, len(cd)))
        body += emit_array(None, list(reversed(cd)))
        body.append('};')
    for nu in (0, 1):
        pd, qd, worst = asym(nu)
        notes.append('  P%d - 1, xQ%d: degree %d, worst absolute %.1f' % (nu, nu, ASYM_DEGREE, lg(worst)))
        print('asym', nu, lg(worst), file=sys.stderr)
        body.append('inline constexpr double kP%d[%d] = {' % (nu, len(pd)))
        body += emit_array(None, list(reversed(pd)))
        body.append('};')
        body.append('inline constexpr double kQ%d[%d] = {' % (nu, len(qd)))
        body += emit_array(None, list(reversed(qd)))
        body.append('};')
    print('// Fits of the Bessel kernels J0, J1, Y0, Y1 (generated by tools/gen_bessel_tables.py).')
    print('//')
    print('// Pieces: [0.25, 64) in %d pieces, %d per binade, numbered by the pattern' % (BINADES * PER_BINADE, PER_BINADE))
    print('// of x shifted right by 47 less that of 0.25.  A row holds m (the centre),')
    print('// z_hi, z_lo, A_hi, A_lo, g0_hi, g0_lo, g1_hi, g1_lo, g2 ... gD: f(x) = A + t g(u) with')
    print('// u = x - m, t = (x - z_hi) - z_lo, g(u) = g0 + g1 u + u^2 (g2 + u (g3 + ...)).  Where')
    print('// x - z_hi is exact over the piece, z is the nearest zero of f and A = 0, so')
    print('// the value keeps its relative accuracy at the zero; elsewhere z = m, A = f(m).')
    print('// Single pieces (for float results, evaluated in plain doubles): m, z_hi, z_lo,')
    print('// A, g0, g1, ... gD.')
    print('// Small: lowest degree last, in v = x^2 on [0, 1/16].  P, Q: in w = 1/x^2 on')
    print('// [0, 1/4096], lowest degree last.  Worst relative errors (log2) of the rounded')
    print('// fits against the functions at 256 bits:')
    for n in notes:
        print('//' + n)
    print('#pragma once')
    print('')
    print('#include "../lane_bits.h"')
    print('')
    print('namespace qor::vm::bessel_table {')
    print('')
    print('inline constexpr int kPieces = %d;' % (BINADES * PER_BINADE))
    print('inline constexpr int kFirstPattern = 0x7FA0;  // (bits of 0.25) >> 47')
    print('')
    for l in body:
        print(l)
    print('')
    print('}  // namespace qor::vm::bessel_table')


main()
