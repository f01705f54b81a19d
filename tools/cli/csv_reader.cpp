#include "csv_reader.h"

#include <charconv>
#include <cstdlib>
#include <vector>

namespace qor::cli {
namespace {

std::string_view trim(std::string_view s) {
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t')) s.remove_prefix(1);
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t')) s.remove_suffix(1);
    return s;
}

// Splits one line into cells; false with error for an unterminated quote.
bool split_line(std::string_view line, std::vector<std::string>& cells, std::string& error) {
    cells.clear();
    std::size_t i = 0;
    while (true) {
        std::string cell;
        while (i < line.size() && (line[i] == ' ' || line[i] == '\t')) ++i;
        if (i < line.size() && line[i] == '"') {
            ++i;
            while (true) {
                if (i >= line.size()) {
                    error = "a quoted cell has no closing quote";
                    return false;
                }
                if (line[i] == '"') {
                    if (i + 1 < line.size() && line[i + 1] == '"') {
                        cell += '"';
                        i += 2;
                        continue;
                    }
                    ++i;
                    break;
                }
                cell += line[i++];
            }
            const std::size_t comma = line.find(',', i);
            if (!trim(line.substr(i, comma == std::string_view::npos ? std::string_view::npos : comma - i)).empty()) {
                error = "text after the closing quote of a cell";
                return false;
            }
            i = comma;
        } else {
            const std::size_t comma = line.find(',', i);
            cell = std::string(trim(line.substr(i, comma == std::string_view::npos ? std::string_view::npos : comma - i)));
            i = comma;
        }
        cells.push_back(std::move(cell));
        if (i == std::string_view::npos) return true;
        ++i;  // past the comma
    }
}

std::string shown(std::string_view cell) {
    constexpr std::size_t kMost = 40;
    if (cell.size() <= kMost) return "'" + std::string(cell) + "'";
    return "'" + std::string(cell.substr(0, kMost)) + "...'";
}

}  // namespace

bool parse_double(std::string_view cell, double& value) {
    if (!cell.empty() && cell.front() == '+') cell.remove_prefix(1);
    if (cell.empty() || cell.front() == '+') return false;
    const char* end = cell.data() + cell.size();
    const auto [ptr, ec] = std::from_chars(cell.data(), end, value);
    if (ptr != end) return false;
    // A magnitude beyond the range is infinity, as strtod gives it; one
    // below the smallest subnormal is a signed zero.
    if (ec == std::errc::result_out_of_range) value = std::strtod(std::string(cell).c_str(), nullptr);
    else if (ec != std::errc()) return false;
    return true;
}

bool read_csv(std::string_view text, Table& table, std::string& error, Header header) {
    table = Table{};
    std::vector<std::string> cells;
    std::size_t line_number = 0, position = 0;
    bool first = true, had_header = false;
    auto fail = [&](std::string message) {
        error = "line " + std::to_string(line_number) + ": " + std::move(message);
        table = Table{};
        return false;
    };
    while (position < text.size()) {
        std::size_t end = text.find('\n', position);
        if (end == std::string_view::npos) end = text.size();
        std::string_view line = text.substr(position, end - position);
        position = end + 1;
        ++line_number;
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        if (trim(line).empty() || trim(line).front() == '#') continue;
        if (line.find('\0') != std::string_view::npos) return fail("a NUL byte: this is not a text file");
        std::string split_error;
        if (!split_line(line, cells, split_error)) return fail(split_error);

        if (first) {
            first = false;
            table.columns = cells.size();
            bool numeric = true;
            double ignored;
            for (const std::string& c : cells) numeric = numeric && parse_double(c, ignored);
            const bool is_header = header == Header::present || (header == Header::automatic && !numeric);
            if (is_header) {
                had_header = true;
                table.names = cells;
                for (std::size_t j = 0; j < cells.size(); ++j)
                    if (table.names[j].empty()) table.names[j] = column_name(j);
                continue;
            }
            for (std::size_t j = 0; j < cells.size(); ++j) table.names.push_back(column_name(j));
        }
        if (cells.size() != table.columns)
            return fail(std::to_string(cells.size()) + (cells.size() == 1 ? " cell" : " cells") + " where " +
                        (had_header ? "the header has " : "the first row has ") +
                        std::to_string(table.columns));
        for (std::size_t j = 0; j < cells.size(); ++j) {
            double value;
            if (cells[j].empty()) return fail("column " + std::to_string(j + 1) + " (" + table.names[j] + ") is empty");
            if (!parse_double(cells[j], value))
                return fail("column " + std::to_string(j + 1) + " (" + table.names[j] + "): " + shown(cells[j]) +
                            " is not a number");
            table.values.push_back(value);
        }
        table.lines.push_back(line_number);
        ++table.rows;
    }
    if (table.rows == 0) {
        error = line_number == 0 ? "the file is empty" : "no rows of numbers";
        table = Table{};
        return false;
    }
    return true;
}

}  // namespace qor::cli
