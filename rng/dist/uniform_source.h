// Uniforms on [0, 1) handed out one at a time, for methods whose number of
// uniforms per variate varies (rejection).  They come from _rixdRngUniform
// in blocks of at most kCapacity, each sized by what the caller expects the
// rest of the call to use, so that a short call draws little; uniforms left
// at the end of a call are dropped.
#pragma once

#include <cstdint>

#include "qor/qor_rng.h"

namespace qor::rng::dist {

class UniformSource {
public:
    static constexpr int32_t kCapacity = 1024;

    explicit UniformSource(qor_rng_stream* stream, int64_t expected) : stream_(stream), expected_(expected) {}
    UniformSource(const UniformSource&) = delete;
    UniformSource& operator=(const UniformSource&) = delete;

    // The next uniform in u; false when the generator failed (status()).
    bool next(double& u) {
        if (next_ == size_ && !refill()) return false;
        u = buffer_[next_++];
        return true;
    }
    int32_t status() const { return status_; }

private:
    bool refill() {
        constexpr int64_t kLeast = 16;
        const int64_t want = expected_ < kLeast ? kLeast : expected_;
        size_ = static_cast<int32_t>(want < kCapacity ? want : kCapacity);
        expected_ -= size_;
        next_ = 0;
        status_ = _rixdRngUniform(0, stream_, size_, buffer_, 0.0, 1.0);
        if (status_ >= 0) return true;
        size_ = 0;
        return false;
    }

    qor_rng_stream* stream_;
    int64_t expected_;
    int32_t size_ = 0, next_ = 0;
    int32_t status_ = QOR_RNG_STATUS_OK;
    double buffer_[kCapacity];
};

}  // namespace qor::rng::dist
