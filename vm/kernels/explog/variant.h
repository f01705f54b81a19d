// The accuracy variants of the exponential and logarithm operations.
#pragma once

namespace qor::vm::explog {

enum class Variant { LA, HA, EP };

}  // namespace qor::vm::explog
