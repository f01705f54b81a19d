// The accuracy variants of an operation: LA (low), HA (high) and EP
// (enhanced performance), each with its error bound given where the
// operation is defined.
#pragma once

namespace qor::vm {

enum class Variant { LA, HA, EP };

}  // namespace qor::vm
