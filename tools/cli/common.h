// What the subcommands share: the error that ends a command with a message,
// file reading and writing with messages that name the file, number
// parsing and formatting, and the text of the library's status codes.
#ifndef QOR_CLI_COMMON_H
#define QOR_CLI_COMMON_H

#include <cstdint>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "csv_reader.h"
#include "table.h"

namespace qor::cli {

// Ends the running subcommand: main prints "qor <command>: <message>" on
// standard error and exits with status 1.
struct Error : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The whole file (binary mode); "-" reads standard input.
std::string read_file(const std::string& path);

// A CSV file as a table; errors name the file and the line.

Table read_csv_file(const std::string& path, Header header);

// "1e6" and "1000000" alike: a whole number, 0 or more, named by `what`
// in the message when it is not one.
int64_t parse_count(const std::string& text, const std::string& what);
// Comma-separated numbers ("0.25,0.5"), each checked.
std::vector<double> parse_list(const std::string& text, const std::string& what);

// Shortest text that reads back as the same number.
std::string format_number(double value);

// Text of a status of any family; `family` picks the table ("rng",
// "stats", "fit"), the core's own codes are known to all.
std::string status_text(int status, std::string_view family);
// Throws Error("<call> failed: <status text>") when status is not 0.
void check_status(int status, std::string_view family, const std::string& call);

// An output file, or standard output for "-"; every write is checked.
class Output {
public:
    explicit Output(const std::string& path);
    ~Output();
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;
    void write(const void* data, std::size_t bytes);
    void write(std::string_view text) { write(text.data(), text.size()); }
    // Flushes and closes, throwing on a failed write.
    void close();
    bool is_terminal() const;

private:
    std::string path_;
    std::FILE* file_ = nullptr;
    bool owned_ = false;
};

// Whether standard error is a terminal (the progress bar draws only there).
bool stderr_is_terminal();

}  // namespace qor::cli

#endif
