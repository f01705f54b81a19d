// The binary reader: raw native-endian doubles, `columns` to a row, as
// `qor rng --format binary` writes them.  It never prints and never exits.
#ifndef QOR_CLI_BINARY_READER_H
#define QOR_CLI_BINARY_READER_H

#include <cstdint>
#include <string>
#include <string_view>

#include "table.h"

namespace qor::cli {

// Fills table (columns named c1, c2, ...) and returns true, or returns
// false with error telling why: no bytes, a column count below 1, or a size
// that is not a whole number of rows.
bool read_binary(std::string_view bytes, int64_t columns, Table& table, std::string& error);

}  // namespace qor::cli

#endif
