#include "bench/parts.h"

#include "bench/race.h"
#include "bench/stream_peers.h"
#include "bench/table.h"
#include "bench/verdicts.h"

#include "nvo_ark/generators.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <stdexcept>

namespace bench {

namespace {

constexpr Effort effort{16, 1e-3};
constexpr Effort few_long_ones{5, 1e-3};

constexpr const char* titles[libraries] = {"plain", "std", "boost", "gsl", "r123", "dsfmt", "numpy"};
constexpr const char* legend[libraries] = {
    "a textbook loop, compiled at -O3 for SSE2",
    "the C++ standard library, engine and std::uniform_real_distribution, at -O3",
    "Boost, engine and uniform_01, at -O3",
    "GSL",
    "Random123, at -O3",
    "dSFMT, whose doubles are another generator's",
    "NumPy's Generator, in a process of its own before the others",
};

// Limits for our time over that of the fastest of the peers in these libraries.
struct Goal {
    const char* generator;
    Numbers numbers;
    double limit;
    std::vector<Library> against;
};
const std::vector<Goal>& goals() {
    using enum Numbers;
    using enum Library;
    static const std::vector<Goal> all = {
        {"MCG31M1", words, 0.50, {standard, boost, gsl}},
        {"R250", words, 0.40, {gsl}},
        {"MRG32K3A", words, 0.80, {plain, gsl}},
        {"MCG59", words, 1.00, {plain}},
        {"WH", doubles, 0.80, {plain}},
        {"SOBOL", words, 0.80, {boost}},
        {"SOBOL", doubles, 0.80, {boost, gsl}},
        {"NIEDERREITER", words, 0.30, {boost}},
        {"NIEDERREITER", doubles, 0.30, {boost, gsl}},
        {"MT19937", words, 0.45, {standard, boost, gsl, numpy}},
        {"MT19937", doubles, 0.50, {standard, boost, gsl, numpy}},
        {"MT2203", words, 0.50, {standard, boost}},
        {"SFMT19937", words, 0.30, {standard, boost, numpy}},
        {"SFMT19937", doubles, 1.00, {dsfmt}},
        {"ARS5", words, 1.10, {random123}},
        {"PHILOX4X32X10", words, 0.70, {random123, numpy}},
    };
    return all;
}

// Milliseconds of a skip.
struct SkipGoal {
    const char* generator;
    std::uint64_t count;
    double limit;
};
constexpr std::uint64_t long_skip = std::uint64_t{1} << 62;
constexpr SkipGoal skip_goals[] = {{"MT19937", long_skip, 30}, {"SFMT19937", long_skip, 300}};

struct Generator {
    std::string name;
    std::uint32_t id;
};
std::vector<Generator> generators() {
    return {
#define GENERATOR(NAME, Entry, state_bytes, seed_words, has_zero, word_bytes, bits, sets) {#NAME, OST_BRNG_##NAME},
#include "nvo_ark/generators.def"
    };
}
const Generator& generator_called(const std::string& name) {
    static const std::vector<Generator> all = generators();
    return *std::find_if(all.begin(), all.end(), [&](const Generator& g) { return g.name == name; });
}

// A stream with one seed word. To a quasi-random generator that's the dimension: ten.
class Stream {
public:
    explicit Stream(std::uint32_t id) {
        const std::uint32_t seed = 10;
        if (__ostNewStreamEx(&stream_, id, 1, &seed) != OST_OK) throw std::runtime_error("a stream can't be created");
        __ostGetBrngProperties(id, &row_);
    }
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;
    ~Stream() { __ostDeleteStream(&stream_); }

    std::int32_t draw(Numbers numbers, void* target) const {
        constexpr int n = numbers_a_call;
        switch (numbers) {
        case Numbers::words: return row_.i_entry(stream_, n, target);
        case Numbers::floats: return row_.s_entry(stream_, n, static_cast<float*>(target), 0, 1);
        default: return row_.d_entry(stream_, n, static_cast<double*>(target), 0, 1);
        }
    }
    std::int32_t skip(std::uint64_t count) const { return __ostSkipAheadStream(stream_, count); }

private:
    OstStream* stream_ = nullptr;
    OstBrng row_{};
};

// Where ours and the peers write.
class Bench {
public:
    Bench() : memory_(numbers_a_call * 16 + 64), peers_(make_stream_peers(target())) {}

    void* target() {
        return reinterpret_cast<void*>((reinterpret_cast<std::uintptr_t>(memory_.data()) + 63) / 64 * 64);
    }
    const std::vector<StreamPeer>& peers() const { return peers_; }
    std::vector<const StreamPeer*> peers_of(const std::string& generator, Numbers numbers) const {
        std::vector<const StreamPeer*> found;
        for (const StreamPeer& peer : peers_)
            if (peer.generator == generator && peer.numbers == numbers) found.push_back(&peer);
        return found;
    }
    Body ours(const Stream& stream, Numbers numbers) {
        return [&stream, numbers, target = target()](benchmark::State& state) {
            for (auto _ : state) {
                stream.draw(numbers, target);
                benchmark::ClobberMemory();
            }
        };
    }

private:
    std::vector<std::byte> memory_;
    std::vector<StreamPeer> peers_;
};

// Ours, and the best times of the peers.
struct Result {
    Timing ours;
    std::vector<double> peers;
};
Result race_with(const Body& ours, const std::vector<const StreamPeer*>& peers) {
    std::vector<Contestant> contestants = {{"ours", ours}};
    for (const StreamPeer* peer : peers)
        if (peer->body) contestants.push_back({titles[static_cast<int>(peer->library)], peer->body});
    const std::vector<Timing> timings = race(contestants, effort);
    Result result{timings.front(), {}};
    std::size_t next = 1;
    for (const StreamPeer* peer : peers)
        result.peers.push_back(peer->body ? timings[next++].best : std::min(peer->measured[0], peer->measured[1]));
    return result;
}

// ---- Numbers
// ----------------------------------------------------------------------------------------------------------

void print_line(Table& table, Bench& bench, const Generator& generator, Numbers numbers) {
    const std::vector<const StreamPeer*> peers = bench.peers_of(generator.name, numbers);
    if (peers.empty()) return;
    const Stream stream(generator.id);
    if (stream.draw(numbers, bench.target()) != OST_OK) return; // the processor lacks its instruction

    const auto [ours, times] = race_with(bench.ours(stream, numbers), peers);
    std::vector<std::string> cells = {generator.name, numbers_names[static_cast<int>(numbers)],
                                      decimal(ours.best / numbers_a_call, 3), decimal(ours.median / numbers_a_call, 3),
                                      decimal(100 * (ours.upper_quartile / ours.best - 1), 0) + "%"};
    std::vector<std::string> ratios(libraries);
    for (std::size_t i = 0; i < peers.size(); ++i)
        ratios[static_cast<std::size_t>(peers[i]->library)] = decimal(ours.best / times[i], 2);
    cells.insert(cells.end(), ratios.begin(), ratios.end());
    table.line(cells);
}

void print_numbers(Bench& bench, const PartRequest& request) {
    std::puts(request.markdown ? "### Numbers\n" : "Numbers:");
    std::vector<Column> columns = {
        {"generator", 13, true}, {"numbers", 7, true}, {"best", 8}, {"median", 8}, {"spread", 6}};
    for (const char* title : titles) columns.push_back({title, 5});
    Table table(request.markdown, columns);
    for (const Generator& generator : generators()) {
        if (!std::regex_search(generator.name, request.pattern)) continue;
        for (const Numbers numbers : {Numbers::words, Numbers::floats, Numbers::doubles})
            print_line(table, bench, generator, numbers);
    }
}

// ---- Skips
// ------------------------------------------------------------------------------------------------------------

Body skipping(const Stream& stream, std::uint64_t count) {
    return [&stream, count](benchmark::State& state) {
        for (auto _ : state) stream.skip(count);
    };
}

void print_skips(const PartRequest& request) {
    struct Skip {
        const char* name;
        std::uint64_t count;
    };
    const auto asked_for = [&](const SkipGoal& goal) { return std::regex_search(goal.generator, request.pattern); };
    if (std::none_of(std::begin(skip_goals), std::end(skip_goals), asked_for)) return;
    constexpr Skip counts[] = {{"10^8", 100000000}, {"2^62", long_skip}};
    std::puts(request.markdown ? "### Skips of the twisters\n" : "Skips of the twisters:");
    Table table(request.markdown,
                {{"generator", 13, true}, {"count", 6}, {"ours, ms", 9}, {"boost, ms", 9}, {"ratio", 6}});
    for (const SkipGoal& goal : skip_goals) {
        if (!asked_for(goal)) continue;
        const Stream stream(generator_called(goal.generator).id);
        for (const Skip& skip : counts) {
            std::vector<Contestant> contestants = {{"ours", skipping(stream, skip.count)}};
            const bool boost_has_it = goal.generator == std::string("MT19937");
            if (boost_has_it) contestants.push_back({"boost", boost_discard(skip.count)});
            const std::vector<Timing> timings = race(contestants, few_long_ones);
            const double ours = timings[0].best / 1e6, theirs = boost_has_it ? timings[1].best / 1e6 : 0;
            table.line({goal.generator, skip.name, decimal(ours, 2), boost_has_it ? decimal(theirs, 1) : "",
                        boost_has_it ? decimal(ours / theirs, 3) : ""});
        }
    }
}

// ---- Goals
// ------------------------------------------------------------------------------------------------------------

// Against the fastest of the peers that the goal names, which a first race finds.
void judge(Verdicts& verdicts, Bench& bench, const Goal& goal) {
    const Stream stream(generator_called(goal.generator).id);
    if (stream.draw(goal.numbers, bench.target()) != OST_OK) return;
    const std::vector<const StreamPeer*> all = bench.peers_of(goal.generator, goal.numbers);
    const Body ours = bench.ours(stream, goal.numbers);
    const std::vector<double> times = race_with(ours, all).peers;
    const StreamPeer* fastest = nullptr;
    double best = 0;
    for (std::size_t i = 0; i < all.size(); ++i) {
        if (std::find(goal.against.begin(), goal.against.end(), all[i]->library) == goal.against.end()) continue;
        if (fastest != nullptr && times[i] >= best) continue;
        fastest = all[i];
        best = times[i];
    }
    if (fastest == nullptr) return;
    const std::string row = goal.generator + std::string(" ") + numbers_names[static_cast<int>(goal.numbers)];
    if (fastest->body) {
        verdicts.judge_ratio(fastest->what, row, ours, fastest->body, goal.limit);
    } else {
        const double time = race({{"ours", ours}}, careful)[0].best;
        const double noise = std::abs(fastest->measured[0] - fastest->measured[1]) / best;
        verdicts.judge(fastest->what, row, time, best, time / best, goal.limit, noise, "");
    }
}

void print_goals(Bench& bench, const PartRequest& request) {
    std::puts(request.markdown ? "### Goals of streams\n" : "Goals of streams:");
    std::string summary;
    {
        Verdicts verdicts(request.markdown);
        for (const Goal& goal : goals()) judge(verdicts, bench, goal);
        for (const SkipGoal& goal : skip_goals) {
            const Stream stream(generator_called(goal.generator).id);
            const Body skip = skipping(stream, goal.count);
            const auto t = race({{"ours", skip}, {"ours again", skip}}, few_long_ones);
            const double best = std::min(t[0].best, t[1].best);
            verdicts.judge("skip by 2^62", goal.generator, best, 0, best / 1e6, goal.limit,
                           std::abs(t[0].best - t[1].best) / 1e6, " ms");
        }
        summary = verdicts.summary();
    }
    std::puts(summary.c_str());
}

// ---- The section
// ------------------------------------------------------------------------------------------------------

void print_peers(const Bench& bench, const PartRequest& request) {
    std::puts(request.markdown ? "### Peers\n" : "Peers of streams:");
    Table table(request.markdown, {{"generator", 13, true}, {"numbers", 7, true}, {"peer", 72, true}, {"", 5, true}});
    for (const StreamPeer& peer : bench.peers()) {
        table.line(
            {peer.generator, numbers_names[static_cast<int>(peer.numbers)], peer.what, peer.alike ? "alike" : ""});
    }
}

} // namespace

void print_streams(const PartRequest& request) {
    Bench bench;
    if (request.peers) return print_peers(bench, request);
    std::puts(request.markdown ? "## Streams\n" : "Streams:\n");
    std::printf(
        "Nanoseconds a number in calls for %d, and our best time as a ratio of the peer's best, for %s.\n"
        "SOBOL and NIEDERREITER have ten dimensions, MT2203 and WH run set 0; a word of WH is four of 32 bits.\n\n",
        numbers_a_call, stream_library_versions().c_str());
    for (int library = 0; library < libraries; ++library)
        std::printf("%s%s: %s\n", request.markdown ? "- " : "  ", titles[library], legend[library]);
    const char* list = "./run bench streams --peers";
    std::printf(request.markdown ? "\n`%s` lists the peers, and which are another generator than ours.\n\n"
                                 : "\n%s lists the peers, and which are another generator than ours.\n\n",
                list);
    if (!request.goals) {
        print_numbers(bench, request);
        print_skips(request);
    }
    if (request.goals || request.all) print_goals(bench, request);
}

} // namespace bench
