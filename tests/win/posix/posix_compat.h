// POSIX calls and GoogleTest predicates that the test suites use and the
// Windows C runtime and GoogleTest lack.  Included ahead of every test source
// of the Windows build.
#pragma once

#ifdef __cplusplus
#include <csignal>

// Environment, through the C runtime's _putenv_s: the runtime's copy that
// getenv reads and the process environment are both updated.  Windows keeps
// no empty variables: setting "" removes the variable.
extern "C" int setenv(const char* name, const char* value, int overwrite);
extern "C" int unsetenv(const char* name);

namespace testing {

// A Windows process has no signals to die of; it ends with the code of the
// structured exception nobody handled.  The predicate accepts the codes that
// POSIX reports as the given signal: the floating-point and integer
// arithmetic exceptions for SIGFPE, an access violation for SIGSEGV,
// an illegal instruction for SIGILL, abort()'s exit code 3 for SIGABRT.
class KilledBySignal {
public:
    explicit KilledBySignal(int signum) : signum_(signum) {}
    bool operator()(int exit_status) const;

private:
    int signum_;
};

}  // namespace testing
#endif
