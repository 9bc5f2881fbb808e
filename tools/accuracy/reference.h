// What the operations should give: the list is references.def.
#pragma once

#include "tools/accuracy/rows.h"
#include "tools/accuracy/ulp.h"

#include <cfenv>
#include <string>
#include <vector>

namespace nvo::accuracy {

enum class Direction { nearest = FE_TONEAREST, down = FE_DOWNWARD, up = FE_UPWARD, to_zero = FE_TOWARDZERO };

// The direction in force, for as long as the object lives.
class InDirection {
public:
    explicit InDirection(Direction direction) : saved_(std::fegetround()) {
        std::fesetround(static_cast<int>(direction));
    }
    ~InDirection() { std::fesetround(saved_); }
    InDirection(const InDirection&) = delete;
    InDirection& operator=(const InDirection&) = delete;

private:
    int saved_;
};

// Enough for what is nearest in a double to be known: sums, products and quotients of doubles that aren't ties are
// further from one than the error of 2^-127, and functions but for a chance of 2^-70 a value.
inline constexpr mpfr_prec_t exact_bits = 128;

template <class T> using Fast = void(std::int32_t n, const Arguments<T>& in, Wide<T>* y);

// One result of an operation.
struct Reference {
    int arguments;
    void (*exact)(mpfr_ptr y, mpfr_srcptr a, mpfr_srcptr b, mpfr_rnd_t);
    Fast<float>* fast_s; // null: none
    Fast<double>* fast_d;
    double tolerance;

    template <class T> Fast<T>* fast() const {
        if constexpr (std::is_same_v<T, float>) {
            return fast_s;
        } else {
            return fast_d;
        }
    }
};

// Its results, in order; empty if the list has no line for the operation.
std::vector<Reference> references_of(const std::string& operation);

// Whether the unit-stride form of the operation rounds as its caller has set.
bool is_directed(const std::string& operation);

// Evaluates references exactly, one call at a time.
class Judge {
public:
    const tools::Mp& exact(const Reference& reference, double a, double b, Direction direction);

private:
    tools::Mp a_{0.0, 64}, b_{0.0, 64}, y_{0.0, exact_bits};
};

} // namespace nvo::accuracy
