#include "stats/basic_state.h"

#include <algorithm>
#include <cstring>

#include "qor/qor_serv.h"

namespace qor::ss {

// The buffer: this header, the q variable numbers, then the sums.
struct BasicState::Header {
    static constexpr uint64_t kMagic = 0x5153424153494331;  // "QSBASIC1"
    uint64_t magic;
    int64_t p, q;
    int32_t precision;
    MethodClass method;
    bool cross;
    Tracked tracked;
    double w1_seen, w2_seen;  // acc_weights as the last call left them

    int64_t* vars() { return reinterpret_cast<int64_t*>(this + 1); }
    double* sums() {
        // 16-byte aligned after the variable numbers.
        const size_t offset = (sizeof(Header) + sizeof(int64_t) * static_cast<size_t>(q) + 15) & ~size_t{15};
        return reinterpret_cast<double*>(reinterpret_cast<char*>(this) + offset);
    }
    static size_t bytes(int64_t q, bool cross) {
        const size_t head = (sizeof(Header) + sizeof(int64_t) * static_cast<size_t>(q) + 15) & ~size_t{15};
        return head + sizeof(double) * Moments::doubles(q, cross);
    }
    bool has_shape(const StateShape& s) {
        return magic == kMagic && p == s.p && q == s.q && precision == s.precision && method == s.method &&
               cross == s.cross && std::equal(s.vars, s.vars + s.q, vars());
    }
};

bool BasicState::open(const SSTask& task, const StateShape& shape) {
    auto* existing = static_cast<Header*>(task.work);
    if (existing && existing->has_shape(shape)) {
        header_ = existing;
        owned_ = false;
        return true;
    }
    const size_t bytes = Header::bytes(shape.q, shape.cross);
    header_ = static_cast<Header*>(qor_serv_allocate(bytes, 128));
    if (!header_) return false;
    owned_ = true;
    std::memset(static_cast<void*>(header_), 0, bytes);
    header_->magic = Header::kMagic;
    header_->p = shape.p;
    header_->q = shape.q;
    header_->precision = shape.precision;
    header_->method = shape.method;
    header_->cross = shape.cross;
    std::copy(shape.vars, shape.vars + shape.q, header_->vars());
    return true;
}

bool BasicState::continues(double w1, double w2) const {
    return !owned_ && header_->w1_seen == w1 && header_->w2_seen == w2;
}

const Tracked& BasicState::tracked() const { return header_->tracked; }

Moments BasicState::moments() const { return Moments(header_->sums(), header_->q, header_->cross); }

void BasicState::install(SSTask& task, const Tracked& tracked, double w1_written, double w2_written) {
    header_->tracked = tracked;
    header_->w1_seen = w1_written;
    header_->w2_seen = w2_written;
    if (owned_) {
        qor_serv_deallocate(task.work);
        task.work = header_;
        owned_ = false;
    }
}

void BasicState::abandon() {
    if (owned_) qor_serv_deallocate(header_);
    header_ = nullptr;
    owned_ = false;
}

}  // namespace qor::ss
