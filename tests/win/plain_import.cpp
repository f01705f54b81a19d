// A reference to an exported table the way a C program that omits
// __declspec(dllimport) makes it: the linker's automatic import must bind it
// to the table's data, which works only when the DLL exports it as data.
#include "plain_import.h"

extern "C" {
typedef void (*plain_kernel)(void);
extern const plain_kernel qor_lum_kernel_dMul_ttab[3];
extern const float qor_lum_kernel_dMul_ctab[3];
}

const void* plainly_imported_table() { return qor_lum_kernel_dMul_ttab; }
const void* plainly_imported_costs() { return qor_lum_kernel_dMul_ctab; }
