// A table of numbers as the readers hand it over: named columns, rows of
// doubles stored row by row (the value of row i, column j at i*columns + j).
#ifndef QOR_CLI_TABLE_H
#define QOR_CLI_TABLE_H

#include <cstddef>
#include <string>
#include <vector>

namespace qor::cli {

struct Table {
    std::vector<std::string> names;  // one per column
    std::size_t rows = 0;
    std::size_t columns = 0;
    std::vector<double> values;      // rows * columns, row by row
    // Line of the input each row came from (1-based); empty for binary input.
    std::vector<std::size_t> lines;

    double at(std::size_t row, std::size_t column) const { return values[row * columns + column]; }
};

// The name of column j (from 0) when the input names none: c1, c2, ...
inline std::string column_name(std::size_t j) {
    std::string name(1, 'c');
    name += std::to_string(j + 1);
    return name;
}

}  // namespace qor::cli

#endif
