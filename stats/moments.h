// Running statistics of q variables over weighted observations, and the
// pairwise merge that joins two such sets (a block into a thread's running
// set, a thread's into the task's).
//
// For a set with total weight W, per variable: the mean m, the central sums
// S_k = Σ w (x − m)^k for k = 2..4, the raw sums R_k = Σ w x^k for k = 1..4,
// and for each pair the central cross sum C_ij = Σ w (x_i − m_i)(x_j − m_j),
// kept in the upper triangle of a column-major q × q square (i ≤ j at
// i + j·q, where a BLAS rank-k update leaves it).
//
// Merging A into B (Chan, Golub and LeVeque; Pébay for orders 3 and 4),
// with W = Wa + Wb and δ = m_b − m_a:
//   m  = m_a + δ·Wb/W
//   S2 = S2a + S2b + δ²·Wa·Wb/W
//   S3 = S3a + S3b + δ³·Wa·Wb·(Wa − Wb)/W² + 3δ·(Wa·S2b − Wb·S2a)/W
//   S4 = S4a + S4b + δ⁴·Wa·Wb·(Wa² − Wa·Wb + Wb²)/W³
//        + 6δ²·(Wa²·S2b + Wb²·S2a)/W² + 4δ·(Wa·S3b − Wb·S3a)/W
//   C_ij = C_ij,a + C_ij,b + δ_i·δ_j·Wa·Wb/W
//   R_k = R_k,a + R_k,b
// Every term is a sum of like-signed or small corrections, so data with a
// large mean and a small spread keep their digits.  Each mean carries the
// part its double rounds away (a tail, |tail| <= ulp(m)/2): δ is a small
// difference of large means, and its rounding error, squared and scaled by
// Wa·Wb/W, would otherwise bound the relative accuracy of S2 by about
// 2|δ|·ulp(m)·Wa·Wb/(W·S2), 1e-10 for mean/deviation 1e9 over 2·10^5
// observations in four parts.  Two sets centred on the same supplied mean
// have δ = 0 and merge by plain addition.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qor::ss {

// Which parts a set carries.
struct Tracked {
    int central_order = 0;  // 0 (mean only) or 2..4
    int raw_order = 0;      // 0 (none) or 1..4
    bool cross = false;
};

// A set laid out in one array of doubles: W1, W2, then mean, S2..S4,
// R1..R4, the means' tails (q each), then the q × q cross sums when tracked.
class Moments {
public:
    Moments() = default;
    Moments(double* base, int64_t q, bool cross) : base_(base), q_(q), cross_(cross) {}

    static size_t doubles(int64_t q, bool cross) {
        return 2 + 10 * static_cast<size_t>(q) + (cross ? static_cast<size_t>(q * q) : 0);
    }
    int64_t q() const { return q_; }
    bool has_cross() const { return cross_; }
    double* data() const { return base_; }

    double& w1() const { return base_[0]; }
    double& w2() const { return base_[1]; }
    double* mean() const { return base_ + 2; }
    double* central(int k) const { return base_ + 2 + (k - 1) * q_; }  // k = 2..4
    double* raw(int k) const { return base_ + 2 + (k + 3) * q_; }      // k = 1..4, then mean_tail
    double* mean_tail() const { return base_ + 2 + 8 * q_; }
    double* cross() const { return base_ + 2 + 10 * q_; }
    double& cross(int64_t i, int64_t j) const { return i <= j ? cross()[i + j * q_] : cross()[j + i * q_]; }

    void clear() const;

private:
    double* base_ = nullptr;
    int64_t q_ = 0;
    bool cross_ = false;
};

// The merge of one variable: (wa, ma + ta, sa) becomes the set of both,
// where s[0..order-2] are S2..S_order (order 0 or 1: the mean alone) and
// t the means' tails.
inline void merge_central(double& wa, double& ma, double& ta, double* sa, double wb, double mb, double tb,
                          const double* sb, int order) {
    if (wb == 0) return;
    const double w = wa + wb, rw = 1.0 / w, ab = wa * wb * rw, d = (mb - ma) + (tb - ta);
    if (order >= 4)
        sa[2] += sb[2] + d * d * d * d * ab * (wa * wa - wa * wb + wb * wb) * rw * rw +
                 6 * d * d * (wa * wa * sb[0] + wb * wb * sa[0]) * rw * rw + 4 * d * (wa * sb[1] - wb * sa[1]) * rw;
    if (order >= 3) sa[1] += sb[1] + d * d * d * ab * (wa - wb) * rw + 3 * d * (wa * sb[0] - wb * sa[0]) * rw;
    if (order >= 2) sa[0] += sb[0] + d * d * ab;
    // m + t += d·Wb/W, the step's rounding error kept in the tail (two-sum).
    const double step = d * (wb * rw), m = ma + step, back = m - ma;
    const double t = ta + ((ma - (m - back)) + (step - back));
    ma = m + t;
    ta = t - (ma - m);
    wa = w;
}

// Adds `from` into `into` (same q); only the tracked parts are touched.
void merge(const Moments& into, const Moments& from, const Tracked& tracked);

}  // namespace qor::ss
