// Gives errno back as it was. A service that is called from inside a numerical function must not change the errno
// that the function has set for its caller, even where a system call of its own fails.
#pragma once

#include <cerrno>

class KeepErrno {
public:
    KeepErrno() = default;
    KeepErrno(const KeepErrno&) = delete;
    KeepErrno& operator=(const KeepErrno&) = delete;
    ~KeepErrno() { errno = saved; }

private:
    int saved = errno;
};
