#!/usr/bin/env python3
"""Generates vm/kernels/erf/erf_table.h: the polynomial fits of the error
function kernels.

    python3 tools/erf_fit.py > vm/kernels/erf/erf_table.h

Every fit interpolates the function at the Chebyshev nodes of its interval
in 60-digit arithmetic (mpmath), which lands within a small factor of the
minimax polynomial; the coefficients are then rounded to double and the
rounded polynomial is checked against the function on a dense grid.  The
degree of each table is the smallest whose fit (before rounding) stays below
the table's target over every piece; the header reports the error of the
rounded coefficients, where the rounding of c1 t dominates.
"""
import sys
import mpmath as mp

mp.mp.dps = 60

PER_BINADE = 16
FIRST_PATTERN = 0x3FE0000000000000 >> 48  # 0.5: sixteen pieces per binade
PIECES = 96                               # [0.5, 32)
ASYMPTOTIC_FROM = 32


def erfcx(x):
    return mp.erfc(x) * mp.exp(x * x)


def to_double(v):
    return float(v)


def hexd(v):
    import struct
    return '0x%016XULL' % struct.unpack('<Q', struct.pack('<d', float(v)))[0]


def interpolate(f, a, b, c, n):
    """Coefficients of the degree-n polynomial in t = x - c through f at
    the Chebyshev nodes of [a, b], lowest degree first."""
    a, b, c = mp.mpf(a), mp.mpf(b), mp.mpf(c)
    nodes = [(a + b) / 2 + (b - a) / 2 * mp.cos(mp.pi * (2 * k + 1) / (2 * (n + 1))) for k in range(n + 1)]
    m = mp.matrix([[(x - c) ** j for j in range(n + 1)] for x in nodes])
    v = mp.matrix([f(x) for x in nodes])
    return list(mp.lu_solve(m, v))


def round_coefficients(coef, split_first):
    """Doubles of the coefficients; with split_first the constant term as
    a head and a tail."""
    out = []
    c0 = mp.mpf(to_double(coef[0]))
    out.append(c0)
    if split_first:
        out.append(mp.mpf(to_double(coef[0] - c0)))
    out += [mp.mpf(to_double(v)) for v in coef[1:]]
    return out


def evaluate(rounded, split_first, t):
    head = rounded[0] + (rounded[1] if split_first else 0)
    rest = rounded[2:] if split_first else rounded[1:]
    p = mp.mpf(0)
    for v in reversed(rest):
        p = p * t + v
    return head + p * t


def worst_error(f, rounded, split_first, a, b, c, samples):
    worst = mp.mpf(0)
    for i in range(samples + 1):
        x = mp.mpf(a) + (mp.mpf(b) - a) * i / samples
        exact = f(x)
        err = abs(evaluate(rounded, split_first, x - c) / exact - 1)
        worst = max(worst, err)
    return worst


def piece_bounds(i):
    e = i // PER_BINADE - 1
    j = i % PER_BINADE
    a = mp.ldexp(1 + mp.mpf(j) / PER_BINADE, e)
    b = mp.ldexp(1 + mp.mpf(j + 1) / PER_BINADE, e)
    return a, b, (a + b) / 2


def fit_pieces(target_bits, split_first, degrees):
    for n in degrees:
        rows, worst, fit = [], mp.mpf(0), mp.mpf(0)
        for i in range(PIECES):
            a, b, c = piece_bounds(i)
            coef = interpolate(erfcx, a, b, c, n)
            r = round_coefficients(coef, split_first)
            exact = [coef[0], mp.mpf(0)] + coef[1:] if split_first else coef
            fit = max(fit, worst_error(erfcx, exact, split_first, a, b, c, 40))
            worst = max(worst, worst_error(erfcx, r, split_first, a, b, c, 40))
            rows.append(r)
        if fit < mp.mpf(2) ** -target_bits:
            return n, rows, worst
    raise SystemExit('no degree reaches 2^-%d' % target_bits)


def erf_small(s):
    # Q(s) = erf(x)/x - 1 with s = x^2: erf(x) = x + x Q(x^2).  Relative to
    # 1 + Q (the error lands on erf(x)/x).
    x = mp.sqrt(s)
    return (mp.erf(x) / x - 1) if s != 0 else 2 / mp.sqrt(mp.pi) - 1


def asymptotic(u):
    # erfcx(x) = A(u)/x with u = 1/x^2.
    if u == 0:
        return 1 / mp.sqrt(mp.pi)
    x = 1 / mp.sqrt(u)
    return erfcx(x) * x


ERF_FIRST_PATTERN = 0x3FE0000000000000 >> 48  # 0.5: sixteen pieces per binade
ERF_PIECES = 56                                # [0.5, 6)


def erf_piece_bounds(i):
    e = i // 16 - 1
    j = i % 16
    a = mp.ldexp(1 + mp.mpf(j) / 16, e)
    b = mp.ldexp(1 + mp.mpf(j + 1) / 16, e)
    return a, b, (a + b) / 2


def fit_erf_pieces(target_bits, split_first, degrees, pieces=ERF_PIECES):
    """erf itself on [0.5, 6), for absolute error (erf > 1/2 there)."""
    for n in degrees:
        rows, worst, fit = [], mp.mpf(0), mp.mpf(0)
        for i in range(pieces):
            a, b, c = erf_piece_bounds(i)
            coef = interpolate(mp.erf, a, b, c, n)
            r = round_coefficients(coef, split_first)
            exact = [coef[0], mp.mpf(0)] + coef[1:] if split_first else coef
            for k in range(41):
                x = a + (b - a) * k / 40
                fit = max(fit, abs(evaluate(exact, split_first, x - c) - mp.erf(x)))
                worst = max(worst, abs(evaluate(r, split_first, x - c) - mp.erf(x)))
            rows.append(r)
        if fit < mp.mpf(2) ** -target_bits:
            return n, rows, worst
    raise SystemExit('no erf degree reaches 2^-%d' % target_bits)


def emit_rows(name, rows, comment, bounds=None):
    bounds = bounds or piece_bounds
    width = len(rows[0])
    print('// %s' % comment)
    print('inline constexpr Rows<%d, %d> %s = {{' % (len(rows), width, name))
    for i, r in enumerate(rows):
        a, b, _ = bounds(i)
        print('    {%s},  // [%s, %s)' % (', '.join('dbl(%s)' % hexd(v) for v in r), mp.nstr(a, 8), mp.nstr(b, 8)))
    print('}};')
    print()


def emit_poly(name, coef, comment, highest_first=True):
    vals = list(reversed(coef)) if highest_first else coef
    print('// %s' % comment)
    print('inline constexpr double %s[%d] = {' % (name, len(vals)))
    print(',\n'.join('    dbl(%s)' % hexd(v) for v in vals))
    print('};')
    print()


def small_fit(target_bits, degrees):
    # Fitted on s in [0, 1/4] for the absolute error of Q, which is the
    # relative error of erf(x)/x = 1 + Q within a factor 1.13.
    for n in degrees:
        coef = interpolate(erf_small, 0, mp.mpf(1) / 4, 0, n)
        r = round_coefficients(coef, False)
        worst, fit = mp.mpf(0), mp.mpf(0)
        for i in range(401):
            s = mp.mpf(i) / 1600
            worst = max(worst, abs(evaluate(r, False, s) - erf_small(s)))
            fit = max(fit, abs(evaluate(coef, False, s) - erf_small(s)))
        if fit < mp.mpf(2) ** -target_bits:
            return n, r, worst
    raise SystemExit('small fit')


def asymptotic_fit(target_bits, degrees):
    umax = mp.mpf(1) / ASYMPTOTIC_FROM ** 2
    for n in degrees:
        coef = interpolate(asymptotic, 0, umax, 0, n)
        r = round_coefficients(coef, True)
        exact = [coef[0], mp.mpf(0)] + coef[1:]
        worst, fit = mp.mpf(0), mp.mpf(0)
        for i in range(1, 201):
            u = umax * i / 200
            worst = max(worst, abs(evaluate(r, True, u) / asymptotic(u) - 1))
            fit = max(fit, abs(evaluate(exact, True, u) / asymptotic(u) - 1))
        if fit < mp.mpf(2) ** -target_bits:
            return n, r, worst
    raise SystemExit('asymptotic fit')


def main():
    high = fit_pieces(62, True, range(8, 24))
    mid = fit_pieces(35, False, range(4, 16))
    low = fit_pieces(17, False, range(2, 10))
    erf_high = fit_erf_pieces(61, True, range(6, 20))
    erf_mid = fit_erf_pieces(34, False, range(3, 14))
    erf_low = fit_erf_pieces(17, False, range(1, 8))
    sh = small_fit(62, range(4, 16))
    sm = small_fit(35, range(2, 12))
    sl = small_fit(17, range(1, 8))
    ah = asymptotic_fit(62, range(2, 12))
    am = asymptotic_fit(35, range(1, 8))
    log = lambda w: float(mp.log(w, 2)) if w > 0 else -999
    print('// Polynomial fits of the error function kernels, made by tools/erf_fit.py')
    print('// (Chebyshev interpolation in 60-digit arithmetic, coefficients rounded')
    print('// to double and checked on a dense grid; do not edit by hand).')
    print('//')
    print('// Pieces: [0.5, 32) in %d pieces, sixteen per binade, [a (1 + j/16),' % PIECES)
    print('// a (1 + (j+1)/16)) with a = 2^e, numbered 16 (e + 1) + j: the pattern of x')
    print('// shifted right by 48 less %d.  On each piece erfcx(x) = e^(x^2) erfc(x)' % FIRST_PATTERN)
    print('// is a polynomial in t = x - c, c the centre (kCenter), lowest degree')
    print('// first, fitted for relative error:')
    print('//   kHigh: degree %d, worst 2^%.1f; c0 as head and tail, then c1 ...' % (high[0], log(high[2])))
    print('//   kMid:  degree %d, worst 2^%.1f;' % (mid[0], log(mid[2])))
    print('//   kLow:  degree %d, worst 2^%.1f.' % (low[0], log(low[2])))
    print('// Erf on [0.5, 6) directly (no exponential), sixteen pieces per binade,')
    print('// numbered by the pattern of x shifted right by 48 less %d, centres in' % ERF_FIRST_PATTERN)
    print('// kErfCenter; fitted for absolute error: kErfHigh degree %d, 2^%.1f (c0 as' % (erf_high[0], log(erf_high[2])))
    print('// head and tail), kErfMid degree %d,' % erf_mid[0])
    print('// 2^%.1f, and kErfLow degree %d, 2^%.1f.' % (log(erf_mid[2]), erf_low[0], log(erf_low[2])))
    print('// Small arguments: erf(x) = x + x Q(x^2) for |x| <= 1/2, Q highest degree')
    print('// first, absolute error 2^%.1f, 2^%.1f, 2^%.1f (kSmall*).' % (log(sh[2]), log(sm[2]), log(sl[2])))
    print('// Large arguments: erfcx(x) = A(1/x^2)/x for x >= %d, A with its constant' % ASYMPTOTIC_FROM)
    print('// term as head and tail, lowest degree first: relative error 2^%.1f' % log(ah[2]))
    print('// (kAsymHigh) and 2^%.1f (kAsymMid).' % log(am[2]))
    print('#pragma once')
    print()
    print('#include <cstdint>')
    print()
    print('#include "../lane_bits.h"')
    print()
    print('namespace qor::vm::erf_table {')
    print()
    print('inline constexpr int kPieces = %d;' % PIECES)
    print('inline constexpr int kFirstPattern = %d;  // (bits of 0.5) >> 48' % FIRST_PATTERN)
    print()
    print('inline constexpr int kErfPieces = %d;' % ERF_PIECES)
    print('inline constexpr int kErfFirstPattern = %d;  // (bits of 0.5) >> 48' % ERF_FIRST_PATTERN)
    print()
    print('template <int P, int N>')
    print('struct alignas(16) Rows {')
    print('    double v[P][N];')
    print('};')
    print()
    print('inline constexpr double kCenter[kPieces] = {')
    print(',\n'.join('    %s' % mp.nstr(piece_bounds(i)[2], 20) for i in range(PIECES)))
    print('};')
    print()
    emit_rows('kHigh', high[1], 'c0 head, c0 tail, c1 ... c%d' % high[0])
    emit_rows('kMid', mid[1], 'c0 ... c%d' % mid[0])
    emit_rows('kLow', low[1], 'c0 ... c%d' % low[0])
    print('inline constexpr double kErfCenter[kErfPieces] = {')
    print(',\n'.join('    %s' % mp.nstr(erf_piece_bounds(i)[2], 20) for i in range(ERF_PIECES)))
    print('};')
    print()
    emit_rows('kErfHigh', erf_high[1], 'c0 head, c0 tail, c1 ... c%d' % erf_high[0], erf_piece_bounds)
    emit_rows('kErfMid', erf_mid[1], 'c0 ... c%d' % erf_mid[0], erf_piece_bounds)
    emit_rows('kErfLow', erf_low[1], 'c0 ... c%d' % erf_low[0], erf_piece_bounds)
    emit_poly('kSmallHigh', sh[1], 'Q, highest degree first')
    emit_poly('kSmallMid', sm[1], 'Q, highest degree first')
    emit_poly('kSmallLow', sl[1], 'Q, highest degree first')
    emit_poly('kAsymHigh', ah[1], 'A: a0 head, a0 tail, a1 ... (lowest first)', highest_first=False)
    emit_poly('kAsymMid', am[1], 'A: a0 head, a0 tail, a1 ... (lowest first)', highest_first=False)
    print('}  // namespace qor::vm::erf_table')


if __name__ == '__main__':
    main()
