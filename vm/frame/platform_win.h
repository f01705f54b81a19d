// Windows module notifications of the frame, shared by DllMain and the TLS
// callback that stands in for it when the frame is linked into a program.
#pragma once

namespace qor::platform {

// Handles DLL_PROCESS_ATTACH, DLL_THREAD_DETACH and DLL_PROCESS_DETACH
// (reserved null for an unload at run time, not null at process
// termination).  Returns false when attaching failed.
bool on_module_notification(unsigned long reason, const void* reserved);

}  // namespace qor::platform
