// A statistics task of the loaded library: what a front end wraps round the calls.
#pragma once

#include "../team/team.h"
#include "library.h"
#include "nvo_ark/statistics.h"

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

// Observations as they lie in memory: row or column storage, p variables, n observations.
struct Observations {
    const double* first;
    std::int32_t p, n, storage;
    std::vector<std::int32_t> selected = {}; // a number for each variable, 0 leaves it out; empty: all take part
};

class Task {
public:
    Task(const Library& library, Observations data) : library(library), data(std::move(data)) {
        const Observations& x = this->data;
        check("__ostdSSNewTask",
              NVO_FIND(library, __ostdSSNewTask)(&task, &x.p, &x.n, &x.storage, x.first, nullptr,
                                                 x.selected.empty() ? nullptr : x.selected.data(), 0));
    }
    Task(const Task&) = delete;
    Task& operator=(const Task&) = delete;
    ~Task() { NVO_FIND(library, __ostSSDeleteTask)(&task); }

    // Registers an array or a number of the caller's, which must live as long as the computations.
    Task& set(std::int32_t code, const double* value) {
        check("__ostdSSEditTask", NVO_FIND(library, __ostdSSEditTask)(task, code, value));
        return *this;
    }
    Task& set(std::int32_t code, const std::int32_t* value) {
        check("__ostiSSEditTask", NVO_FIND(library, __ostiSSEditTask)(task, code, value));
        return *this;
    }
    // The next portion.
    void next(const double* first, std::int32_t n) {
        data.n = n;
        if (n > 0) set(OST_STAT_PARAM_DATA, first);
    }

    void basic(std::uint64_t estimates, std::uint32_t method) {
        check("_ostdSSBasic", NVO_FIND(library, _ostdSSBasic)(task, estimates, method, Team::descriptor()));
    }
    void quantiles() {
        check("_ostdSSQuantiles", NVO_FIND(library, _ostdSSQuantiles)(task, OST_STAT_EST_QUANTILES,
                                                                      OST_STAT_METHOD_FAST, Team::descriptor()));
    }
    void stream_quantiles(std::uint32_t method) {
        check("_ostdSSStreamQuantiles", NVO_FIND(library, _ostdSSStreamQuantiles)(task, 0, method, Team::descriptor()));
    }

private:
    static void check(const char* call, std::int32_t status) {
        if (status != OST_STAT_OK)
            throw std::runtime_error(std::string(call) + " gave the status " + std::to_string(status));
    }

    const Library& library;
    Observations data;
    OstSSTask* task = nullptr;
};
