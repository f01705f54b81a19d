#include "binary_reader.h"

#include <cstring>

namespace qor::cli {

bool read_binary(std::string_view bytes, int64_t columns, Table& table, std::string& error) {
    table = Table{};
    if (columns < 1) {
        error = "the column count must be 1 or more, not " + std::to_string(columns);
        return false;
    }
    if (bytes.empty()) {
        error = "the file is empty";
        return false;
    }
    const std::size_t row_bytes = sizeof(double) * static_cast<std::size_t>(columns);
    if (bytes.size() % row_bytes != 0) {
        error = std::to_string(bytes.size()) + " bytes are not a whole number of rows of " + std::to_string(columns) +
                " double" + (columns == 1 ? "" : "s") + " (" + std::to_string(row_bytes) + " bytes each)";
        return false;
    }
    table.columns = static_cast<std::size_t>(columns);
    table.rows = bytes.size() / row_bytes;
    table.values.resize(table.rows * table.columns);
    std::memcpy(table.values.data(), bytes.data(), bytes.size());
    for (std::size_t j = 0; j < table.columns; ++j) table.names.push_back(column_name(j));
    return true;
}

}  // namespace qor::cli
