// qor for C++: the one exception type of the C++ layer.
//
// Every call of the C++ layer that fails throws qor::error, carrying the
// status the C call returned (or the status the C call would return for a
// request the C++ layer refuses before calling, such as spans of unequal
// size), the family it belongs to (QOR_FAMILY_...: the families' codes
// overlap) and its text from qor_family_status_string.
#ifndef QOR_ERROR_HPP
#define QOR_ERROR_HPP

#include <stdexcept>
#include <string>

#include "qor.h"

namespace qor {

class error : public std::runtime_error {
public:
    // A status of `family` (0: the library's own, from qor_init); a refusal
    // of the C++ layer itself adds what was wrong as `detail`.
    error(int family, int status, const std::string& detail = {})
        : std::runtime_error(text(family, status, detail)), family_(family), status_(status) {}

    int family() const noexcept { return family_; }
    int status() const noexcept { return status_; }

private:
    static std::string text(int family, int status, const std::string& detail) {
        std::string s = family ? qor_family_status_string(family, status) : qor_status_string(status);
        s += " (status " + std::to_string(status) + ")";
        if (!detail.empty()) s += ": " + detail;
        return s;
    }

    int family_;
    int status_;
};

namespace detail {

// Throws for a negative status; the C calls return 0 or a negative code.
inline void check(int family, int status) {
    if (status < 0) throw error(family, status);
}

// Refuses, with the given family's bad-argument status, two sizes that must
// be equal.
inline void check_sizes(int family, std::size_t a, std::size_t b, int status, const char* what) {
    if (a != b)
        throw error(family, status, std::string(what) + ": sizes " + std::to_string(a) + " and " + std::to_string(b) +
                                " differ");
}

}  // namespace detail
}  // namespace qor

#endif
