// The operating-system services of the vector-math frame: the per-thread
// slot, the private heap of state records, the caller's errno, standard error
// and library attach/detach.  One implementation per OS; nothing OS-specific
// lives outside these files.
#pragma once

#include <cstddef>

namespace qor::platform {

// Thread-local slot holding the calling thread's state record.
bool slot_allocate();           // false on failure
void slot_release();
bool slot_allocated();
void* slot_get();
bool slot_set(void* value);

// Private growable heap of state records.
bool heap_create();             // idempotent under the caller's lock
bool heap_exists();
void* heap_allocate(std::size_t size);
void heap_free(void* p);
void heap_destroy();            // frees every block still allocated
long heap_live_blocks();        // blocks allocated and not freed

// Sets errno of the caller's C runtime.
void set_caller_errno(int value);

// True when standard error is available for messages.
bool stderr_available();

// Called when the library is loaded and unloaded at run time.
void on_attach();
void on_detach();

}  // namespace qor::platform
