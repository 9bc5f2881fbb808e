#include "tools/accuracy/measure.h"

#include "nvo_ark/vector_math.h"
#include "tools/accuracy/screen.h"

#include <atomic>
#include <exception>
#include <stdexcept>
#include <thread>

namespace nvo::accuracy {

namespace {

constexpr std::int32_t batch_size = Samples<float>::run_length; // so that a batch has one second argument of class X
static_assert(batch_size % screen_size == 0);

// Errors are only kept as a status: what kernels compute doesn't depend on it, and reports take less time.
class QuietMode {
public:
    QuietMode() : saved_(nvo_ark_kernel_SetMode(ARK_ERRMODE_IGNORE | ARK_DENORMALS_KEEP)) {}
    ~QuietMode() { nvo_ark_kernel_SetMode(saved_); }
    QuietMode(const QuietMode&) = delete;
    QuietMode& operator=(const QuietMode&) = delete;

private:
    std::uint32_t saved_;
};

// What one thread needs to work through batches of arguments.
template <class T> class Meter {
public:
    // The reference's own error is looked at in one of check_every arguments.
    Meter(const Task<T>& task, std::vector<Subject<T>>& subjects, std::uint64_t check_every)
        : task_(task), subjects_(subjects), check_every_(check_every) {
        for (Subject<T>& subject : subjects_) {
            subject.tallies.assign(subject.parts.size() + 1, {});
            results_.emplace_back();
            for (auto& y : results_.back()) y.resize(batch_size);
        }
        wide_.resize(batch_size);
        errors_.resize(screen_size);
    }

    // n arguments from place on, at most a batch.
    void run(const Arguments<T>& in, std::int32_t n, std::uint64_t place) {
        {
            const InDirection direction(task_.direction);
            for (std::size_t s = 0; s < subjects_.size(); ++s)
                subjects_[s].function(n, in, {results_[s][0].data(), results_[s][1].data()});
        }
        if (task_.watch) watched_.assign(static_cast<std::size_t>(n), -1.0);
        for (std::size_t r = 0; r < task_.references.size(); ++r) compare(static_cast<int>(r), in, n, place);
        for (Subject<T>& subject : subjects_) count_samples(subject, in, n);
        if (task_.watch)
            for (std::int32_t i = 0; i < n; ++i)
                if (watched_[static_cast<std::size_t>(i)] >= 0)
                    task_.watch(in[0][i], watched_[static_cast<std::size_t>(i)]);
    }

private:
    const Task<T>& task_;
    std::vector<Subject<T>>& subjects_;
    const std::uint64_t check_every_;
    std::vector<std::array<std::vector<T>, 2>> results_; // of each subject
    std::vector<Wide<T>> wide_;                          // the fast reference
    std::vector<Wide<T>> errors_;                        // of what is screened just now
    std::vector<double> watched_;
    Judge judge_;

    static std::size_t part_of(const Subject<T>& subject, T a) {
        for (std::size_t k = 0; k < subject.parts.size(); ++k)
            if (subject.parts[k].contains(a)) return k + 1;
        return 0;
    }
    static void count_samples(Subject<T>& subject, const Arguments<T>& in, std::int32_t n) {
        if (subject.parts.empty()) {
            subject.tallies[0].samples += static_cast<std::uint64_t>(n);
            return;
        }
        for (std::int32_t i = 0; i < n; ++i) ++subject.tallies[part_of(subject, in[0][i])].samples;
    }

    const tools::Mp& exact(const Reference& reference, const Arguments<T>& in, std::int32_t i) {
        return judge_.exact(reference, in[0][i], reference.arguments == 2 ? in[1][i] : T(0), task_.expected);
    }

    void compare(int r, const Arguments<T>& in, std::int32_t n, std::uint64_t place) {
        const Reference& reference = task_.references[static_cast<std::size_t>(r)];
        Fast<T>* const fast = reference.fast<T>();
        if (fast == nullptr) return judge_all(r, in, n, place);
        {
            const InDirection direction(task_.expected);
            fast(n, in, wide_.data());
        }
        check(reference, in, n, place);
        // How far screening may be off, in ulp of T: the reference's error, and what rounding adds to it.
        const double slack = reference.tolerance *
                             std::ldexp(1.001, std::numeric_limits<T>::digits - std::numeric_limits<Wide<T>>::digits);
        for (std::size_t s = 0; s < subjects_.size(); ++s) {
            for (std::int32_t i = 0; i < n; i += screen_size)
                compare_few(s, r, in, i, std::min(n, i + screen_size), place, slack);
        }
    }

    // Results from first to before end. What lies behind the end is left from earlier batches, and does no harm.
    void compare_few(std::size_t s, int r, const Arguments<T>& in, std::int32_t first, std::int32_t end,
                     std::uint64_t place, double slack) {
        const Reference& reference = task_.references[static_cast<std::size_t>(r)];
        Subject<T>& subject = subjects_[s];
        const T* y = results_[s][static_cast<std::size_t>(r)].data();
        const double limit = subject.tallies[0].worst.error - slack;
        const Screened screened = screen(y + first, wide_.data() + first, errors_.data(), limit, slack);
        if (screened.all_fine && subject.parts.empty() && end - first == screen_size && !task_.watch) {
            subject.tallies[0].numbers += screen_size;
            subject.tallies[0].sum += screened.sum;
            return;
        }
        for (std::int32_t i = first; i < end; ++i) {
            Tally& tally = subject.tallies[part_of(subject, in[0][i])];
            auto error = static_cast<double>(errors_[static_cast<std::size_t>(i - first)]);
            // Whether it's a new record or the nearest number isn't for the screening to say.
            if (!(error <= tally.worst.error - slack) || std::fabs(error - 0.5) <= slack) [[unlikely]] {
                if (kinds_agree(y[i], wide_[static_cast<std::size_t>(i)])) continue;
                error = settle(tally, exact(reference, in, i), in, i, r, y[i], place);
            }
            if (s == 0 && task_.watch) note(i, error);
            count(tally, error);
        }
    }

    void judge_all(int r, const Arguments<T>& in, std::int32_t n, std::uint64_t place) {
        const Reference& reference = task_.references[static_cast<std::size_t>(r)];
        for (std::int32_t i = 0; i < n; ++i) {
            const tools::Mp& right = exact(reference, in, i);
            for (std::size_t s = 0; s < subjects_.size(); ++s) {
                Subject<T>& subject = subjects_[s];
                Tally& tally = subject.tallies[part_of(subject, in[0][i])];
                const T y = results_[s][static_cast<std::size_t>(r)][static_cast<std::size_t>(i)];
                const double error = settle(tally, right, in, i, r, y, place);
                if (s == 0 && task_.watch) note(i, error);
                if (mpfr_number_p(right.get()) != 0) count(tally, error);
            }
        }
    }

    // Where the answer is no finite number, and the result is the same.
    static bool kinds_agree(T y, Wide<T> wide) {
        if (std::isnan(wide)) return std::isnan(y);
        constexpr Wide<T> surely = overflow_from<T>() * (1 + Wide<T>(0x1p-10));
        return std::isinf(y) && std::signbit(y) == std::signbit(wide) && std::fabs(wide) >= surely;
    }

    double settle(Tally& tally, const tools::Mp& right, const Arguments<T>& in, std::int32_t i, int r, T y,
                  std::uint64_t place) {
        const double error = ulp_error(y, right);
        if (error > tally.worst.error) {
            tally.worst = {error,
                           static_cast<double>(in[0][i]),
                           task_.references[0].arguments == 2 ? in[1][i] : 0.0,
                           r,
                           y,
                           nearest<T>(right),
                           place + static_cast<std::uint64_t>(i)};
        }
        return error;
    }
    static void count(Tally& tally, double error) {
        ++tally.numbers;
        if (std::isfinite(error)) tally.sum += error;
    }
    void note(std::int32_t i, double error) {
        double& watched = watched_[static_cast<std::size_t>(i)];
        watched = std::max(watched, error);
    }

    void check(const Reference& reference, const Arguments<T>& in, std::int32_t n, std::uint64_t place) {
        const auto first = static_cast<std::int32_t>((check_every_ - place % check_every_) % check_every_);
        for (std::int32_t i = first; i < n; i += static_cast<std::int32_t>(check_every_)) {
            const double error = ulp_error(wide_[static_cast<std::size_t>(i)], exact(reference, in, i));
            if (error <= reference.tolerance) continue;
            char text[160];
            std::snprintf(
                text, sizeof text, "the fast reference is off by %g ulp of its format at %a %a, its tolerance is %g",
                error, static_cast<double>(in[0][i]), reference.arguments == 2 ? in[1][i] : 0.0, reference.tolerance);
            throw std::runtime_error(text);
        }
    }
};

} // namespace

void Tally::add(const Tally& other) {
    samples += other.samples;
    numbers += other.numbers;
    sum += other.sum;
    if (other.worst.error > worst.error || (other.worst.error == worst.error && other.worst.place < worst.place))
        worst = other.worst;
}

template <class T> void measure(const Task<T>& task, const Samples<T>& samples, std::vector<Subject<T>>& subjects) {
    const QuietMode mode;
    Meter<T> meter(task, subjects, 61);
    const bool two = !samples.values[1].empty();
    for (std::size_t i = 0; i < samples.size(); i += batch_size) {
        const auto n = static_cast<std::int32_t>(std::min<std::size_t>(batch_size, samples.size() - i));
        meter.run({samples.values[0].data() + i, two ? samples.values[1].data() + i : nullptr}, n, i);
    }
}

void measure_all_floats(const Task<float>& task, std::vector<Subject<float>>& subjects) {
    constexpr std::uint64_t patterns = std::uint64_t{1} << 32;
    constexpr std::uint64_t block = std::uint64_t{1} << 16;
    // Blocks are scattered, so that large errors are met early: what is well below them needs no MPFR.
    constexpr std::uint64_t scatter = 40503; // odd
    std::atomic<std::uint64_t> next = 0;
    const unsigned count = std::max(1U, std::thread::hardware_concurrency());
    std::vector<std::vector<Subject<float>>> shares(count, subjects);
    std::vector<std::exception_ptr> failures(count);
    const auto work = [&](unsigned who) {
        try {
            const QuietMode mode;
            Meter<float> meter(task, shares[who], 4093);
            std::vector<float> a(batch_size);
            for (std::uint64_t turn; (turn = next.fetch_add(1)) < patterns / block;) {
                const std::uint64_t first = turn * scatter % (patterns / block) * block;
                for (std::uint64_t place = first; place < first + block; place += batch_size) {
                    for (std::uint32_t i = 0; i < batch_size; ++i)
                        a[i] = std::bit_cast<float>(static_cast<std::uint32_t>(place) + i);
                    meter.run({a.data(), nullptr}, batch_size, place);
                }
            }
        } catch (...) {
            failures[who] = std::current_exception();
        }
    };
    std::vector<std::thread> threads;
    for (unsigned who = 0; who < count; ++who) threads.emplace_back(work, who);
    for (std::thread& thread : threads) thread.join();
    for (const auto& failure : failures)
        if (failure) std::rethrow_exception(failure);
    for (std::size_t s = 0; s < subjects.size(); ++s) {
        subjects[s].tallies.assign(subjects[s].parts.size() + 1, {});
        for (const auto& share : shares)
            for (std::size_t k = 0; k < subjects[s].tallies.size(); ++k)
                subjects[s].tallies[k].add(share[s].tallies[k]);
    }
}

template <class T> std::vector<Case> try_out(const Task<T>& task, const VectorFunction<T>& function, T a, T b) {
    const QuietMode mode;
    std::array<T, 2> y{};
    {
        const InDirection direction(task.direction);
        function(1, {&a, &b}, {y.data(), y.data() + 1});
    }
    Judge judge;
    std::vector<Case> cases;
    for (std::size_t r = 0; r < task.references.size(); ++r) {
        const tools::Mp& right = judge.exact(task.references[r], a, b, task.expected);
        cases.push_back({ulp_error(y[r], right), a, b, static_cast<int>(r), y[r], nearest<T>(right), 0});
    }
    return cases;
}

template void measure(const Task<float>&, const Samples<float>&, std::vector<Subject<float>>&);
template void measure(const Task<double>&, const Samples<double>&, std::vector<Subject<double>>&);
template std::vector<Case> try_out(const Task<float>&, const VectorFunction<float>&, float, float);
template std::vector<Case> try_out(const Task<double>&, const VectorFunction<double>&, double, double);

} // namespace nvo::accuracy
