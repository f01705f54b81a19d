// The message catalogue: texts of the numbered messages printed on
// standard error.
#pragma once

#include <cstdarg>

namespace qor::core {

// Format of message id, or null when the catalogue has none.
const char* message_format(int msg_id);

// Prints message id with its arguments as one line on standard error.
void print_message(int level, int msg_id, va_list args);

}  // namespace qor::core
