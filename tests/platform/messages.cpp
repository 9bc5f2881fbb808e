#include "platform/core.h"

#include <bit>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <string>
#include <sys/socket.h>
#include <unistd.h>
#include <xmmintrin.h>

namespace {

// What `body` writes to standard error, with a bar behind each write: the socket keeps their limits.
template <class Body> std::string writes_of(Body body) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends) != 0) return "no socket";
    const int standard_error = dup(STDERR_FILENO);
    dup2(ends[1], STDERR_FILENO);
    body();
    dup2(standard_error, STDERR_FILENO);
    close(standard_error);
    close(ends[1]);

    std::string writes;
    char buffer[1024];
    for (ssize_t length; (length = read(ends[0], buffer, sizeof buffer)) > 0;) writes.append(buffer, length) += '|';
    close(ends[0]);
    return writes;
}

template <class... Values> std::string printed(int id, Values... values) {
    return writes_of([&] { nvo_serv_print(1, id, sizeof...(values), values...); });
}

TEST(Messages, FirstLinesNameFunctionAndFailure) {
    const char* failures[] = {"memory", "domain", "singularity", "overflow", "underflow", "unknown"};
    for (int i = 0; i < 6; ++i) {
        const std::string line = printed(749 + i, "vsSqrt");
        EXPECT_EQ(line.find("nvo_ark: vsSqrt: "), 0u) << line;
        EXPECT_NE(line.find(failures[i]), line.npos) << line;
        EXPECT_EQ(line.find("\n|"), line.size() - 2) << line;
    }
    EXPECT_EQ(printed(748, "vdExp", -7), "nvo_ark: vdExp: invalid argument of the call (index -7)\n|");
    EXPECT_EQ(printed(749, std::string(5000, 'x').c_str()),
              "nvo_ark: " + std::string(64, 'x') + ": access to memory denied\n|");
}

TEST(Messages, ValueLinesNameElementAndRole) {
    const char* roles[] = {"argument",   "result",                              // one argument, one result
                           "argument",   "result 1",   "result 2",              // one argument, two results
                           "argument 1", "argument 2", "result",                // two arguments, one result
                           "argument 1", "argument 2", "result 1", "result 2"}; // two arguments, two results
    for (int i = 0; i < 12; ++i)
        EXPECT_EQ(printed(755 + i, 13, 0.1), std::string("    element 13: ") + roles[i] + " = 0.10000000000000001\n|");
    EXPECT_EQ(printed(756, INT32_MIN, -std::numeric_limits<double>::infinity()),
              "    element -2147483648: result = -inf\n|");
}

// From one value to the next denormals are flushed or not, the rounding direction changes, and traps are open or not.
TEST(Messages, DoublesReadBackInAnyMode) {
    std::mt19937_64 random(1);
    for (unsigned i = 0; i < 500; ++i) {
        std::uint64_t bits = random();
        if (i % 16 < 8) bits &= 0x800fffffffffffff; // a denormal
        if (bits << 1 > 0x7ffull << 53) continue;   // a NaN
        const unsigned mode = (i & 1 ? 0x8040 : 0) | (i >> 1 & 3) << 13 | (i / 16 & 1 ? 0 : 0x1F80);
        unsigned mode_after = 0;
        const std::string line = writes_of([&] {
            const unsigned saved = _mm_getcsr();
            _mm_setcsr(mode);
            nvo_serv_print(1, 755, 2, 0, std::bit_cast<double>(bits));
            mode_after = _mm_getcsr();
            _mm_setcsr(saved);
        });
        EXPECT_EQ(mode_after, mode);
        EXPECT_EQ(std::bit_cast<std::uint64_t>(std::strtod(line.c_str() + line.find('=') + 1, nullptr)), bits) << line;
    }
}

TEST(Messages, ReadNoArgumentThatWasNotGiven) {
    EXPECT_EQ(printed(755), "    element ?: argument = ?\n|");
    EXPECT_EQ(printed(755, 3), "    element 3: argument = ?\n|");
    EXPECT_EQ(printed(749, static_cast<const char*>(nullptr)), "nvo_ark: (null): access to memory denied\n|");
    for (int id : {747, 767, -1})
        EXPECT_EQ(printed(id, 1), "nvo_ark: message " + std::to_string(id) + " has no text\n|");
    EXPECT_EQ(writes_of([] { nvo_serv_print(0, 749, 1, "vdExp"); }), "");
}

TEST(Messages, KeepErrnoWhenStandardErrorIsClosed) {
    int error = 0;
    writes_of([&] {
        close(STDERR_FILENO);
        errno = EDOM;
        nvo_serv_print(1, 750, 1, "vsSqrt");
        error = errno;
    });
    EXPECT_EQ(error, EDOM);
}

} // namespace
