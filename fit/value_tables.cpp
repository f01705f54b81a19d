// The per-function pointer tables of the function values and coefficients.
#include <cstring>

#include "fit/task_internal.h"
#include "qor/qor_serv.h"

namespace qor::kp {
namespace {

// The capacity sits at the start of a header as wide as the alignment, so
// that the entries keep the alignment too.
constexpr size_t kHeaderBytes = kTaskAlignment;
constexpr int64_t kMaxCapacity = (INT64_MAX - static_cast<int64_t>(kHeaderBytes)) / sizeof(void*) - 1;

char* block_of(const void* table) { return static_cast<char*>(const_cast<void*>(table)) - kHeaderBytes; }

// Sets entries 0 .. count-1 to base + j*stride elements.
void fill_strided(void** table, int64_t count, const void* base, int64_t stride, size_t element) {
    // Addresses as integers: the caller's array need not reach every entry.
    const auto first = reinterpret_cast<uintptr_t>(base);
    const auto step = static_cast<uintptr_t>(stride) * element;
    for (int64_t j = 0; j < count; ++j) table[j] = reinterpret_cast<void*>(first + static_cast<uintptr_t>(j) * step);
}

}  // namespace

void** allocate_pointer_table(int64_t capacity) {
    if (capacity < 0 || capacity > kMaxCapacity) return nullptr;
    const size_t bytes = kHeaderBytes + static_cast<size_t>(capacity + 1) * sizeof(void*);
    auto* block = static_cast<char*>(qor_serv_allocate(bytes, kTaskAlignment));
    if (!block) return nullptr;
    std::memset(block, 0, bytes);
    std::memcpy(block, &capacity, sizeof capacity);
    return reinterpret_cast<void**>(block + kHeaderBytes);
}

void free_pointer_table(void* table) {
    if (table) qor_serv_deallocate(block_of(table));
}

int64_t pointer_table_capacity(const void* table) {
    int64_t capacity = 0;
    std::memcpy(&capacity, block_of(table), sizeof capacity);
    return capacity;
}

int32_t rebuild_value_table(FitTask& task, const void* y, int64_t nx, int64_t ny, int64_t yhint, size_t element) {
    free_pointer_table(task.yTable);
    task.yTable = nullptr;
    void** table = allocate_pointer_table(yhint == hintValuesWhole ? 1 : ny);
    if (!table) return statusNoMemory;
    if (yhint == hintValuesWhole || yhint == hintValuesPerFunction) table[0] = const_cast<void*>(y);
    else fill_strided(table, ny, y, nx, element);
    task.yTable = const_cast<const void**>(table);
    return 0;
}

int32_t rebuild_coefficient_table(FitTask& task, void* c, int64_t order, int64_t type, int64_t hint) {
    free_pointer_table(task.coeffTable);
    task.coeffTable = nullptr;
    void** table = allocate_pointer_table(task.ny);
    if (!table) return statusNoMemory;
    if (hint & hintValuesPerFunction) {
        table[0] = c;
    } else {
        // Type 1 keeps the coefficients of one extra interval per function.
        const int64_t stride = order * task.nx - (type == 1 ? 0 : order);
        fill_strided(table, task.ny, c, stride, element_size(task.precision));
    }
    task.coeffTable = table;
    return 0;
}

}  // namespace qor::kp
