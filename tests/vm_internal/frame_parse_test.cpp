// QOR_LUM_MODE parsing and the first mode of a thread, on the parser itself:
// strings the environment lookup cannot produce (longer than its buffer)
// and the raw accumulated value before defaults are filled in.
#include <gtest/gtest.h>

#include <string>

#include "vm/frame/thread_state.h"

using qor::vm::initial_mode;
using qor::vm::parse_mode_string;

namespace {
constexpr uint64_t kUnusable = ~uint64_t{0};
}

TEST(FrameParseMode, AccumulatesTheValuesOfAllTokens) {
    const struct { const char* text; uint64_t value; } cases[] = {
        {"LUM_LA", 0x1},
        {"LUM_HA", 0x2},
        {"LUM_EP", 0x3},
        {"LUM_DEFAULT_PRECISION", 0x0},
        {"LUM_FLOAT_CONSISTENT", 0x10},
        {"LUM_DOUBLE_CONSISTEN", 0x20},
        {"LUM_RESTORE", 0x30},
        {"LUM_ERRMODE_IGNORE", 0x100},
        {"LUM_ERRMODE_ERRNO", 0x200},
        {"LUM_ERRMODE_STDERR", 0x400},
        {"LUM_ERRMODE_EXCEPT", 0x800},
        {"LUM_ERRMODE_CALLBACK", 0x1000},
        {"LUM_ERRMODE_NOERR", 0x2000},
        {"LUM_ERRMODE_DEFAULT", 0x1A00},
        {"LUM_TRAP_INVALID", 0x1000000},
        {"LUM_TRAP_DIVBYZERO", 0x2000000},
        {"LUM_TRAP_OVERFLOW", 0x4000000},
        {"LUM_TRAP_UNDERFLOW", 0x8000000},
        {"LUM_LA,LUM_HA", 0x3},
        {"LUM_FLOAT_CONSISTENT,LUM_DOUBLE_CONSISTEN", 0x30},
        {"LUM_EP,LUM_ERRMODE_STDERR", 0x403},
        {"LUM_TRAP_UNDERFLOW,LUM_TRAP_INVALID,LUM_DEFAULT_PRECISION", 0x9000000},
    };
    for (const auto& c : cases) EXPECT_EQ(parse_mode_string(c.text), c.value) << c.text;
}

TEST(FrameParseMode, RejectsAnythingButACleanList) {
    const char* rejected[] = {"",       "LUM_DOUBLE_CONSISTENT", "LUM_ERRMODE_ERRNOX", "LUM_HA,",
                              "LUM_HA, LUM_LA", "LUM_HA,,LUM_LA", ",LUM_HA", "HA", "LUM", "LUM_",
                              "LUM_XX", "LUM_LA,HA", "LUM_LA\tLUM_HA"};
    for (const char* text : rejected) EXPECT_EQ(parse_mode_string(text), kUnusable) << '"' << text << '"';
}

TEST(FrameParseMode, TokensMustEndInsideTheBuffer) {
    std::string list = "LUM_LA";
    while (list.size() < 248) list += ",LUM_LA";  // ends at 251: inside
    EXPECT_EQ(parse_mode_string(list.c_str()), 0x1u);
    while (list.size() < 270) list += ",LUM_LA";  // a token ends past the buffer
    EXPECT_EQ(parse_mode_string(list.c_str()), kUnusable);
}

TEST(FrameParseMode, InitialModeFillsAccuracyAndErrorModeWhenAbsent) {
    EXPECT_EQ(initial_mode(kUnusable), 0x1A02u);
    EXPECT_EQ(initial_mode(0x0), 0x1A02u);
    EXPECT_EQ(initial_mode(0x3), 0x1A03u);
    EXPECT_EQ(initial_mode(0x30), 0x1A32u);
    EXPECT_EQ(initial_mode(0x100), 0x102u);
    EXPECT_EQ(initial_mode(0x2001), 0x2001u);
    EXPECT_EQ(initial_mode(0x1000000), 0x1001A02u);
    EXPECT_EQ(initial_mode(0xF000403), 0xF000403u);
}
