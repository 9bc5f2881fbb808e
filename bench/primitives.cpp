#include "bench/parts.h"

#include "bench/primitive_peers.h"
#include "bench/race.h"
#include "bench/table.h"
#include "bench/verdicts.h"

#include "nvo_ark/primitives.h"

#include <algorithm>
#include <array>
#include <cpuid.h>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <functional>
#include <memory>
#include <random>
#include <type_traits>

namespace bench {

namespace {

constexpr Effort effort{8, 1e-3};

std::string spread_of(const Timing& timing) {
    return decimal(100 * (timing.upper_quartile / timing.best - 1), 0) + "%";
}

// ---- Sorts
// ----------------------------------------------------------------------------------------------------------

constexpr const char* sorter_names[sorters] = {"std::sort", "Boost's spreadsort", "Boost's pdqsort"};
constexpr std::size_t million = 1000000;
constexpr std::size_t key_counts[] = {1000, 30000, million};

// Arrays that are sorted one after the other while the clock runs: of short ones so many that stopping it for fresh
// keys doesn't count.
std::size_t arrays_of(std::size_t n) { return 1 + 100000 / n; }

// Ours for random keys of one type, and the peers.
struct SortRace {
    Body ours;
    std::array<Body, sorters> peers;
};
struct SortedType {
    std::string name;
    std::function<SortRace(std::size_t n)> race;
};

// Integers have random bits, floating-point numbers are normally distributed.
template <class T> std::vector<T> random_keys(std::size_t n) {
    std::mt19937_64 words(n);
    std::normal_distribution<double> normal;
    std::vector<T> keys(n);
    for (T& key : keys) key = std::is_floating_point_v<T> ? static_cast<T>(normal(words)) : static_cast<T>(words());
    return keys;
}

template <class T, class Sort> Body timed(std::size_t n, Sort sort) {
    return [n, sort](benchmark::State& state) {
        const std::vector<T> keys = random_keys<T>(n * arrays_of(n));
        std::vector<T> work(keys.size());
        for (auto _ : state) {
            state.PauseTiming();
            std::copy(keys.begin(), keys.end(), work.begin());
            state.ResumeTiming();
            for (std::size_t i = 0; i < work.size(); i += n) sort(work.data() + i);
        }
    };
}

template <class T> SortRace sort_race(std::int32_t (*sort)(T*, T*, std::int32_t), std::size_t n) {
    const auto buffer = std::make_shared<std::vector<T>>(n);
    SortRace race{timed<T>(n, [=](T* keys) { sort(keys, buffer->data(), static_cast<std::int32_t>(n)); }), {}};
    for (int i = 0; i < sorters; ++i)
        race.peers[i] = timed<T>(n, [=](T* keys) { sort_with(static_cast<Sorter>(i), keys, n); });
    return race;
}

const std::vector<SortedType>& sorted_types() {
    static const std::vector<SortedType> all = {
#define NVO_SORTED(type, element) \
    {"sort " #type, [](std::size_t n) { return sort_race<element>(nvo_dft_def_tyrsSortRadixAscend_##type##_I, n); }},
        NVO_DFT_SORTED_TYPES(NVO_SORTED)
#undef NVO_SORTED
    };
    return all;
}

std::vector<Timing> times_of(const SortRace& sorts, const Effort& how) {
    std::vector<Contestant> contestants = {{"ours", sorts.ours}};
    for (int i = 0; i < sorters; ++i) contestants.push_back({sorter_names[i], sorts.peers[i]});
    return race(contestants, how);
}

void print_sorts(const PartRequest& request) {
    std::puts(request.markdown ? "### Sorts\n" : "Sorts, nanoseconds a key:");
    std::vector<Column> columns = {{"sort", 9, true}, {"n", 7}, {"best", 8}, {"median", 8}, {"spread", 6}};
    for (const char* name : sorter_names) columns.push_back({name, 18});
    Table table(request.markdown, columns);
    for (const SortedType& type : sorted_types()) {
        if (!std::regex_search(type.name, request.pattern)) continue;
        for (const std::size_t n : key_counts) {
            const std::vector<Timing> times = times_of(type.race(n), effort);
            const auto keys = static_cast<double>(n * arrays_of(n));
            std::vector<std::string> cells = {type.name, std::to_string(n), decimal(times[0].best / keys, 3),
                                              decimal(times[0].median / keys, 3), spread_of(times[0])};
            for (int i = 0; i < sorters; ++i) cells.push_back(decimal(times[0].best / times[i + 1].best, 2));
            table.line(cells);
        }
    }
}

// ---- Copy, set, zero
// --------------------------------------------------------------------------------------------------

constexpr std::size_t KiB = 1024, MiB = 1024 * KiB;

// Two blocks that start on a cache line, and at different places in their pages.
class Blocks {
public:
    explicit Blocks(std::size_t bytes) : memory_(new (std::align_val_t{4096}) std::byte[2 * bytes + 8192]) {
        std::memset(memory_.get(), 1, 2 * bytes + 8192);
        source_ = memory_.get();
        target_ = memory_.get() + (bytes + 4095) / 4096 * 4096 + 256;
    }
    const std::byte* source() const { return source_; }
    std::byte* target() const { return target_; }

private:
    struct Free {
        void operator()(std::byte* p) const { ::operator delete[](p, std::align_val_t{4096}); }
    };
    std::unique_ptr<std::byte[], Free> memory_;
    std::byte *source_, *target_;
};

// From the source to the target, so many bytes.
using Move = std::function<void(const std::byte*, std::byte*, std::size_t)>;
struct Traffic {
    std::string name, peer;
    Move ours, theirs;
};

// The C library's functions behind pointers, so that no call is turned into anything else.
void* (*volatile libc_memcpy)(void*, const void*, std::size_t) = std::memcpy;
void* (*volatile libc_memset)(void*, int, std::size_t) = std::memset;
wchar_t* (*volatile libc_wmemset)(wchar_t*, wchar_t, std::size_t) = std::wmemset;

// Elements of a value whose bytes differ; theirs(value, target, n).
template <class T, class Theirs>
Traffic setting(const char* name, const char* peer, std::int32_t (*set)(T, T*, std::int32_t), Theirs theirs) {
    T value;
    std::array<std::byte, sizeof value> bytes;
    for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<std::byte>(7 + i);
    std::memcpy(&value, bytes.data(), sizeof value);
    return {name, peer,
            [=](const std::byte*, std::byte* to, std::size_t n) {
                set(value, reinterpret_cast<T*>(to), static_cast<std::int32_t>(n / sizeof value));
            },
            [=](const std::byte*, std::byte* to, std::size_t n) {
                theirs(value, reinterpret_cast<T*>(to), n / sizeof value);
            }};
}

const std::vector<Traffic>& traffics() {
    constexpr const char* loop = "std::fill_n at -O3";
    const auto fill = [](const auto& value, auto* to, std::size_t n) { fill_with(value, to, n); };
    static const std::vector<Traffic> all = {
        {"copy", "memcpy",
         [](const std::byte* from, std::byte* to, std::size_t n) {
             nvo_dft_def_tyrsCopy_8u(reinterpret_cast<const std::uint8_t*>(from), reinterpret_cast<std::uint8_t*>(to),
                                     static_cast<std::int32_t>(n));
         },
         [](const std::byte* from, std::byte* to, std::size_t n) { libc_memcpy(to, from, n); }},
        {"zero", "memset",
         [](const std::byte*, std::byte* to, std::size_t n) {
             nvo_dft_def_tyrsZero_8u(reinterpret_cast<std::uint8_t*>(to), static_cast<std::int32_t>(n));
         },
         [](const std::byte*, std::byte* to, std::size_t n) { libc_memset(to, 0, n); }},
        setting("set 8u", "memset", nvo_dft_def_tyrsSet_8u,
                [](std::uint8_t value, std::uint8_t* to, std::size_t n) { libc_memset(to, value, n); }),
        setting("set 32s", "wmemset", nvo_dft_def_tyrsSet_32s,
                [](std::int32_t value, std::int32_t* to, std::size_t n) {
                    static_assert(sizeof(wchar_t) == sizeof value);
                    libc_wmemset(reinterpret_cast<wchar_t*>(to), value, n);
                }),
        setting("set 64s", loop, nvo_dft_def_tyrsSet_64s, fill),
        setting("set 64sc", loop, nvo_dft_def_tyrsSet_64sc, fill),
    };
    return all;
}

Body moving(const Move& move, const Blocks& blocks, std::size_t bytes) {
    return [&, bytes](benchmark::State& state) {
        for (auto _ : state) {
            move(blocks.source(), blocks.target(), bytes);
            benchmark::ClobberMemory();
        }
    };
}

std::string size_name(std::size_t bytes) {
    return bytes >= MiB ? std::to_string(bytes / MiB) + " MiB" : std::to_string(bytes / KiB) + " KiB";
}

void print_traffics(const PartRequest& request) {
    std::puts(request.markdown ? "### Copy, set, zero\n" : "Copy, set, zero, nanoseconds a call:");
    Table table(request.markdown, {{"operation", 9, true},
                                   {"bytes", 8},
                                   {"best", 11},
                                   {"median", 11},
                                   {"spread", 6},
                                   {"against", 18, true},
                                   {"ratio", 6}});
    for (const Traffic& traffic : traffics()) {
        if (!std::regex_search(traffic.name, request.pattern)) continue;
        for (const std::size_t bytes : {KiB, 8 * KiB, 64 * KiB, 256 * KiB, 512 * KiB, MiB, 64 * MiB}) {
            const Blocks blocks(bytes);
            const std::vector<Timing> times =
                race({{"ours", moving(traffic.ours, blocks, bytes)}, {"theirs", moving(traffic.theirs, blocks, bytes)}},
                     effort);
            table.line({traffic.name, size_name(bytes), decimal(times[0].best, 1), decimal(times[0].median, 1),
                        spread_of(times[0]), traffic.peer, decimal(times[0].best / times[1].best, 2)});
        }
    }
}

// ---- Goals
// ----------------------------------------------------------------------------------------------------------

// For 10^6 keys, against the fastest of the peers, which a first race finds.
struct SortGoal {
    const char* sort;
    double limit;
};
constexpr SortGoal sort_goals[] = {{"sort 32f", 0.5}, {"sort 32s", 0.5}, {"sort 64f", 0.95}};

struct TrafficGoal {
    const char* operation;
    std::size_t bytes;
    double limit;
};
constexpr TrafficGoal traffic_goals[] = {
    {"copy", 64 * KiB, 1.3},    {"copy", 256 * KiB, 1.3}, {"copy", MiB, 1.3}, {"copy", 64 * MiB, 1.15},
    {"zero", 64 * KiB, 1.3},    {"zero", 256 * KiB, 1.3}, {"zero", MiB, 1.3}, {"set 8u", 64 * KiB, 1.3},
    {"set 8u", 256 * KiB, 1.3}, {"set 8u", MiB, 1.3}};

template <class All> const auto& called(const All& all, const std::string& name) {
    return *std::find_if(all.begin(), all.end(), [&](const auto& one) { return one.name == name; });
}

void print_goals(const PartRequest& request) {
    std::puts(request.markdown ? "### Goals of primitives\n" : "Goals of primitives:");
    std::string summary;
    {
        Verdicts verdicts(request.markdown);
        for (const SortGoal& goal : sort_goals) {
            const SortRace sorts = called(sorted_types(), goal.sort).race(million);
            const std::vector<Timing> times = times_of(sorts, {3, 1e-3});
            const auto fastest = std::min_element(times.begin() + 1, times.end(),
                                                  [](const Timing& a, const Timing& b) { return a.best < b.best; }) -
                                 times.begin() - 1;
            verdicts.judge_ratio(sorter_names[fastest], goal.sort, sorts.ours, sorts.peers[fastest], goal.limit);
        }
        for (const TrafficGoal& goal : traffic_goals) {
            const Traffic& traffic = called(traffics(), goal.operation);
            const Blocks blocks(goal.bytes);
            verdicts.judge_ratio(traffic.peer, traffic.name + ", " + size_name(goal.bytes),
                                 moving(traffic.ours, blocks, goal.bytes), moving(traffic.theirs, blocks, goal.bytes),
                                 goal.limit);
        }
        summary = verdicts.summary();
    }
    std::puts(summary.c_str());
}

// ---- The section
// ----------------------------------------------------------------------------------------------------

// Nanoseconds of a question that every copy from 512 KiB on asks, and every set and zero above.
double time_of_cpuid() {
    const Body body = [](benchmark::State& state) {
        for (auto _ : state) {
            unsigned a, b, c, d;
            __cpuid(0, a, b, c, d);
            benchmark::DoNotOptimize(b);
        }
    };
    return race({{"cpuid", body}}, effort)[0].best;
}

} // namespace

void print_primitives(const PartRequest& request) {
    if (request.peers) {
        std::printf("Peers of primitives: for sorts %s, %s and %s of %s, at -O3; the C library's memcpy, memset and "
                    "wmemset;\nstd::fill_n at -O3.\n\n",
                    sorter_names[0], sorter_names[1], sorter_names[2], sort_library_versions().c_str());
        return;
    }
    std::puts(request.markdown ? "## Primitives\n" : "Primitives:\n");
    std::printf(
        "Radix sorts of random keys in place, ascending; copy, set and zero of blocks, which other calls of the "
        "same race\nleave in the cache if they fit. Our best time, and that as a ratio of the peer's best, for "
        "%s. From 512 KiB on a\ncall asks the processor for its cache by CPUID, of which one takes %.0f ns here "
        "(many in a virtual machine).\n\n",
        sort_library_versions().c_str(), time_of_cpuid());
    if (!request.goals) {
        print_sorts(request);
        print_traffics(request);
    }
    if (request.goals || request.all) print_goals(request);
}

} // namespace bench
