// The floating-point environment protocol of every computing kernel: mask
// all x87 and SSE exceptions for the run, select round-to-nearest and the
// flush-to-zero setting of the mode, and give the caller back its own
// control settings with the flags raised during the run kept.
#pragma once

#include <xmmintrin.h>

#include <cstdint>

#include "qor/qor_vm.h"

namespace qor::vm {

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

class FpEnvironment {
public:
    explicit FpEnvironment(uint32_t wanted) {
        x87_control_ = read_x87_control();
        if ((x87_control_ & 0x3F) != 0x3F) {
            asm volatile("fnclex" ::: "memory");
            load_x87_control(static_cast<uint16_t>(x87_control_ | 0x3F));
            x87_changed_ = true;
        }
        mxcsr_ = _mm_getcsr();
        if ((mxcsr_ & 0xFFC0) != wanted) {
            _mm_setcsr((mxcsr_ & 0xFFFF003F) | wanted);
            mxcsr_changed_ = true;
        }
        asm volatile("" ::: "memory");
    }
    ~FpEnvironment() {
        asm volatile("" ::: "memory");
        if (x87_changed_) load_x87_control(x87_control_);
        if (mxcsr_changed_) _mm_setcsr((_mm_getcsr() & 0x3F) | mxcsr_);
    }
    FpEnvironment(const FpEnvironment&) = delete;
    FpEnvironment& operator=(const FpEnvironment&) = delete;

private:
    uint32_t mxcsr_ = 0;
    uint16_t x87_control_ = 0;
    bool x87_changed_ = false;
    bool mxcsr_changed_ = false;
};

}  // namespace qor::vm
