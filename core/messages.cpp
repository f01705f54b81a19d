#include "messages.h"

#include <cstdio>

#include "platform.h"

namespace qor::core {
namespace {

struct Message {
    int id;
    const char* format;
};

// Heading lines name the kernel (e.g. "vdLn") and what went wrong; the
// value lines under them carry the element index and one value, named after
// the kernel's own arguments: a and b in, r (or r1 and r2) out.
constexpr Message kCatalogue[] = {
    {748, "qor: %s: invalid argument at position %d"},
    {749, "qor: %s: inaccessible memory"},
    {750, "qor: %s: argument outside the domain of the function"},
    {751, "qor: %s: singularity: the function has a pole at the argument"},
    {752, "qor: %s: overflow: the result is too large to represent"},
    {753, "qor: %s: underflow: the result is too small to represent"},
    {754, "qor: %s: unknown error"},
    // One argument, one result.
    {755, "    a[%d] = %.17g"},
    {756, "    r[%d] = %.17g"},
    // One argument, two results.
    {757, "    a[%d] = %.17g"},
    {758, "    r1[%d] = %.17g"},
    {759, "    r2[%d] = %.17g"},
    // Two arguments, one result.
    {760, "    a[%d] = %.17g"},
    {761, "    b[%d] = %.17g"},
    {762, "    r[%d] = %.17g"},
    // Two arguments, two results.
    {763, "    a[%d] = %.17g"},
    {764, "    b[%d] = %.17g"},
    {765, "    r1[%d] = %.17g"},
    {766, "    r2[%d] = %.17g"},
    {773, "qor: fatal: cannot create this thread's vector-math state (out of memory)"},
};

constexpr int kLineCapacity = 512;

}  // namespace

const char* message_format(int msg_id) {
    for (const Message& m : kCatalogue)
        if (m.id == msg_id) return m.format;
    return nullptr;
}

void print_message(int level, int msg_id, va_list args) {
    // Every message is a single line written with one call, so that lines
    // of different threads do not interleave.  The level does not change
    // the text: all catalogue messages are error lines.
    (void)level;
    const char* format = message_format(msg_id);
    char line[kLineCapacity];
    int len = format ? std::vsnprintf(line, sizeof line, format, args)
                     : std::snprintf(line, sizeof line, "qor: message %d (not in the catalogue)", msg_id);
    if (len < 0) return;
    if (len > kLineCapacity - 2) len = kLineCapacity - 2;  // truncated: keep room for the newline
    line[len++] = '\n';
    write_stderr(line, static_cast<std::size_t>(len));
}

}  // namespace qor::core
