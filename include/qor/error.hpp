// qor for C++: the one exception type of the C++ layer.
//
// Every call of the C++ layer that fails throws qor::error, carrying the
// status the C call returned (or the status the C call would return for a
// request the C++ layer refuses before calling, such as spans of unequal
// size) and its text from qor_status_string.
#ifndef QOR_ERROR_HPP
#define QOR_ERROR_HPP

#include <stdexcept>
#include <string>

#include "qor.h"

namespace qor {

class error : public std::runtime_error {
public:
    explicit error(int status) : std::runtime_error(text(status, {})), status_(status) {}
    // A refusal of the C++ layer itself: the status's text and what was wrong.
    error(int status, const std::string& detail) : std::runtime_error(text(status, detail)), status_(status) {}

    int status() const noexcept { return status_; }

private:
    static std::string text(int status, const std::string& detail) {
        std::string s = qor_status_string(status);
        s += " (status " + std::to_string(status) + ")";
        if (!detail.empty()) s += ": " + detail;
        return s;
    }

    int status_;
};

namespace detail {

// Throws for a negative status; the C calls return 0 or a negative code.
inline void check(int status) {
    if (status < 0) throw error(status);
}

// Refuses, with the given family's bad-argument status, two sizes that must
// be equal.
inline void check_sizes(std::size_t a, std::size_t b, int status, const char* what) {
    if (a != b)
        throw error(status, std::string(what) + ": sizes " + std::to_string(a) + " and " + std::to_string(b) +
                                " differ");
}

}  // namespace detail
}  // namespace qor

#endif
