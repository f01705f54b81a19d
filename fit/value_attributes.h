// The integer attributes 14 to 23 of a task: the field each one names, the
// values an edit accepts, the status of a refused value and what an accepted
// edit does besides storing.  Shared by EditVal and QueryVal.
#pragma once

#include <iterator>
#include <type_traits>
#include <variant>

#include "fit/task_internal.h"

namespace qor::kp {

struct ValueAttribute {
    int64_t code;
    std::variant<int64_t FitTask::*, uint32_t FitTask::*> field;
    bool (*accepts)(int64_t value);
    int32_t refused;                                      // status of a value it does not accept
    int32_t (*after_edit)(FitTask& task, int64_t value);  // null: storing is all
};

namespace attribute_rules {

inline bool at_least_two(int64_t v) { return v >= 2; }
inline bool at_least_one(int64_t v) { return v >= 1; }
inline bool non_negative(int64_t v) { return v >= 0; }
inline bool partition_hint(int64_t v) {
    return v == hintPartitionNone || v == hintPartitionNonUniform || v == hintPartitionQuasiUniform ||
           v == hintPartitionUniform;
}
inline bool spline_type(int64_t v) { return static_cast<uint64_t>(v) <= 5 || v == 9; }
inline bool internal_cond_type(int64_t v) { return static_cast<uint64_t>(v) < 3 || (v & 8) != 0; }
inline bool flag(int64_t v) { return static_cast<uint64_t>(v) <= 1; }

// A non-uniform partition hint brings a fresh search table.
inline int32_t rebuild_table_for_hint(FitTask& task, int64_t hint) {
    return hint == hintPartitionNonUniform ? rebuild_search_table(task) : 0;
}

}  // namespace attribute_rules

inline constexpr ValueAttribute kValueAttributes[] = {
    {attrBreakpointCount, &FitTask::nx, attribute_rules::at_least_two, statusBadBreakpointCount, nullptr},
    {attrPartitionHint, &FitTask::xhint, attribute_rules::partition_hint, statusBadPartitionHint,
     attribute_rules::rebuild_table_for_hint},
    // ny grows or shrinks without resizing yTable.
    {attrFunctionCount, &FitTask::ny, attribute_rules::at_least_one, statusBadFunctionCount, nullptr},
    {attrValuesHint, &FitTask::yhint, is_values_hint, statusBadValuesHint, nullptr},
    {attrSplineOrder, &FitTask::order, attribute_rules::non_negative, statusBadSplineOrder, nullptr},
    {attrSplineType, &FitTask::type, attribute_rules::spline_type, statusBadSplineType, nullptr},
    {attrInternalCondType, &FitTask::icType, attribute_rules::internal_cond_type, statusBadInternalCondType,
     nullptr},
    {attrBoundaryCondType, &FitTask::bcType, attribute_rules::non_negative, statusBadBoundaryCondType, nullptr},
    {attrCoefficientHint, &FitTask::coeffHint, is_values_hint, statusBadCoefficientHint, nullptr},
    {attrFlag23, &FitTask::flag23, attribute_rules::flag, statusBadFlagValue, nullptr},
};

// Row i holds code attrBreakpointCount + i, so a code finds its row by index.
constexpr bool value_attributes_in_order() {
    for (size_t i = 0; i < std::size(kValueAttributes); ++i)
        if (kValueAttributes[i].code != attrBreakpointCount + static_cast<int64_t>(i)) return false;
    return true;
}
static_assert(value_attributes_in_order() && std::size(kValueAttributes) == attrFlag23 - attrBreakpointCount + 1);

// The row of an attribute code, null outside 14 .. 23.
inline const ValueAttribute* find_value_attribute(int64_t code) {
    if (code < attrBreakpointCount || code > attrFlag23) return nullptr;
    return &kValueAttributes[code - attrBreakpointCount];
}

// The attribute's field, widened to 64 bits.
inline int64_t read_value_attribute(const FitTask& task, const ValueAttribute& row) {
    return std::visit([&](auto field) { return static_cast<int64_t>(task.*field); }, row.field);
}

inline void store_value_attribute(FitTask& task, const ValueAttribute& row, int64_t value) {
    std::visit([&](auto field) { task.*field = static_cast<std::remove_reference_t<decltype(task.*field)>>(value); },
               row.field);
}

}  // namespace qor::kp
