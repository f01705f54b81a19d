// The floating-point environment protocol of every computing kernel: run
// with all SSE exceptions masked, round-to-nearest and the flush-to-zero
// setting of the mode, and give the caller back its own control settings
// with the flags raised during the run kept.  MXCSR is written only when its
// control bits differ from the wanted ones.  The x87 unit is touched only by
// the error path (see call_context.h).
#pragma once

#include <xmmintrin.h>

#include <cstdint>

#include "qor/qor_vm.h"

namespace qor::vm {

// MXCSR exception flags.
constexpr uint32_t kFlagInvalid = 0x01;
constexpr uint32_t kFlagDenormal = 0x02;
constexpr uint32_t kFlagDivideByZero = 0x04;
constexpr uint32_t kFlagOverflow = 0x08;
constexpr uint32_t kFlagUnderflow = 0x10;
constexpr uint32_t kFlagInexact = 0x20;

constexpr uint32_t kMxcsrControl = 0xFFC0;     // the bits a kernel sets; below them the flags
constexpr uint32_t kMxcsrPlain = 0x1F80;       // all masked, nearest, no FTZ/DAZ
constexpr uint32_t kMxcsrFlushToZero = 0x9FC0; // all masked, nearest, FTZ and DAZ

constexpr uint32_t wanted_mxcsr(uint32_t mode) {
    return (mode & QOR_VM_FTZDAZ_MASK) == QOR_VM_FTZDAZ_ON ? kMxcsrFlushToZero : kMxcsrPlain;
}

inline uint16_t read_x87_control() {
    uint16_t cw;
    asm volatile("fnstcw %0" : "=m"(cw));
    return cw;
}

inline void load_x87_control(uint16_t cw) { asm volatile("fldcw %0" : : "m"(cw) : "memory"); }

inline uint32_t read_mxcsr() { return _mm_getcsr(); }

class FpEnvironment {
public:
    explicit FpEnvironment(uint32_t wanted) : wanted_(wanted) {
        mxcsr_ = _mm_getcsr();
        if ((mxcsr_ & kMxcsrControl) != wanted) {
            _mm_setcsr((mxcsr_ & 0xFFFF003F) | wanted);
            mxcsr_changed_ = true;
        }
        asm volatile("" ::: "memory");
    }
    ~FpEnvironment() {
        asm volatile("" ::: "memory");
        if (mxcsr_changed_) _mm_setcsr((_mm_getcsr() & 0x3F) | raised_ | mxcsr_);
    }

    // Exception flags raised since the start or the last clear.
    static uint32_t flags() { return _mm_getcsr() & 0x3F; }

    // clear_flags for a run that has computed nothing yet: the flags are
    // still those read on entry, so MXCSR need not be read again.
    void clear_entry_flags(uint32_t watched) {
        if (!(mxcsr_ & watched)) return;
        raised_ |= mxcsr_ & 0x3F;
        _mm_setcsr(wanted_);
        mxcsr_changed_ = true;
    }

    // Clears the exception flags when any of `watched` is raised, so that
    // the next stretch of work can be judged by the flags it raises; the
    // flags cleared are kept for the caller.
    void clear_flags(uint32_t watched) {
        uint32_t csr = _mm_getcsr();
        if (!(csr & watched)) return;
        raised_ |= csr & 0x3F;
        _mm_setcsr(csr & ~0x3Fu);
        mxcsr_changed_ = true;
    }
    FpEnvironment(const FpEnvironment&) = delete;
    FpEnvironment& operator=(const FpEnvironment&) = delete;

private:
    uint32_t wanted_;
    uint32_t mxcsr_ = 0;
    uint32_t raised_ = 0;
    bool mxcsr_changed_ = false;
};

}  // namespace qor::vm
