// The tool's readers over any bytes.  The first byte picks the reader (CSV
// in each header mode, or binary with 1 to 7 columns or none), the rest is the
// input.  A read either fails with a message and an empty table, or gives
// a consistent table; a CSV table written back with %.17g and read again
// gives the same numbers, and a binary table holds the input's bytes.
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>

#include "binary_reader.h"
#include "csv_reader.h"

namespace {

using qor::cli::Header;
using qor::cli::Table;

bool same_number(double a, double b) { return std::isnan(a) ? std::isnan(b) : a == b; }

void check_csv_round_trip(const Table& t) {
    std::string text;
    char cell[32];
    for (std::size_t i = 0; i < t.rows; ++i) {
        for (std::size_t j = 0; j < t.columns; ++j) {
            std::snprintf(cell, sizeof cell, j ? ",%.17g" : "%.17g", t.at(i, j));
            text += cell;
        }
        text += '\n';
    }
    Table again;
    std::string error;
    if (!qor::cli::read_csv(text, again, error, Header::absent)) __builtin_trap();
    if (again.rows != t.rows || again.columns != t.columns) __builtin_trap();
    for (std::size_t k = 0; k < t.values.size(); ++k)
        if (!same_number(again.values[k], t.values[k])) __builtin_trap();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const unsigned mode = data[0] % 11;
    const std::string_view input(reinterpret_cast<const char*>(data + 1), size - 1);
    Table t;
    std::string error;
    bool ok;
    if (mode < 3) {
        static const Header kHeaders[] = {Header::automatic, Header::present, Header::absent};
        ok = qor::cli::read_csv(input, t, error, kHeaders[mode]);
    } else {
        ok = qor::cli::read_binary(input, mode == 10 ? 0 : static_cast<int64_t>(mode) - 2, t, error);
    }
    if (!ok) {
        if (error.empty() || t.rows || t.columns || !t.values.empty() || !t.names.empty()) __builtin_trap();
        return 0;
    }
    if (t.columns == 0 || t.values.size() != t.rows * t.columns || t.names.size() != t.columns) __builtin_trap();
    if (mode < 3) {
        if (t.lines.size() != t.rows) __builtin_trap();
        if (t.rows) check_csv_round_trip(t);
    } else if (t.values.size() * sizeof(double) != input.size() ||
               std::memcmp(t.values.data(), input.data(), input.size()) != 0) {
        __builtin_trap();
    }
    return 0;
}
