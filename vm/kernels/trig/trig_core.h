// Sine and cosine of a reduced argument r (|r| <= pi/4 + a little), the
// quadrant selection, and the quotient of the tangent.  All in double
// lanes; the single-precision kernels widen their arguments to use them.
//
// The polynomials are near-minimax fits on z = r^2 in [0, (pi/4)^2], with
// the relative errors given beside each.
#pragma once

#include "../pair.h"
#include "trig_reduce.h"

namespace qor::vm::trig {

// (sin r - r + r^3/6)/r^5, relative error 2^-56.0.
inline constexpr double kSin5[6] = {dbl(0xBD6AB93FAC181465ull), dbl(0x3DE61225B3A14623ull), dbl(0xBE5AE64553422A2Cull),
                                    dbl(0x3EC71DE3A550CB62ull), dbl(0xBF2A01A01A019ED6ull), dbl(0x3F81111111111111ull)};
// (cos r - 1 + r^2/2)/r^4, relative error 2^-54.0.
inline constexpr double kCos4[6] = {dbl(0xBDA907DA367A37CBull), dbl(0x3E21EEB68E93B64Cull), dbl(0xBE927E4FA17DA09Eull),
                                    dbl(0x3EFA01A019F4EB01ull), dbl(0xBF56C16C16C16967ull), dbl(0x3FA5555555555555ull)};
// (sin r - r)/r^3: relative errors 2^-52.2, 2^-42.4, 2^-32.4.
inline constexpr double kSin3L[6] = {dbl(0x3DE5E0B19F8B1451ull), dbl(0xBE5AE600B02B6262ull), dbl(0x3EC71DE37968A100ull),
                                     dbl(0xBF2A01A019E83AAEull), dbl(0x3F81111111110BB2ull), dbl(0xBFC5555555555555ull)};
inline constexpr double kSin3M[5] = {dbl(0xBE5AA285788AAA42ull), dbl(0x3EC71D9A9F41C5A9ull), dbl(0xBF2A019FD9B35EE5ull),
                                     dbl(0x3F81111110FD3D43ull), dbl(0xBFC555555555516Bull)};
inline constexpr double kSin3S[4] = {dbl(0x3EC6DBE0838A06E9ull), dbl(0xBF2A013A793B98CEull), dbl(0x3F811110DEF2E1C9ull),
                                     dbl(0xBFC555555545E0ACull)};
inline constexpr double kCos2L[7] = {dbl(0xBDA8FF9D439A204Aull), dbl(0x3E21EEA7F259B344ull), dbl(0xBE927E4F8E4A2E74ull),
                                     dbl(0x3EFA01A019DE131Full), dbl(0xBF56C16C16C15D79ull), dbl(0x3FA5555555555551ull),
                                     dbl(0xBFE0000000000000ull)};
inline constexpr double kCos2M[5] = {dbl(0xBE92474E1A97D143ull), dbl(0x3EFA01298D866458ull), dbl(0xBF56C16BAE5EF6D4ull),
                                     dbl(0x3FA555555514F774ull), dbl(0xBFDFFFFFFFFFE697ull)};
inline constexpr double kCos2S[4] = {dbl(0x3EF9A6F2BB019F50ull), dbl(0xBF56C0E087F57EEBull), dbl(0x3FA55554CBB440F1ull),
                                     dbl(0xBFDFFFFFFFAB1DA6ull)};

// -1/6 as a head of two bits, exact in products with 51-bit numbers, and
// the rest.
inline constexpr double kSixthHead = -0.15625;
inline constexpr double kSixthTail = dbl(0xBF85555555555555ull);  // -1/6 + 0.15625, rounded
inline constexpr double kMinusSixth = dbl(0xBFC5555555555555ull);

// A value hi + lo with |lo| well below |hi|.
using pair::Pair;

// sin r for r = rh + rl, z = rh^2, to about 2^-60 relative before the
// final addition.  The cube term -r^3/6, the only one large enough for its
// rounding to matter, is formed exactly: rh = a + b with a of 17 bits makes
// a^3 exact, a^3 * -0.15625 exact, and leaves small corrections.
QOR_KERNEL_INLINE Pair sin_precise(vd rh, vd rl, vd z) {
    const vd a = SD::bit_and(rh, Bits<double>::pattern(0xFFFFFFF000000000ull));
    const vd b = SD::sub(rh, a);
    const vd a2 = SD::mul(a, a);
    const vd a3 = SD::mul(a2, a);
    const vd th = SD::mul(a3, SD::set1(kSixthHead));
    // rh^3 - a^3 = b (3a^2 + b (3a + b))
    const vd three = SD::set1(3.0);
    const vd d = SD::mul(b, SD::add(SD::mul(three, a2), SD::mul(b, SD::add(SD::mul(three, a), b))));
    const vd tl = SD::add(SD::mul(a3, SD::set1(kSixthTail)), SD::mul(d, SD::set1(kMinusSixth)));
    const vd s = SD::add(rh, th);
    const vd e = SD::add(SD::sub(rh, s), th);
    const vd r5 = SD::mul(SD::mul(rh, z), z);
    const vd poly = SD::mul(r5, lanes::horner<SD>(z, kSin5));
    const vd drl = SD::sub(rl, SD::mul(SD::mul(rl, z), SD::set1(0.5)));  // rl cos r
    return {s, SD::add(e, SD::add(tl, SD::add(poly, drl)))};
}

// cos r for the tangent, whose quotient carries the errors of both parts:
// 1 - r^2/2 + r^4/24 with the two leading terms exact.  rh = a + b with a
// of 13 bits makes a^2/2 and a^4/32 exact (a^4 = (a^2)^2 has 52 bits);
// the rest of r^4/24, the corrections for b and rl and the polynomial
// r^6 R(z) (relative error 2^-47.2) are small.
inline constexpr double kCos6[5] = {dbl(0xBDA910194A2FE454ull), dbl(0x3E21EEC2A378065Dull), dbl(0xBE927E4FADA6977Full),
                                    dbl(0x3EFA01A019FE98E0ull), dbl(0xBF56C16C16C16BF1ull)};

QOR_KERNEL_INLINE Pair cos_precise(vd rh, vd rl, vd z) {
    const vd a = SD::bit_and(rh, Bits<double>::pattern(0xFFFFF00000000000ull));
    const vd b = SD::sub(rh, a);
    const vd a2 = SD::mul(a, a);
    const vd h = SD::mul(a2, SD::set1(0.5));
    const vd one = SD::set1(1.0);
    const vd s = SD::sub(one, h);
    const vd e = SD::sub(SD::sub(one, s), h);
    const vd a4 = SD::mul(a2, a2);
    const vd t = SD::mul(a4, SD::set1(0.03125));
    const vd s2 = SD::add(s, t);
    const vd e2 = SD::add(SD::sub(s, s2), t);
    const vd hl = SD::mul(b, SD::add(a, SD::mul(b, SD::set1(0.5))));  // rh^2/2 - a^2/2
    // rh^4 - a^4 = b (4 a^3 + b (6 a^2 + b (4 a + b)))
    const vd four_a = SD::mul(a, SD::set1(4.0));
    const vd d4 = SD::mul(b, SD::add(SD::mul(four_a, a2),
                                     SD::mul(b, SD::add(SD::mul(a2, SD::set1(6.0)), SD::mul(b, SD::add(four_a, b))))));
    const vd t4 = SD::add(SD::mul(a4, SD::set1(dbl(0x3F85555555555555ull))), SD::mul(d4, SD::set1(dbl(0x3FA5555555555555ull))));
    const vd poly = SD::mul(SD::mul(SD::mul(z, z), z), lanes::horner<SD>(z, kCos6));
    const vd drl = SD::mul(rl, SD::mul(rh, SD::sub(SD::mul(z, SD::set1(dbl(0x3FC5555555555555ull))), one)));  // -rl sin r
    return {s2, SD::add(SD::add(e, e2), SD::add(SD::sub(t4, hl), SD::add(poly, drl)))};
}

// sin r in the lanes where `cosine` is clear, cos r where it is set, by
// the steps of sin_precise and cos_precise merged into one evaluation:
// the split of rh, the exact leading term, the small corrections and the
// polynomial (its coefficients picked per lane) have one form for both.
//   sine:   rh + a^3 (-0.15625) + [a^3 t6 + b (-a^2/2 + b (-a/2 - b/6))]
//           + rh z^2 P(z) + rl (1 - z/2)
//   cosine: 1 + a^2 (-0.5) + [b (-a + b (-1/2))] + z^2 Q(z) - rl rh (1 - z/6)
// (a the head of 13 bits of rh, whose square and cube are exact; t6 =
// -1/6 + 0.15625).  pick(sine value, cosine value) gives the value of each lane's
// form: sin_or_cos_precise picks per lane by the mask; sine_form and
// cosine_form pick at compile time and so run the same operations, giving
// the same bits lane by lane.
template <class Pick>
QOR_KERNEL_INLINE vd sin_or_cos_steps(vd rh, vd rl, vd z, Pick pick) {
    const vd a = SD::bit_and(rh, Bits<double>::pattern(0xFFFFF00000000000ull));
    const vd b = SD::sub(rh, a);
    const vd a2 = SD::mul(a, a);
    const vd minus_half = SD::set1(-0.5);
    const vd h = SD::mul(a, minus_half);
    const vd lead = pick(rh, SD::set1(1.0));
    const vd second = SD::mul(a2, pick(SD::mul(a, SD::set1(kSixthHead)), minus_half));
    const vd s = SD::add(lead, second);
    const vd e = SD::add(SD::sub(lead, s), second);
    const vd u = SD::mul(a, pick(h, SD::set1(-1.0)));
    const vd v = pick(h, minus_half);
    const vd w = pick(SD::set1(kMinusSixth), SD::set1(0.0));
    const vd t3 = pick(SD::mul(SD::mul(a2, a), SD::set1(kSixthTail)), SD::set1(0.0));
    const vd corr = SD::add(t3, SD::mul(b, SD::add(u, SD::mul(b, SD::add(v, SD::mul(w, b))))));
    vd p = pick(SD::set1(kSin5[0]), SD::set1(kCos4[0]));
    for (int j = 1; j < 6; ++j) p = SD::add(SD::mul(p, z), pick(SD::set1(kSin5[j]), SD::set1(kCos4[j])));
    const vd poly = SD::mul(SD::mul(SD::mul(z, z), lead), p);
    const vd drl = SD::mul(rl, pick(SD::add(SD::set1(1.0), SD::mul(z, minus_half)),
                                    SD::mul(rh, SD::sub(SD::mul(z, SD::set1(dbl(0x3FC5555555555555ull))), SD::set1(1.0)))));
    return SD::add(s, SD::add(e, SD::add(corr, SD::add(poly, drl))));
}

QOR_KERNEL_INLINE vd sin_or_cos_precise(vd rh, vd rl, vd z, vd cosine) {
    return sin_or_cos_steps(rh, rl, z, [cosine](vd sine_value, vd cosine_value) {
        return SD::select(cosine, cosine_value, sine_value);
    });
}
QOR_KERNEL_INLINE vd sine_form(vd rh, vd rl, vd z) {
    return sin_or_cos_steps(rh, rl, z, [](vd sine_value, vd) { return sine_value; });
}
QOR_KERNEL_INLINE vd cosine_form(vd rh, vd rl, vd z) {
    return sin_or_cos_steps(rh, rl, z, [](vd, vd cosine_value) { return cosine_value; });
}

// Plain forms: sin r = rh + (rh z F(z) + rl), cos r = 1 + (z G(z) - rh rl).
template <std::size_t N>
QOR_KERNEL_INLINE vd sin_plain(vd rh, vd rl, vd z, const double (&f)[N]) {
    return SD::add(rh, SD::add(SD::mul(SD::mul(rh, z), lanes::horner<SD>(z, f)), rl));
}
template <std::size_t N>
QOR_KERNEL_INLINE vd cos_plain(vd rh, vd rl, vd z, const double (&g)[N]) {
    return SD::add(SD::set1(1.0), SD::sub(SD::mul(z, lanes::horner<SD>(z, g)), SD::mul(rh, rl)));
}

// Lanes whose k is odd (sine and cosine trade places) and the sign bit
// of k & 2 (a half turn negates).
QOR_KERNEL_INLINE vd odd_quadrant(vi k) {
    const vi one = simd::vset1_vl_l(1);
    return simd::vcast_vd_vi(simd::veq_vl_vl_vl(simd::vand_vi_vi_vi(k, one), one));
}
QOR_KERNEL_INLINE vd half_turn_sign(vi k) {
    return simd::vcast_vd_vi(simd::vsll_vl_vl_i(simd::vand_vi_vi_vi(k, simd::vset1_vl_l(2)), 62));
}
QOR_KERNEL_INLINE vi next_quadrant(vi k) { return simd::vadd_vl_vl_vl(k, simd::vset1_vl_l(1)); }

// sin(k pi/2 + r) from sin r and cos r.
QOR_KERNEL_INLINE vd place(vi k, vd s, vd c) {
    return SD::bit_xor(SD::select(odd_quadrant(k), c, s), half_turn_sign(k));
}

// tan(k pi/2 + r) = s/c for k even, -c/s for k odd.
QOR_KERNEL_INLINE vd tan_place(vi k, vd s, vd c) {
    const vd odd = odd_quadrant(k);
    const vd q = SD::div(SD::select(odd, c, s), SD::select(odd, s, c));
    return SD::bit_xor(q, SD::bit_and(odd, SD::set1(-0.0)));
}

// The same from pairs, the quotient corrected by its exact residual:
// error about half an ulp plus 2^-60 relative.
QOR_KERNEL_INLINE vd tan_place(vi k, Pair s, Pair c) {
    const vd odd = odd_quadrant(k);
    const Pair num{SD::select(odd, c.hi, s.hi), SD::select(odd, c.lo, s.lo)};
    const Pair den{SD::select(odd, s.hi, c.hi), SD::select(odd, s.lo, c.lo)};
    // Normalised first: one correction step leaves the square of the
    // quotient's relative error, which the raw low parts (up to 2^-7 of the
    // high ones) would make far too large.
    const vd n = SD::add(num.hi, num.lo), nl = SD::add(SD::sub(num.hi, n), num.lo);
    const vd d = SD::add(den.hi, den.lo), dl = SD::add(SD::sub(den.hi, d), den.lo);
    const vd inv = SD::div(SD::set1(1.0), d);
    const vd q = SD::mul(n, inv);  // within about 1.5 ulp of n/d: n - q d is exact
    vd p, pe;
    two_prod(q, d, p, pe);
    const vd residual = SD::sub(SD::add(SD::sub(SD::sub(n, p), pe), nl), SD::mul(q, dl));
    const vd t = SD::add(q, SD::mul(residual, inv));
    return SD::bit_xor(t, SD::bit_and(odd, SD::set1(-0.0)));
}

}  // namespace qor::vm::trig
