#include "kernel_set.h"

#include <cstring>

namespace qor::core {

// A final empty entry keeps the array valid even when no row is on.
const RowBinding kRowBindings[] = {
#define QOR_VM_ROW(p, Fn, kind, share, on, ...) \
    QOR_VM_IF_ON(on, {#p #Fn, &RowTables::p##Fn, &RowCosts::p##Fn}, )
#include "qor/vm_rows.def"
#undef QOR_VM_ROW
    {nullptr, nullptr, nullptr},
};

const int kRowCount = static_cast<int>(sizeof kRowBindings / sizeof kRowBindings[0]) - 1;

const RowBinding* find_row(const char* name) {
    if (!name) return nullptr;
    for (int i = 0; i < kRowCount; ++i)
        if (std::strcmp(kRowBindings[i].name, name) == 0) return &kRowBindings[i];
    return nullptr;
}

}  // namespace qor::core
