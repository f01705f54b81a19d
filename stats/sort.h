// Ascending order of double and float values through their integer image.
//
// Every value maps to an unsigned key of its own width whose integer order
// is the order of the values:
//   -inf < negatives < -0.0 < +0.0 < positives < +inf < NaN (either sign).
// Negatives have every bit flipped, positives only the sign bit; the result
// is then shifted down by the image of -inf, which carries the negative NaNs
// (below -inf in that image) round to the top.  The map is a bijection, so
// a value, NaN payload included, comes back unchanged from its key.
#pragma once

#include <cstdint>
#include <cstring>

namespace qor::ss {

template <class T>
struct KeyOf;
template <>
struct KeyOf<double> {
    using type = uint64_t;
    static constexpr uint64_t kSign = 0x8000000000000000ull;
    static constexpr uint64_t kShift = 0x000FFFFFFFFFFFFFull;  // image of -inf (0xFFF0000000000000)
};
template <>
struct KeyOf<float> {
    using type = uint32_t;
    static constexpr uint32_t kSign = 0x80000000u;
    static constexpr uint32_t kShift = 0x007FFFFFu;  // image of -inf (0xFF800000)
};
template <class T>
using Key = typename KeyOf<T>::type;

template <class T>
inline Key<T> to_key(T x) {
    using K = Key<T>;
    K bits;
    std::memcpy(&bits, &x, sizeof bits);
    const K negative = static_cast<K>(0) - (bits >> (8 * sizeof(K) - 1));  // all ones for a set sign bit
    return static_cast<K>((bits ^ (negative | KeyOf<T>::kSign)) - KeyOf<T>::kShift);
}

template <class T>
inline T from_key(Key<T> key) {
    using K = Key<T>;
    const K u = static_cast<K>(key + KeyOf<T>::kShift);
    const K was_negative = static_cast<K>(0) - ((~u) >> (8 * sizeof(K) - 1));
    const K bits = u ^ (was_negative | KeyOf<T>::kSign);
    T x;
    std::memcpy(&x, &bits, sizeof x);
    return x;
}

// A key in memory that the caller typed as values: sorting and selection
// turn an array of values into keys in place and back.
template <class K>
struct __attribute__((may_alias)) KeyCell {
    K v;
    friend bool operator<(KeyCell a, KeyCell b) { return a.v < b.v; }
};
using KeyCell64 = KeyCell<uint64_t>;
using KeyCell32 = KeyCell<uint32_t>;

template <class T>
KeyCell<Key<T>>* as_keys(T* values) {
    static_assert(sizeof(KeyCell<Key<T>>) == sizeof(T));
    return reinterpret_cast<KeyCell<Key<T>>*>(values);
}

// Sorts n values ascending in place in the order above (so every NaN last,
// -0.0 before +0.0); `scratch` holds n values.
void sort_values(double* values, double* scratch, int64_t n);
void sort_values(float* values, float* scratch, int64_t n);

}  // namespace qor::ss
