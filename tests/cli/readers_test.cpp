// The CSV and binary readers: what they accept, and the message of each
// kind of bad input, with the line and column it names.
#include <gtest/gtest.h>

#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>

#include "binary_reader.h"
#include "csv_reader.h"

using qor::cli::Header;
using qor::cli::Table;

namespace {

std::string csv_error(std::string_view text, Header header = Header::automatic) {
    Table t;
    std::string error;
    EXPECT_FALSE(qor::cli::read_csv(text, t, error, header)) << text;
    EXPECT_EQ(t.rows, 0u);
    return error;
}

}  // namespace

TEST(CsvReader, ReadsHeadersQuotesCommentsAndLineEndings) {
    Table t;
    std::string error;
    ASSERT_TRUE(qor::cli::read_csv("# made by hand\r\n x , \"y, in m\"\r\n\r\n1, +2.5\r\n-3e2,inf\n4,nan", t, error))
        << error;
    EXPECT_EQ(t.names, (std::vector<std::string>{"x", "y, in m"}));
    ASSERT_EQ(t.rows, 3u);
    EXPECT_EQ(t.values[0], 1.0);
    EXPECT_EQ(t.values[1], 2.5);
    EXPECT_EQ(t.values[2], -300.0);
    EXPECT_TRUE(std::isinf(t.values[3]));
    EXPECT_TRUE(std::isnan(t.values[5]));
    EXPECT_EQ(t.lines, (std::vector<std::size_t>{4, 5, 6}));

    // Without a header the columns get names, and the first row is data;
    // a forced header takes a numeric first line as names.
    ASSERT_TRUE(qor::cli::read_csv("1,2\n3,4\n", t, error));
    EXPECT_EQ(t.names, (std::vector<std::string>{"c1", "c2"}));
    EXPECT_EQ(t.rows, 2u);
    ASSERT_TRUE(qor::cli::read_csv("1,2\n3,4\n", t, error, Header::present));
    EXPECT_EQ(t.names, (std::vector<std::string>{"1", "2"}));
    EXPECT_EQ(t.rows, 1u);
    // Magnitudes past the range read as strtod reads them.
    ASSERT_TRUE(qor::cli::read_csv("1e999,-1e-999\n", t, error));
    EXPECT_TRUE(std::isinf(t.values[0]) && t.values[0] > 0);
    EXPECT_TRUE(t.values[1] == 0 && std::signbit(t.values[1]));
}

TEST(CsvReader, NamesTheLineAndColumnOfEveryFault) {
    EXPECT_EQ(csv_error(""), "the file is empty");
    EXPECT_EQ(csv_error("a,b\n\n# nothing\n"), "no rows of numbers");
    EXPECT_EQ(csv_error("a,b\n1,2\n3\n"), "line 3: 1 cell where the header has 2");
    EXPECT_EQ(csv_error("1,2\n3,4,5\n"), "line 2: 3 cells where the first row has 2");
    EXPECT_EQ(csv_error("a,b\n1,2\n3,x4\n"), "line 3: column 2 (b): 'x4' is not a number");
    EXPECT_EQ(csv_error("a,b\n1,\n"), "line 2: column 2 (b) is empty");
    EXPECT_EQ(csv_error("a,b\n1,2 3\n"), "line 2: column 2 (b): '2 3' is not a number");
    EXPECT_EQ(csv_error("a,b\n1,++2\n"), "line 2: column 2 (b): '++2' is not a number");
    EXPECT_EQ(csv_error("\"a,b\n"), "line 1: a quoted cell has no closing quote");
    EXPECT_EQ(csv_error("\"a\" b,c\n"), "line 1: text after the closing quote of a cell");
    EXPECT_EQ(csv_error(std::string_view("1,2\n3,\0\n", 8)), "line 2: a NUL byte: this is not a text file");
    EXPECT_EQ(csv_error("x\n1\n", Header::absent), "line 1: column 1 (c1): 'x' is not a number");
}

TEST(BinaryReader, ReadsWholeRowsOnly) {
    const double values[6] = {1, 2, 3, 4, 5, -0.0};
    const std::string_view bytes(reinterpret_cast<const char*>(values), sizeof values);
    Table t;
    std::string error;
    ASSERT_TRUE(qor::cli::read_binary(bytes, 3, t, error));
    EXPECT_EQ(t.rows, 2u);
    EXPECT_EQ(t.names, (std::vector<std::string>{"c1", "c2", "c3"}));
    EXPECT_EQ(t.at(1, 0), 4.0);
    EXPECT_TRUE(std::signbit(t.at(1, 2)));

    EXPECT_FALSE(qor::cli::read_binary(bytes, 4, t, error));
    EXPECT_EQ(error, "48 bytes are not a whole number of rows of 4 doubles (32 bytes each)");
    EXPECT_EQ(t.rows, 0u);
    EXPECT_FALSE(qor::cli::read_binary(bytes.substr(0, 7), 1, t, error));
    EXPECT_EQ(error, "7 bytes are not a whole number of rows of 1 double (8 bytes each)");
    EXPECT_FALSE(qor::cli::read_binary({}, 1, t, error));
    EXPECT_EQ(error, "the file is empty");
    EXPECT_FALSE(qor::cli::read_binary(bytes, 0, t, error));
    EXPECT_EQ(error, "the column count must be 1 or more, not 0");
}

TEST(CsvReader, ReadsBackEveryDoubleItsWriterPrintsAndSurvivesNoise) {
    // Any table printed with the shortest round-trip text reads back bit
    // for bit: extremes, subnormals, signed zeros, infinities.
    std::mt19937_64 gen(77);
    const double special[] = {0.0, -0.0, std::numeric_limits<double>::denorm_min(), -1e-310,
                              std::numeric_limits<double>::max(), -std::numeric_limits<double>::infinity(), 1e22, 0.1};
    for (int trial = 0; trial < 20; ++trial) {
        const std::size_t rows = 1 + gen() % 40, columns = 1 + gen() % 5;
        std::vector<double> values(rows * columns);
        std::string text = trial % 2 ? "\"a \"\"quoted\"\" name\"" : "";
        for (std::size_t j = 1; trial % 2 && j < columns; ++j) text += ",b" + std::to_string(j);
        if (trial % 2) text += "\n";
        for (std::size_t i = 0; i < values.size(); ++i) {
            const uint64_t bits = gen();
            double v;
            std::memcpy(&v, &bits, sizeof v);
            values[i] = gen() % 4 == 0 ? special[gen() % 8] : std::isnan(v) ? 1.5 : v;
            char cell[32];
            text.append(cell, std::to_chars(cell, cell + sizeof cell, values[i]).ptr);
            text += (i + 1) % columns ? (trial % 3 ? "," : " ,\t") : (trial % 4 ? "\n" : "\r\n");
        }
        Table t;
        std::string error;
        ASSERT_TRUE(qor::cli::read_csv(text, t, error)) << error;
        ASSERT_EQ(t.rows, rows);
        ASSERT_EQ(t.columns, columns);
        EXPECT_EQ(t.names[0], trial % 2 ? "a \"quoted\" name" : "c1");
        for (std::size_t i = 0; i < values.size(); ++i)
            ASSERT_EQ(std::memcmp(&t.values[i], &values[i], sizeof(double)), 0) << trial << " " << i;
    }
    // Random bytes and mangled CSV: either a table or a message, never a crash.
    for (int trial = 0; trial < 2000; ++trial) {
        std::string text(gen() % 64, ' ');
        for (char& c : text) c = "0123456789.,-+e\"\n\r #nax"[gen() % 24];
        Table t;
        std::string error;
        if (qor::cli::read_csv(text, t, error)) {
            EXPECT_EQ(t.values.size(), t.rows * t.columns);
            EXPECT_EQ(t.lines.size(), t.rows);
        } else {
            EXPECT_FALSE(error.empty());
            EXPECT_EQ(t.rows, 0u);
        }
    }
}
