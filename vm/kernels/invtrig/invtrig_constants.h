// Constants of the inverse trigonometric kernels: pi and its fractions in
// two parts (the second the rounding error of the first), the breakpoint
// table of the arctangent and the polynomial coefficients, each given by
// its bit pattern.
#pragma once

#include "../lane_bits.h"

namespace qor::vm::invtrig {

inline constexpr double kPiHi = dbl(0x400921FB54442D18ull), kPiLo = dbl(0x3CA1A62633145C07ull);
inline constexpr double kHalfPiHi = dbl(0x3FF921FB54442D18ull), kHalfPiLo = dbl(0x3C91A62633145C07ull);
inline constexpr double kQuarterPi = dbl(0x3FE921FB54442D18ull);
inline constexpr double kThreeQuarterPi = dbl(0x4002D97C7F3321D2ull);
inline constexpr double kInvPiHi = dbl(0x3FD45F306DC9C883ull), kInvPiLo = dbl(0xBC76B01EC5417056ull);

// ---- arctangent by breakpoints ------------------------------------------------
// atan(a/b) = atan(c) + atan(t),  t = (a - b c)/(b + a c),
// with c the breakpoint nearest to a/b among c_j ~ tan(j pi/16), j < 8,
// and, for a/b above 10, atan(a/b) = pi/2 + atan(-b/a).  A row holds
// (u, c, A_hi, A_lo) so that t = (a u - b c)/(b u + a c) covers both
// (u = 0, c = 1 in the last row) and A = atan(c) in two parts.  The c_j
// have 20 significant bits, so b c and a c are exact in two parts; each
// interval of a/b lies within [c_j/2, 2 c_j], so a - b c cancels exactly;
// |t| <= 0.1 everywhere.  Rows 9 to 17 hold pi - A for a negative
// denominator, where the angle is pi - atan(a/b) - atan(t).
struct AtanRow {
    double u, c, hi, lo;
};

alignas(32) inline constexpr AtanRow kAtanRows[18] = {
    {dbl(0x3FF0000000000000ull), dbl(0x0000000000000000ull), dbl(0x0000000000000000ull), dbl(0x0000000000000000ull)},
    {dbl(0x3FF0000000000000ull), dbl(0x3FC975F600000000ull), dbl(0x3FC921FB72BA6FB8ull), dbl(0xBC0082FBEF6E65C2ull)},
    {dbl(0x3FF0000000000000ull), dbl(0x3FDA827A00000000ull), dbl(0x3FD921FBAB56C73Aull), dbl(0xBC6FB35C2AE01664ull)},
    {dbl(0x3FF0000000000000ull), dbl(0x3FE561B800000000ull), dbl(0x3FE2D97C61AAA2DFull), dbl(0xBC8BBD0DCDA9C190ull)},
    {dbl(0x3FF0000000000000ull), dbl(0x3FF0000000000000ull), dbl(0x3FE921FB54442D18ull), dbl(0x3C81A62633145C07ull)},
    {dbl(0x3FF0000000000000ull), dbl(0x3FF7F21800000000ull), dbl(0x3FEF6A799D99E659ull), dbl(0xBC8971F2EB482236ull)},
    {dbl(0x3FF0000000000000ull), dbl(0x4003505000000000ull), dbl(0x3FF2D97CBB2B86EBull), dbl(0x3C973DE02052C0ECull)},
    {dbl(0x3FF0000000000000ull), dbl(0x40141BFE00000000ull), dbl(0x3FF5FDBBC74981ABull), dbl(0x3C9DC593A5410BF1ull)},
    {dbl(0x0000000000000000ull), dbl(0x3FF0000000000000ull), dbl(0x3FF921FB54442D18ull), dbl(0x3C91A62633145C07ull)},
    {dbl(0x3FF0000000000000ull), dbl(0x0000000000000000ull), dbl(0x400921FB54442D18ull), dbl(0x3CA1A62633145C07ull)},
    {dbl(0x3FF0000000000000ull), dbl(0x3FC975F600000000ull), dbl(0x40078FDB9D18861Dull), dbl(0xBC9CAB721BDF90BFull)},
    {dbl(0x3FF0000000000000ull), dbl(0x3FDA827A00000000ull), dbl(0x4005FDBBDED95431ull), dbl(0x3C7D0ADFAE12EB69ull)},
    {dbl(0x3FF0000000000000ull), dbl(0x3FE561B800000000ull), dbl(0x40046B9C3BD98461ull), dbl(0xBCA76A9659813395ull)},
    {dbl(0x3FF0000000000000ull), dbl(0x3FF0000000000000ull), dbl(0x4002D97C7F3321D2ull), dbl(0x3C9A79394C9E8A0Aull)},
    {dbl(0x3FF0000000000000ull), dbl(0x3FF7F21800000000ull), dbl(0x4001475CECDDB382ull), dbl(0x3C900545DBCCC929ull)},
    {dbl(0x3FF0000000000000ull), dbl(0x4003505000000000ull), dbl(0x3FFF6A79ED5CD345ull), dbl(0x3C881CD88BABEE44ull)},
    {dbl(0x3FF0000000000000ull), dbl(0x40141BFE00000000ull), dbl(0x3FFC463AE13ED885ull), dbl(0x3C761AE3039EB072ull)},
    {dbl(0x0000000000000000ull), dbl(0x3FF0000000000000ull), dbl(0x3FF921FB54442D18ull), dbl(0x3C91A62633145C07ull)},
};
inline constexpr int kAtanNegativeRows = 9;

// Upper ends of the intervals of a/b that pick rows 0 ... 7 (a/b above the
// last picks row 8): 0.1, then tan((2k - 1) pi/32) to 12 bits, then 10.
inline constexpr double kAtanBreaks[8] = {
    dbl(0x3FB999999999999Aull), dbl(0x3FD36A0000000000ull), dbl(0x3FE11A0000000000ull), dbl(0x3FEA440000000000ull),
    dbl(0x3FF37E0000000000ull), dbl(0x3FFDF00000000000ull), dbl(0x400A600000000000ull), dbl(0x4024000000000000ull)};

// The coarse choice among the even rows only (angles j pi/8): upper ends
// tan((2k - 1) pi/16) to 12 bits, |t| <= 0.199.
inline constexpr double kAtanCoarseBreaks[4] = {dbl(0x3FC9760000000000ull), dbl(0x3FE5620000000000ull),
                                                dbl(0x3FF7F20000000000ull), dbl(0x40141C0000000000ull)};

// (atan(t) - t)/t^3 as a polynomial in z = t^2 on z <= 0.0102, highest
// degree first: absolute error 5.3e-17 (six terms), 1.6e-14 (five).
inline constexpr double kAtanP6[6] = {dbl(0x3FB32DC33E787E91ull), dbl(0xBFB744515AB99D12ull), dbl(0x3FBC71C515B7AC04ull),
                                      dbl(0xBFC2492491AA9FDFull), dbl(0x3FC9999999997625ull), dbl(0xBFD5555555555555ull)};
inline constexpr double kAtanP5[5] = {dbl(0xBFB6C717601EDBA8ull), dbl(0x3FBC70A6E2EE9FD6ull), dbl(0xBFC249240C2A7B37ull),
                                      dbl(0x3FC99999996DDD28ull), dbl(0xBFD5555555555431ull)};
// The same on z <= 0.0396 for the coarse rows: 1.6e-9 (four terms).
inline constexpr double kAtanCoarseP4[4] = {dbl(0x3FBAAECF2E698772ull), dbl(0xBFC243A3FCF08BFAull),
                                            dbl(0x3FC9998E81B47493ull), dbl(0xBFD555555393F6B8ull)};

// The same on z <= 1 in single precision, for the arctangent of t = min/max
// of the two magnitudes: absolute error 1.1e-7 (eight terms), 1.9e-4 (four).
inline constexpr float kAtanUnitP8[8] = {flt(0x3B7D691Du), flt(0xBCA40F22u), flt(0x3D485A62u), flt(0xBDA409CDu),
                                         flt(0x3DDE87DFu), flt(0xBE11FDFDu), flt(0x3E4CC958u), flt(0xBEAAAAA7u)};
inline constexpr float kAtanUnitP4[4] = {flt(0x3D019537u), flt(0xBDDA61FFu), flt(0x3E4649C1u), flt(0xBEAA9145u)};

// ---- arcsine ----------------------------------------------------------------------
// (asin(v) - v)/v^3 as a polynomial in z = v^2 on z <= 1/4, highest degree
// first: absolute error 2.2e-17 (13 terms), 2.4e-16 (12), 2.5e-10 (7),
// 4.2e-9 (6); in single precision 7.8e-8 (5) and 5.1e-4 (2).
inline constexpr double kAsinP13[13] = {
    dbl(0x3F9D72B2BC8155F8ull), dbl(0xBF8E6AAA8A0A04CCull), dbl(0x3F91D189408314EEull), dbl(0x3F765A9C4DFCF8B2ull),
    dbl(0x3F852420B04B37BEull), dbl(0x3F8782651CAA6547ull), dbl(0x3F8C9CF07674736Aull), dbl(0x3F91C4D35CF95421ull),
    dbl(0x3F96E8BB1C8209A2ull), dbl(0x3F9F1C71C1DB0623ull), dbl(0x3FA6DB6DB6E31F13ull), dbl(0x3FB3333333332ECAull),
    dbl(0x3FC5555555555556ull)};
inline constexpr double kAsinP12[12] = {
    dbl(0x3F9CD864394D2FF2ull), dbl(0xBF8603991D6060E0ull), dbl(0x3F906B9D26D10838ull), dbl(0x3F7FF5FC4D14C735ull),
    dbl(0x3F88522DDFFA6208ull), dbl(0x3F8C87265D47EF49ull), dbl(0x3F91C593C7B1D958ull), dbl(0x3F96E8B2B3B10BE4ull),
    dbl(0x3F9F1C71F95269AFull), dbl(0x3FA6DB6DB684B6A1ull), dbl(0x3FB3333333336DA5ull), dbl(0x3FC555555555554Full)};
inline constexpr double kAsinP7[7] = {dbl(0x3F9FB7CA379D49C6ull), dbl(0x3F85A80A068E3EE2ull), dbl(0x3F982DB23768C84Full),
                                      dbl(0x3F9EFEDF83AB6506ull), dbl(0x3FA6DC0F007C13E8ull), dbl(0x3FB33331ECF8B70Bull),
                                      dbl(0x3FC5555555C0171Dull)};
inline constexpr double kAsinP6[6] = {dbl(0x3FA13FED3DD245C1ull), dbl(0x3F918F91E79712C6ull), dbl(0x3F9FD8DA2554DD34ull),
                                      dbl(0x3FA6D5BB95F8E653ull), dbl(0x3FB333430FCFF28Eull), dbl(0x3FC555554E435732ull)};
inline constexpr float kAsinP5f[5] = {flt(0x3D1BFF0Bu), flt(0x3CD988E9u), flt(0x3D38535Eu), flt(0x3D999399u),
                                      flt(0x3E2AAAAFu)};
inline constexpr float kAsinP2f[2] = {flt(0x3DB4811Du), flt(0x3E2A3CACu)};

}  // namespace qor::vm::invtrig
