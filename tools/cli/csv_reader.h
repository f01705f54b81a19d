// The CSV reader: text in, a table or a message out; it never prints and
// never exits, so that any caller (the tool, a test, a fuzzer) may use it.
//
// Cells are separated by commas; spaces and tabs around a cell are ignored;
// a cell may be quoted ("a, b" with "" for a quote inside).  Lines end in
// \n or \r\n; blank lines and lines starting with # are skipped.  Every
// data cell is a number as strtod writes them (a leading + allowed, inf and
// nan too).  The first line is a header of column names when the header
// mode says so, or, in the automatic mode, when any of its cells is not a
// number.  Every row must have as many cells as the first.
#ifndef QOR_CLI_CSV_READER_H
#define QOR_CLI_CSV_READER_H

#include <string>
#include <string_view>

#include "table.h"

namespace qor::cli {

enum class Header { automatic, present, absent };

// Fills table and returns true, or returns false with error saying what is
// wrong and where ("line 4, column 2: 'abc' is not a number").  The table
// is left empty on failure.
bool read_csv(std::string_view text, Table& table, std::string& error, Header header = Header::automatic);

// Parses a whole cell (surrounding spaces already removed) as a double.
bool parse_double(std::string_view cell, double& value);

}  // namespace qor::cli

#endif
