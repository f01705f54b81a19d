#include "vm_thread_context.h"

namespace qor::core {

VmThreadContext::VmThreadContext(const KernelServices* s) : services_(s) {
    if (!s) return;
    mode_ = s->GetMode();
    callback_ = s->GetErrorCallBack();
}

VmThreadContext::Lent::Lent(VmThreadContext& context) : context_(context) {
    const KernelServices* s = context.services_;
    if (!s) return;
    own_mode_ = s->RestoreMode(context.mode_);
    own_callback_ = s->SetErrorCallBack(context.callback_);
    // Installing a callback merges its bit into the mode; the lent word wins.
    s->RestoreMode(context.mode_);
    own_status_ = s->ClearErrStatus();
}

VmThreadContext::Lent::~Lent() {
    const KernelServices* s = context_.services_;
    if (!s) return;
    if (const int32_t status = s->SetErrStatus(own_status_)) context_.worker_status_.store(status);
    s->SetErrorCallBack(own_callback_);
    s->RestoreMode(own_mode_);
}

void VmThreadContext::take_worker_status() const {
    if (!services_) return;
    if (const int32_t status = worker_status_.load()) services_->SetErrStatus(status);
}

}  // namespace qor::core
