// Arithmetic on columns of numbers through the library's strided functions, and what is built from it: means,
// deviations, lines through points. A NaN is a missing value.
#pragma once

#include "library.h"
#include "nvo_ark/vector_math.h"
#include "table.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <vector>

using Column = std::vector<double>;

// What a call reads: a column, or one number that stands for a whole column of it, a vector of stride 0.
struct Operand {
    Operand(const Column& column) : first(column.data()), stride(1), count(static_cast<std::int32_t>(column.size())) {}
    Operand(const double& constant) : first(&constant), stride(0), count(1) {}

    const double* first;
    std::int32_t stride;
    std::int32_t count;
};

class Arithmetic {
public:
    explicit Arithmetic(const Library& library)
        : add(NVO_FIND(library, _arkdAddI)), sub(NVO_FIND(library, _arkdSubI)), mul(NVO_FIND(library, _arkdMulI)),
          div(NVO_FIND(library, _arkdDivI)), sqr(NVO_FIND(library, _arkdSqrI)), sqrt(NVO_FIND(library, _arkdSqrtI)),
          exp(NVO_FIND(library, _arkdExpI)), ln(NVO_FIND(library, _arkdLnI)), round(NVO_FIND(library, _arkdRoundI)) {}

    Column plus(Operand a, Operand b) const { return apply(add, a, b); }
    Column minus(Operand a, Operand b) const { return apply(sub, a, b); }
    Column times(Operand a, Operand b) const { return apply(mul, a, b); }
    Column over(Operand a, Operand b) const { return apply(div, a, b); }
    Column squared(Operand a) const { return apply(sqr, a); }
    Column root(Operand a) const { return apply(sqrt, a); }
    Column exponential(Operand a) const { return apply(exp, a); }
    Column logarithm(Operand a) const { return apply(ln, a); }

    // Halves away from zero.
    Column rounded(Operand a, int decimals) const {
        const double scale = std::pow(10, decimals);
        return over(apply(round, times(a, scale)), scale);
    }
    std::string text(double value, int decimals) const { return number(rounded(value, decimals).front(), decimals); }

    static double sum(const Column& column) {
        double total = 0;
        for (const double value : column)
            if (!std::isnan(value)) total += value;
        return total;
    }
    static int present(const Column& column) {
        return static_cast<int>(std::ranges::count_if(column, [](double value) { return !std::isnan(value); }));
    }

    double mean(const Column& column) const { return over(sum(column), double(present(column))).front(); }
    double deviation(const Column& column) const {
        const double squares = sum(squared(minus(column, mean(column))));
        return root(over(squares, double(present(column) - 1))).front();
    }

    // The straight line y = intercept + slope x of least squares, and the correlation of x and y.
    struct Line {
        double intercept, slope, correlation;
    };
    // Neither column may have missing values.
    Line line(const Column& x, const Column& y) const {
        const Column dx = minus(x, mean(x)), dy = minus(y, mean(y));
        const double xx = sum(squared(dx)), yy = sum(squared(dy)), xy = sum(times(dx, dy));
        const double slope = over(xy, xx).front();
        return {minus(mean(y), times(slope, mean(x))).front(), slope, over(xy, root(times(xx, yy))).front()};
    }

private:
    static Column apply(ark_fn_B_strided_d* function, Operand a, Operand b) {
        if (a.stride && b.stride && a.count != b.count) throw std::logic_error("columns of different lengths");
        Column y(static_cast<std::size_t>(std::max(a.count, b.count)));
        function(static_cast<std::int32_t>(y.size()), a.first, a.stride, b.first, b.stride, y.data(), 1);
        return y;
    }
    static Column apply(ark_fn_U_strided_d* function, Operand a) {
        Column y(static_cast<std::size_t>(a.count));
        function(a.count, a.first, a.stride, y.data(), 1);
        return y;
    }

    ark_fn_B_strided_d *add, *sub, *mul, *div;
    ark_fn_U_strided_d *sqr, *sqrt, *exp, *ln, *round;
};
