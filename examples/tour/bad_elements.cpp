// Chapter 2: what becomes of an element that a function can't do, under each error mode; and whose modes these are.
#include "arithmetic.h"
#include "chapters.h"
#include "csv.h"
#include "error_mode.h"
#include "nvo_ark/vector_math.h"
#include "table.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <span>
#include <sstream>
#include <thread>

namespace {

// ---- What a call leaves behind ---------------------------------------------------------------------------------

// Sends standard error into memory for as long as it lives, so that messages can be shown where they belong.
class CapturedStderr {
public:
    CapturedStderr() : saved(dup(STDERR_FILENO)), memory(memfd_create("stderr", 0)) {
        if (saved < 0 || memory < 0 || dup2(memory, STDERR_FILENO) < 0)
            throw std::runtime_error("standard error can't be captured: " + std::string(std::strerror(errno)));
    }
    CapturedStderr(const CapturedStderr&) = delete;
    CapturedStderr& operator=(const CapturedStderr&) = delete;
    ~CapturedStderr() {
        dup2(saved, STDERR_FILENO);
        close(saved);
        close(memory);
    }
    std::string text() const {
        std::string all;
        char piece[512];
        for (ssize_t size; (size = pread(memory, piece, sizeof piece, static_cast<off_t>(all.size()))) > 0;)
            all.append(piece, static_cast<std::size_t>(size));
        return all;
    }

private:
    int saved, memory;
};

// The exception flags of the x87 unit, where an error mode raises them. (The SSE flags are raised by the arithmetic
// itself.)
std::string x87_flag() {
    unsigned short word;
    asm volatile("fnstsw %0" : "=a"(word));
    return word & 1 ? "invalid" : word & 4 ? "zero divide" : "-";
}
void clear_x87_flags() { asm volatile("fnclex"); }

struct Outcome {
    Column y = {};
    int status = 0, error_number = 0;
    std::string x87_flag = {}, message = {};
};

// Everything that one call can leave behind, seen from a clean start.
Outcome outcome_of(const Library& library, ark_fn_U_unit_d* function, const Column& a, std::uint32_t mode,
                   ArkErrorCallBack* callback) {
    const auto clear_status = NVO_FIND(library, _arkClearErrStatus);
    const ErrorMode error_mode(library, mode, callback);
    const CapturedStderr captured;
    Outcome outcome{Column(a.size())};

    clear_status();
    clear_x87_flags();
    errno = 0;
    function(static_cast<std::int32_t>(a.size()), a.data(), outcome.y.data());
    outcome.error_number = errno;
    outcome.x87_flag = x87_flag();
    outcome.status = clear_status();
    outcome.message = captured.text();
    return outcome;
}

// ---- Callbacks -------------------------------------------------------------------------------------------------

thread_local ArkErrorRecord last_report; // as it came

// Puts a zero where the function couldn't give a number, and lets the report go on.
std::int32_t repair(ArkErrorRecord* record) {
    last_report = *record;
    record->res1 = 0;
    return 0;
}

// The same change, but what it returns ends the report: the change is dropped, and nothing else happens.
std::int32_t repair_in_vain(ArkErrorRecord* record) {
    repair(record);
    return 1;
}

// ---- The tables ------------------------------------------------------------------------------------------------

// The change of temperature on three days in a row: up, down, none.
Column three_changes(const Arithmetic& arithmetic, const Records& records) {
    constexpr std::ptrdiff_t day_before = 20; // 21 May
    const double* const temp = records.column("Temp") + day_before * records.width();
    Column today(3), yesterday(3);
    for (std::size_t i = 0; i < 3; ++i) {
        yesterday[i] = temp[static_cast<std::ptrdiff_t>(i) * records.width()];
        today[i] = temp[static_cast<std::ptrdiff_t>(i + 1) * records.width()];
    }
    return arithmetic.times(arithmetic.minus(today, yesterday), 5.0 / 9);
}

std::string errno_text(int number) { return number ? std::to_string(number) + ' ' + strerrorname_np(number) : "0"; }

struct Case {
    const char* error_field;
    std::uint32_t mode;
    const char* callback_text;
    ArkErrorCallBack* callback;
};

constexpr Case all_cases[] = {
    {"NOERR", ARK_ERRMODE_NOERR, "-", nullptr},
    {"IGNORE", ARK_ERRMODE_IGNORE, "-", nullptr},
    {"ERRNO", ARK_ERRMODE_ERRNO, "-", nullptr},
    {"STDERR", ARK_ERRMODE_STDERR, "-", nullptr},
    {"EXCEPT", ARK_ERRMODE_EXCEPT, "-", nullptr},
    {"CALLBACK", ARK_ERRMODE_CALLBACK, "sets 0, returns 0", repair},
    {"CALLBACK", ARK_ERRMODE_CALLBACK, "sets 0, returns 1", repair_in_vain},
    {"DEFAULT", ARK_ERRMODE_DEFAULT, "-", nullptr},
    {"DEFAULT", ARK_ERRMODE_DEFAULT, "sets 0, returns 0", repair},
    {"DEFAULT", ARK_ERRMODE_DEFAULT, "sets 0, returns 1", repair_in_vain},
};

constexpr Case some_cases[] = {
    {"STDERR", ARK_ERRMODE_STDERR, "-", nullptr},
    {"DEFAULT", ARK_ERRMODE_DEFAULT, "-", nullptr},
    {"DEFAULT", ARK_ERRMODE_DEFAULT, "sets 0, returns 0", repair},
};

// One row a case. Returns what the calls wrote to standard error.
std::string show_modes(const Library& library, const Arithmetic& arithmetic, const char* title,
                       ark_fn_U_unit_d* function, const Column& a, std::span<const Case> cases) {
    Table table({{title, "ARK_ERRMODE_", Align::left},
                 {"callback", {}, Align::left},
                 {"y[0]"},
                 {"y[1]"},
                 {"y[2]"},
                 {"status", {}, Align::left},
                 {"errno", {}, Align::left},
                 {"x87 flag", {}, Align::left}});
    std::string messages;
    for (const Case& one : cases) {
        const Outcome outcome = outcome_of(library, function, a, one.mode, one.callback);
        std::vector<std::string> cells{one.error_field, one.callback_text};
        for (const double y : outcome.y) cells.push_back(arithmetic.text(y, 2));
        cells.insert(cells.end(), {status_text(outcome.status), errno_text(outcome.error_number), outcome.x87_flag});
        table.row(cells);
        messages += outcome.message;
    }
    std::cout << table;
    return messages;
}

void show_environment(const Library& library, const Column& a) {
    constexpr const char* variable = "NVO_ARK_MODE";
    const char* const set = std::getenv(variable);
    const std::string before = set ? set : "";

    Table table({{"NVO_ARK_MODE", {}, Align::left}, {"mode word"}, {"slot"}, {"status"}, {"errno", {}, Align::left}});
    for (const char* const value : {"", "ARK_LA,ARK_ERRMODE_IGNORE", "ARK_EP,ARK_ERRMODE_ERRNO", "ARK_ERRMODE_NOERR",
                                    "ARK_HA, ARK_ERRMODE_NOERR"}) {
        setenv(variable, value, 1);
        std::thread([&] {
            const auto mode = NVO_FIND(library, _arkGetMode)();
            const auto slot = NVO_FIND(library, nvo_ark_kernel_GetTTableIndex)();
            const auto square_root = (*NVO_FIND(library, nvo_ark_kernel_dSqrt_ttab))[slot];
            Column y(a.size());
            errno = 0;
            square_root(static_cast<std::int32_t>(a.size()), a.data(), y.data());
            const int number = errno;
            char word[16];
            std::snprintf(word, sizeof word, "0x%04X", mode);
            table.row({*value ? value : "(empty)", word, std::to_string(slot),
                       std::to_string(NVO_FIND(library, _arkGetErrStatus)()), errno_text(number)});
        }).join();
    }
    if (set)
        setenv(variable, before.c_str(), 1);
    else
        unsetenv(variable);

    std::cout << "Mode word, status and callback belong to a thread. A new thread takes its mode word from the\n"
                 "environment at its first call, and the slot of the kernel tables follows from it: 0 for LA,\n"
                 "1 for HA, 2 for EP. Five threads take the same square roots. An empty variable counts as not\n"
                 "set, and so does the last one, which has a blank in it.\n\n"
              << table;
}

} // namespace

void bad_elements(const Tour& tour) {
    heading(std::cout, "2  Elements that go wrong");
    const Library& library = tour.library;
    const Arithmetic arithmetic(library);
    const Column changes = three_changes(arithmetic, csv::read(tour.data / "airquality.csv", air_quality_days));
    const auto text = [&](double value) { return arithmetic.text(value, 2); };
    std::cout << "From 21 to 24 May the temperature changed by " << text(changes[0]) << ", " << text(changes[1])
              << " and " << text(changes[2])
              << " °C. The second change has no\n"
                 "square root, the third no reciprocal. Each gets its IEEE result and the call goes on; the error\n"
                 "field of the thread's mode word says what else happens. DEFAULT is errno, exception flag and\n"
                 "callback together.\n\n";
    std::string messages = show_modes(library, arithmetic, "Sqrt", NVO_FIND(library, _arkdSqrt), changes, all_cases);
    messages += show_modes(library, arithmetic, "Inv", NVO_FIND(library, _arkdInv), changes, some_cases);

    std::cout << "A callback sees the element. The last one saw index " << last_report.index << " of "
              << last_report.funcName << ", argument " << text(last_report.arg1) << ", result "
              << text(last_report.res1)
              << ".\n"
                 "If it returns 0, the result that it leaves is stored and the rest of the mode follows. Anything\n"
                 "else ends the report.\n\n"
                 "What the two calls under STDERR wrote to standard error:\n\n";
    std::istringstream lines(messages);
    for (std::string line; std::getline(lines, line);) std::cout << "    " << line << '\n';
    std::cout << '\n';
    show_environment(library, changes);
}
