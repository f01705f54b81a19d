// Scalar classification shared by kernels whose results are those of IEEE
// arithmetic: a NaN made from non-NaN arguments is a domain error (the
// invalid operation), an infinity made from finite arguments an overflow.
#pragma once

#include <cmath>

#include "qor/qor_vm.h"

namespace qor::vm {

template <class T>
int ieee_code(T a, T b, T r) {
    if (std::isnan(r)) return (std::isnan(a) || std::isnan(b)) ? QOR_VM_STATUS_OK : QOR_VM_STATUS_DOMAIN;
    if (std::isinf(r) && std::isfinite(a) && std::isfinite(b)) return QOR_VM_STATUS_OVERFLOW;
    return QOR_VM_STATUS_OK;
}

template <class T>
int ieee_code(T a, T r) {
    return ieee_code(a, a, r);
}

}  // namespace qor::vm
