#!/usr/bin/env python3
"""Coefficients of the gamma and modified Bessel kernels (vm/kernels/gamma/).

Chebyshev fits with mpmath at 200 bits, written as C++ double bit patterns,
highest degree first; the leading coefficients that the kernels evaluate in
two-double arithmetic get a head and a tail.  Run: python3 tools/fit_gamma.py
"""
import struct
import mpmath as mp

mp.mp.prec = 200


def bits(v):
    return '0x%016XULL' % struct.unpack('<Q', struct.pack('<d', float(v)))[0]


def split(v):
    hi = mp.mpf(float(v))
    lo = mp.mpf(float(v - hi))
    return hi, lo


def dbl_list(name, coeffs, note):
    body = ', '.join('dbl(%s)' % bits(c) for c in coeffs)
    return '// %s\ninline constexpr double %s[%d] = {%s};\n' % (note, name, len(coeffs), body)


def pair(name, v, note):
    hi, lo = split(v)
    return '// %s\ninline constexpr double %s[2] = {dbl(%s), dbl(%s)};\n' % (note, name, bits(hi), bits(lo))


def fit(f, a, b, n):
    c, err = mp.chebyfit(f, [a, b], n + 1, error=True)
    return c, err


def report(name, err):
    print('// %s: fit error %.3g (2^%.1f)' % (name, float(err), float(mp.log(err, 2)) if err > 0 else -999))


out = []
gamma = +mp.euler

# 1/Gamma(1+f) = 1 + gamma f + f^2 Q(f) on |f| <= 1/2.
def rgam_q(f):
    if abs(f) < mp.mpf('1e-20'):
        return (mp.euler ** 2 - mp.pi ** 2 / 6) / 2
    return (mp.rgamma(1 + f) - 1 - mp.euler * f) / f ** 2

import sys
DEG_Q = int(sys.argv[1]) if len(sys.argv) > 1 else 16
q, err = fit(rgam_q, mp.mpf(-0.5), mp.mpf(0.5), DEG_Q)
report('rgamma Q', err)
# Q's two lowest coefficients as pairs.
out.append(pair('kEulerGamma', gamma, "Euler's constant"))
out.append(pair('kRecipQ0', q[-1], 'Q(0) part of 1/Gamma(1+f)'))
out.append(pair('kRecipQ1', q[-2], 'Q linear coefficient'))
out.append(dbl_list('kRecipQHigh', q[:-2], '1/Gamma(1+f) = 1 + gamma f + f^2 (Q0 + Q1 f + f^2 QHigh(f)), |f| <= 1/2'))

# lgamma(1 + f) and lgamma(2 + f) for |f| < 2^-20: f (c1 + c2 f + ...), c1 as a pair.
near1 = [-mp.euler] + [(-1) ** k * mp.zeta(k) / k for k in range(2, 6)]
near2 = [1 - mp.euler] + [(-1) ** k * (mp.zeta(k) - 1) / k for k in range(2, 6)]
for name, c, at in (('kNearOne', near1, 1), ('kNearTwo', near2, 2)):
    out.append(pair(name + 'Lead', c[0], 'lgamma(%d + f) = f (lead + f tail(f)), |f| < 2^-20' % at))
    out.append(dbl_list(name + 'Tail', list(reversed(c[1:])), 'its tail, highest degree first'))

# Stirling correction: lgamma(x) - ((x - 1/2) ln x - x + ln(2 pi)/2) = S(1/x^2)/x, x >= 10.
T = 10
def stir(z):
    if z == 0:
        return mp.mpf(1) / 12
    x = 1 / mp.sqrt(z)
    return (mp.loggamma(x) - ((x - 0.5) * mp.log(x) - x + mp.log(2 * mp.pi) / 2)) * x
s, err = fit(stir, mp.mpf(0), mp.mpf(1) / T ** 2, 6)
report('stirling', err)
out.append(dbl_list('kStirling', s, 'x (lgamma(x) - Stirling) as a polynomial in 1/x^2 on x >= 10'))
out.append(pair('kHalfLn2Pi', mp.log(2 * mp.pi) / 2, 'ln(2 pi)/2'))
out.append(pair('kPi', mp.pi, 'pi'))
out.append(pair('kLnPi', mp.log(mp.pi), 'ln pi'))

# sin(pi t) = pi t (1 + t^2 S(t^2)), cos(pi t) = 1 - t^2 C(t^2), |t| <= 1/4.
def sinq(z):
    if z == 0:
        return -mp.pi ** 2 / 6
    t = mp.sqrt(z)
    return (mp.sin(mp.pi * t) / (mp.pi * t) - 1) / z
def cosq(z):
    if z == 0:
        return mp.pi ** 2 / 2
    t = mp.sqrt(z)
    return (1 - mp.cos(mp.pi * t)) / z
c, err = fit(sinq, mp.mpf(0), mp.mpf(1) / 16, 6); report('sinpi', err)
out.append(dbl_list('kSinPi', c, 'sin(pi t) = pi t (1 + t^2 S(t^2)), |t| <= 1/4'))
c, err = fit(cosq, mp.mpf(0), mp.mpf(1) / 16, 6); report('cospi', err)
out.append(dbl_list('kCosPi', c, 'cos(pi t) = 1 - t^2 C(t^2), |t| <= 1/4'))
out.append(pair('kHalfPiSquared', mp.pi ** 2 / 2, 'C(0) = pi^2/2'))

# I0, I1 on |x| <= B: sums over t = x^2/4 with the first K Taylor terms exact
# (as pairs) and the tail t^K U(t) fitted.
B = int(sys.argv[4]) if len(sys.argv) > 4 else 8
K = 8
def tail0(t):
    return mp.nsum(lambda k: t ** (k - K) / mp.factorial(k) ** 2, [K, mp.inf])
def tail1(t):
    return mp.nsum(lambda k: t ** (k - K) / (mp.factorial(k) * mp.factorial(k + 1)), [K, mp.inf])
DEG_T = int(sys.argv[2]) if len(sys.argv) > 2 else 11
c, err = fit(tail0, mp.mpf(0), mp.mpf(B * B) / 4, DEG_T); report('I0 tail', err / tail0(mp.mpf(0)))
out.append(dbl_list('kI0Tail', c, 'I0: terms from t^8 on, divided by t^8, t = x^2/4 <= 16'))
c, err = fit(tail1, mp.mpf(0), mp.mpf(B * B) / 4, DEG_T); report('I1 tail', err / tail1(mp.mpf(0)))
out.append(dbl_list('kI1Tail', c, 'I1: (2/x) times the terms from t^8 on, divided by t^8'))
heads0 = [1 / mp.factorial(k) ** 2 for k in range(K)]
heads1 = [1 / (mp.factorial(k) * mp.factorial(k + 1)) for k in range(K)]
def pairs(name, vals, note):
    rows = ', '.join('{dbl(%s), dbl(%s)}' % tuple(bits(p) for p in split(v)) for v in reversed(vals))
    return '// %s\ninline constexpr double %s[%d][2] = {%s};\n' % (note, name, len(vals), rows)
out.append(pairs('kI0Head', heads0, 'I0: 1/(k!)^2 for k = 7 down to 0, head and tail'))
out.append(pairs('kI1Head', heads1, 'I1: 1/(k! (k+1)!) for k = 7 down to 0, head and tail'))

# Large x: I(x) = e^x / sqrt(2 pi x) (1 + u g(u)), u = 1/x <= 1/B, g as a
# Chebyshev series in v = 2 B u - 1 (the monomial form of so long a fit
# cancels badly), evaluated by Clenshaw's recurrence.
def cheb_series(f, a, b, deg, nodes=96):
    xs = [mp.cos(mp.pi * (j + mp.mpf(1) / 2) / nodes) for j in range(nodes)]
    fs = [f((b - a) / 2 * t + (b + a) / 2) for t in xs]
    c = [2 * mp.fsum(fs[j] * mp.cos(mp.pi * k * (j + mp.mpf(1) / 2) / nodes) for j in range(nodes)) / nodes
         for k in range(deg + 1)]
    c[0] /= 2
    err = max(abs(f((b - a) / 2 * t + (b + a) / 2) - mp.fsum(c[k] * mp.chebyt(k, t) for k in range(deg + 1)))
              for t in mp.linspace(-1, 1, 201))
    return c, err
def asym(nu):
    def g(u):
        if u == 0:
            return mp.mpf(1) / 8 if nu == 0 else mp.mpf(-3) / 8
        x = 1 / u
        return (mp.besseli(nu, x) * mp.exp(-x) * mp.sqrt(2 * mp.pi * x) - 1) / u
    return g
DEG_A = int(sys.argv[3]) if len(sys.argv) > 3 else 28
for nu in (0, 1):
    c, err = cheb_series(asym(nu), mp.mpf(0), mp.mpf(1) / B, DEG_A); report('I%d asym' % nu, err)
    out.append(dbl_list('kI%dAsym' % nu, list(reversed(c)),
                        'I%d = e^x / sqrt(2 pi x) (1 + u g(u)), g = sum c_k T_k(16 u - 1), u = 1/x <= 1/8; c_k from k = %d down' % (nu, DEG_A)))
out.append(pair('kLnSqrt2Pi', mp.log(2 * mp.pi) / 2, 'ln sqrt(2 pi)'))

HEAD = '''// Coefficients of the gamma and modified Bessel kernels, written by
// tools/fit_gamma.py (Chebyshev fits with mpmath at 200 bits, rounded to
// double; pairs are a head and the rounded rest).  Do not edit by hand.
#pragma once

#include "../lane_bits.h"

namespace qor::vm::gamma_coeffs {

'''
with open('vm/kernels/gamma/gamma_coeffs.h', 'w') as fh:
    fh.write(HEAD + '\n'.join(out) + '\n}  // namespace qor::vm::gamma_coeffs\n')
