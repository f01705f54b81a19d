#include "vm_dispatch.h"

namespace qor::core {

ScopedMode::ScopedMode(const KernelServices& s, uint32_t mode) : services_(s) {
    previous_ = s.SetMode(mode);
    slot_ = (mode & QOR_VM_ACCURACY_MASK) ? checked_slot(s.GetTTableIndexM(nullptr, mode)) : thread_slot(s);
}

ScopedMode::~ScopedMode() {
    services_.SetMode(previous_);
    // The merge keeps a field whose new value is zero.  Flush-to-zero has an
    // explicit off value, so a setting the call introduced can still be
    // undone in effect.
    const uint32_t now = services_.GetMode();
    if ((previous_ & QOR_VM_FTZDAZ_MASK) != QOR_VM_FTZDAZ_ON && (now & QOR_VM_FTZDAZ_MASK) == QOR_VM_FTZDAZ_ON)
        services_.SetMode(QOR_VM_FTZDAZ_OFF);
}

}  // namespace qor::core
