#include "messages.h"

#include <cstdio>

#include "platform.h"

namespace qor::core {
namespace {

struct Message {
    int id;
    const char* format;
};

// Value lines carry the element index and one value.
constexpr Message kCatalogue[] = {
    {748, "qor: %s: invalid argument at element %d"},
    {749, "qor: %s: inaccessible memory"},
    {750, "qor: %s: argument outside the function's domain"},
    {751, "qor: %s: singularity, the function has a pole here"},
    {752, "qor: %s: overflow, the result is too large to represent"},
    {753, "qor: %s: underflow, the result is too small to represent"},
    {754, "qor: %s: unknown error"},
    {755, "    element %d: argument %.17g"},
    {756, "    element %d: result %.17g"},
    {757, "    element %d: argument %.17g"},
    {758, "    element %d: first result %.17g"},
    {759, "    element %d: second result %.17g"},
    {760, "    element %d: first argument %.17g"},
    {761, "    element %d: second argument %.17g"},
    {762, "    element %d: result %.17g"},
    {763, "    element %d: first argument %.17g"},
    {764, "    element %d: second argument %.17g"},
    {765, "    element %d: first result %.17g"},
    {766, "    element %d: second result %.17g"},
    {773, "qor: cannot create the per-thread vector-math state: out of memory"},
};

}  // namespace

const char* message_format(int msg_id) {
    for (const Message& m : kCatalogue)
        if (m.id == msg_id) return m.format;
    return nullptr;
}

void print_message(int level, int msg_id, va_list args) {
    const char* format = message_format(msg_id);
    char line[512];
    int len;
    if (format) {
        len = std::vsnprintf(line, sizeof line - 1, format, args);
    } else {
        len = std::snprintf(line, sizeof line - 1, "qor: message %d", msg_id);
    }
    if (len < 0) return;
    if (len > static_cast<int>(sizeof line) - 2) len = sizeof line - 2;
    line[len++] = '\n';
    (void)level;
    write_stderr(line, static_cast<size_t>(len));
}

}  // namespace qor::core
