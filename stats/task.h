// The record behind OstSSTask, and how estimators look at it.
#pragma once

#include "stats/exports.h"
#include "support/integers.h"

#include <concepts>
#include <cstddef>
#include <cstdint>

namespace nvo::stats {

template <class R>
concept Real = std::same_as<R, float> || std::same_as<R, double>;

// A task for numbers of type R. The layout doesn't depend on R.
template <Real R> struct TaskRecord {
#define FIELD_OWN(type, name) type name;
#define FIELD_INTEGER(name, NAME, code, status) const void* name;
#define FIELD_REAL(name, NAME, code, status) R* name;
#include "nvo_ark/statistics_fields.def"

    // Integers behind a pointer field.
    Integers integers(const void* field) const { return {field, index_width != 0}; }
    // Whether variable j takes part.
    bool selects(std::int64_t j) const { return !indices || integers(indices)[j] != 0; }
};

// Three words of 32 bits, then pointers and counts of 64, without a gap but the one between them.
enum : std::size_t {
#define FIELD_OWN(type, name) place_of_##name,
#define FIELD_INTEGER(name, NAME, code, status) place_of_##name,
#define FIELD_REAL(name, NAME, code, status) place_of_##name,
#include "nvo_ark/statistics_fields.def"
    number_of_fields
};
constexpr std::size_t offset_of_place(std::size_t place) { return place < 3 ? 4 * place : 16 + 8 * (place - 3); }
#define FIELD_OWN(type, name)                                                              \
    static_assert(offsetof(TaskRecord<float>, name) == offset_of_place(place_of_##name) && \
                  offsetof(TaskRecord<double>, name) == offset_of_place(place_of_##name));
#define FIELD_INTEGER(name, NAME, code, status) FIELD_OWN(const void*, name)
#define FIELD_REAL(name, NAME, code, status) FIELD_OWN(R*, name)
#include "nvo_ark/statistics_fields.def"
static_assert(sizeof(TaskRecord<double>) == offset_of_place(number_of_fields) && number_of_fields == 94);

// A task that its caller knows to be of this precision.
template <Real R> TaskRecord<R>& record_of(OstSSTask* task) { return *reinterpret_cast<TaskRecord<R>*>(task); }
template <Real R> OstSSTask* handle_of(TaskRecord<R>& task) { return reinterpret_cast<OstSSTask*>(&task); }

// Whether a storage code is one: either bit makes it one, and rows win.
constexpr bool is_storage(std::int64_t code) { return (code & (OST_STAT_STORAGE_ROWS | OST_STAT_STORAGE_COLS)) != 0; }
constexpr bool is_rows(std::int64_t code) { return (code & OST_STAT_STORAGE_ROWS) != 0; }

} // namespace nvo::stats
