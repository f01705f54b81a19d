// Declarations of the kernels behind the tables.  A row has the kernels its
// sharing column names, qor_vmk_<p><Fn>_<slot>:
//   A: _HA serves all three slots     L: _HA (LA and HA), _EP
//   E: _HA, _LA (LA and EP)           T: _LA, _HA, _EP
#pragma once

#include "qor/vm_kinds.h"

#define QOR_VMK(p, Fn, slot) qor_vmk_##p##Fn##_##slot

#define QOR_VMK_DECL(p, Fn, kind, slot) QOR_EXTERN_C void QOR_VMK(p, Fn, slot) QOR_VM_PARAMS(kind, p);
#define QOR_VMK_DECLS_A(p, Fn, kind) QOR_VMK_DECL(p, Fn, kind, HA)
#define QOR_VMK_DECLS_L(p, Fn, kind) QOR_VMK_DECL(p, Fn, kind, HA) QOR_VMK_DECL(p, Fn, kind, EP)
#define QOR_VMK_DECLS_E(p, Fn, kind) QOR_VMK_DECL(p, Fn, kind, HA) QOR_VMK_DECL(p, Fn, kind, LA)
#define QOR_VMK_DECLS_T(p, Fn, kind) \
    QOR_VMK_DECL(p, Fn, kind, LA) QOR_VMK_DECL(p, Fn, kind, HA) QOR_VMK_DECL(p, Fn, kind, EP)

// Slot contents in table order LA, HA, EP.
#define QOR_VMK_SLOTS_A(p, Fn) QOR_VMK(p, Fn, HA), QOR_VMK(p, Fn, HA), QOR_VMK(p, Fn, HA)
#define QOR_VMK_SLOTS_L(p, Fn) QOR_VMK(p, Fn, HA), QOR_VMK(p, Fn, HA), QOR_VMK(p, Fn, EP)
#define QOR_VMK_SLOTS_E(p, Fn) QOR_VMK(p, Fn, LA), QOR_VMK(p, Fn, HA), QOR_VMK(p, Fn, LA)
#define QOR_VMK_SLOTS_T(p, Fn) QOR_VMK(p, Fn, LA), QOR_VMK(p, Fn, HA), QOR_VMK(p, Fn, EP)

#define QOR_VM_ROW(p, Fn, kind, share, on, ...) QOR_VM_IF_ON(on, QOR_VMK_DECLS_##share(p, Fn, kind))
#include "qor/vm_rows.def"
#undef QOR_VM_ROW
