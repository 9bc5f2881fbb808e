// Tables of special values: a row's results and statuses, in both forms.
#pragma once

#include "tests/support/rows.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <map>
#include <span>
#include <string>

namespace nvo::tests {

inline constexpr double inf = std::numeric_limits<double>::infinity();
inline constexpr double quiet_nan = std::numeric_limits<double>::quiet_NaN();

inline const Row& row_of(const std::string& name) {
    static const std::map<std::string, Row> rows = [] {
        std::map<std::string, Row> by_name;
        for (const Row& row : all_rows()) by_name.emplace(row.name, row);
        return by_name;
    }();
    return rows.at(name);
}

template <class T> struct Result {
    T y, z;
    int status;
};

// One element through a row.
template <class T> Result<T> one(const std::string& name, T a, T b) {
    Result<T> result{};
    nvo_ark_kernel_ClearErrStatus();
    Arguments<T> v{.a = &a, .b = &b, .y = &result.y, .z = &result.z};
    v.inca = v.incy = 2;
    call(row_of(name), 1, v);
    result.status = nvo_ark_kernel_ClearErrStatus();
    return result;
}

// The same number, or both NaN; signs of zeros count.
template <class T> testing::AssertionResult same(T expected, T found) {
    const bool equal =
        std::isnan(expected) ? std::isnan(found) : expected == found && std::signbit(expected) == std::signbit(found);
    if (equal) return testing::AssertionSuccess();
    return testing::AssertionFailure() << "expected " << expected << ", found " << found;
}

// Values in doubles; in s rows they are rounded to floats.
struct Case {
    const char* op; // of the operation, without type and form
    double a, b, y, z;
    int status;
};

template <class T> void check_case(const Case& c, const std::string& row) {
    const Result<T> found = one<T>(row, T(c.a), T(c.b));
    EXPECT_TRUE(same(T(c.y), found.y)) << row << " of " << c.a << ", " << c.b;
    if (row_of(row).two_outputs()) {
        EXPECT_TRUE(same(T(c.z), found.z)) << row << " of " << c.a;
    }
    EXPECT_EQ(c.status, found.status) << row << " of " << c.a << ", " << c.b;
}

// The cases in both forms of the rows of each type.
inline void check_cases(const std::string& types, std::span<const Case> cases) {
    for (const Case& c : cases) {
        for (char type : types) {
            for (const char* form : {"", "I"}) {
                const std::string row = type + std::string(c.op) + form;
                if (type == 's') {
                    check_case<float>(c, row);
                } else {
                    check_case<double>(c, row);
                }
            }
        }
    }
}

// Statuses are kept, and nothing else happens.
class SpecialValues : public testing::Test {
protected:
    void SetUp() override { nvo_ark_kernel_SetMode(ARK_ERRMODE_IGNORE | ARK_DENORMALS_KEEP); }
    void TearDown() override {
        nvo_ark_kernel_ClearErrorCallBack();
        nvo_ark_kernel_SetMode(ARK_ERRMODE_DEFAULT);
    }
};

} // namespace nvo::tests
