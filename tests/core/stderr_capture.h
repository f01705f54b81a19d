// Captures what the process writes on file descriptor 2 while it lives.
#pragma once

#include <unistd.h>

#include <cstdio>
#include <string>

class StderrCapture {
public:
    StderrCapture() {
        std::fflush(stderr);
        file_ = std::tmpfile();
        saved_ = dup(2);
        dup2(fileno(file_), 2);
    }
    ~StderrCapture() {
        restore();
        std::fclose(file_);
    }
    StderrCapture(const StderrCapture&) = delete;
    StderrCapture& operator=(const StderrCapture&) = delete;

    // Stops capturing and returns everything written.
    std::string text() {
        restore();
        std::string out;
        std::rewind(file_);
        char buf[4096];
        for (std::size_t got; (got = std::fread(buf, 1, sizeof buf, file_)) > 0;) out.append(buf, got);
        return out;
    }

private:
    void restore() {
        if (saved_ < 0) return;
        std::fflush(stderr);
        dup2(saved_, 2);
        close(saved_);
        saved_ = -1;
    }
    std::FILE* file_;
    int saved_;
};
