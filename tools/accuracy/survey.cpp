#include "tools/accuracy/survey.h"

#include <cstdio>
#include <stdexcept>

namespace nvo::accuracy {

namespace {

bool measurable(const Kernel& kernel) {
    return kernel.can_be_called() && !references_of(kernel.row.op).empty() &&
           bounds_of(kernel.name, kernel.unit_name).known;
}

bool is_exact(const Kernel& kernel) { return bounds_of(kernel.name, kernel.unit_name).ulp == 0; }

template <class T> Subject<T> subject_of(const VectorFunction<T>& function, const Bounds& bounds) {
    Subject<T> subject{function, {}, {}};
    for (const NamedBound& part : bounds.named) subject.parts.push_back(part.interval);
    return subject;
}

// The kernels of one group: the same operation on the same type.
template <class T> class Group {
public:
    Group(std::vector<const Kernel*> kernels, const SurveyOptions& options)
        : kernels_(std::move(kernels)), options_(options) {
        all_floats_ = options.all_floats && std::is_same_v<T, float> && kernels_[0]->arguments() == 1;
        if (!all_floats_ || std::any_of(kernels_.begin(), kernels_.end(), [](auto k) { return is_exact(*k); }))
            samples_ = make_samples<T>(plan_of(*kernels_[0], options.density));
    }

    std::vector<Finding> measured() {
        std::vector<Finding> findings = to_nearest();
        for (const Direction direction : directions) {
            if (direction == Direction::nearest) continue;
            for (const Kernel* kernel : kernels_)
                if (is_exact(*kernel)) in_direction(*kernel, direction, findings);
        }
        return findings;
    }

private:
    std::vector<const Kernel*> kernels_;
    const SurveyOptions& options_;
    bool all_floats_;
    Samples<T> samples_;

    std::vector<Peer<T>> peers() const {
        if constexpr (std::is_same_v<T, float>) {
            if (options_.peers.floats) return options_.peers.floats(kernels_[0]->row.op);
        } else {
            if (options_.peers.doubles) return options_.peers.doubles(kernels_[0]->row.op);
        }
        return {};
    }

    std::vector<Finding> to_nearest() {
        std::vector<Subject<T>> subjects;
        for (const Kernel* kernel : kernels_)
            subjects.push_back(subject_of(vector_function<T>(*kernel), bounds_of(kernel->name, kernel->unit_name)));
        // Peers are counted in the parts of the unit-stride row.
        const std::vector<Peer<T>> others = peers();
        const Bounds unit_bounds = bounds_of(kernels_[0]->unit_name, kernels_[0]->unit_name);
        for (const Peer<T>& peer : others) subjects.push_back(subject_of(peer.function, unit_bounds));

        const Task<T> task = task_of<T>(*kernels_[0], Direction::nearest);
        if constexpr (std::is_same_v<T, float>) {
            if (all_floats_) {
                measure_all_floats(task, subjects);
            } else {
                measure(task, samples_, subjects);
            }
        } else {
            measure(task, samples_, subjects);
        }

        std::vector<Finding> findings;
        for (std::size_t k = 0; k < kernels_.size(); ++k) {
            const std::size_t first = findings.size();
            add(*kernels_[k], subjects[k], Direction::nearest, all_floats_, findings);
            for (std::size_t i = first; i < findings.size(); ++i) {
                findings[i].peers.resize(options_.peers.columns);
                for (std::size_t p = 0; p < others.size(); ++p) {
                    const auto& tallies = subjects[kernels_.size() + p].tallies;
                    if (i - first < tallies.size()) findings[i].peers[others[p].column] = tallies[i - first];
                }
            }
        }
        return findings;
    }

    void in_direction(const Kernel& kernel, Direction direction, std::vector<Finding>& findings) {
        std::vector<Subject<T>> subject = {
            subject_of(vector_function<T>(kernel), bounds_of(kernel.name, kernel.unit_name))};
        measure(task_of<T>(kernel, direction), samples_, subject);
        add(kernel, subject[0], direction, false, findings);
    }

    static void add(const Kernel& kernel, const Subject<T>& subject, Direction direction, bool all_floats,
                    std::vector<Finding>& findings) {
        const Bounds bounds = bounds_of(kernel.name, kernel.unit_name);
        findings.push_back({&kernel, "", bounds.ulp, direction, all_floats, subject.tallies[0], {}});
        for (std::size_t k = 0; k < bounds.named.size(); ++k)
            findings.push_back({&kernel,
                                bounds.named[k].name,
                                bounds.named[k].ulp,
                                direction,
                                all_floats,
                                subject.tallies[k + 1],
                                {}});
    }
};

} // namespace

const char* name_of(Direction direction) {
    switch (direction) {
    case Direction::down: return "down";
    case Direction::up: return "up";
    case Direction::to_zero: return "zero";
    default: return "nearest";
    }
}

std::string hex(double x) {
    if (std::isnan(x)) return "nan";
    char text[32];
    std::snprintf(text, sizeof text, "%a", x);
    return text;
}

std::string arguments_of(const Finding& finding) {
    const Case& worst = finding.tally.worst;
    std::string text = hex(worst.a);
    if (finding.kernel->arguments() == 2) text.append(" ").append(hex(worst.b));
    return text;
}

std::vector<std::string> gaps(const std::vector<Kernel>& kernels) {
    std::vector<std::string> found;
    for (const Kernel& kernel : kernels) {
        if (!kernel.can_be_called()) {
            found.push_back(kernel.name + " is written, but the meter can't call its class (tools/accuracy/rows.cpp)");
        } else if (references_of(kernel.row.op).size() != static_cast<std::size_t>(kernel.results())) {
            found.push_back(kernel.name + " is written, but has no reference (tools/accuracy/references.def)");
        } else if (!bounds_of(kernel.name, kernel.unit_name).known) {
            found.push_back(kernel.name + " is written, but has no bound (kernels/*/*.accuracy.def)");
        }
    }
    return found;
}

template <class T> Task<T> task_of(const Kernel& kernel, Direction direction) {
    Task<T> task;
    task.references = references_of(kernel.row.op);
    task.direction = direction;
    task.expected = !kernel.row.strided && is_directed(kernel.row.op) ? direction : Direction::nearest;
    return task;
}

SamplePlan plan_of(const Kernel& kernel, double density) {
    return {kernel.arguments(), kernel.row.cls == ArgClass::X, intervals_of(kernel.unit_name),
            hard_cases_of(kernel.unit_name), density};
}

void survey(const std::vector<Kernel>& kernels, const SurveyOptions& options,
            const std::function<void(const std::vector<Finding>&)>& found) {
    std::vector<bool> done(kernels.size());
    for (std::size_t i = 0; i < kernels.size(); ++i) {
        std::vector<const Kernel*> group;
        for (std::size_t k = i; k < kernels.size(); ++k) {
            const bool same =
                kernels[k].row.op == std::string(kernels[i].row.op) && kernels[k].row.type == kernels[i].row.type;
            if (done[k] || !same || !measurable(kernels[k])) continue;
            done[k] = true;
            group.push_back(&kernels[k]);
        }
        if (group.empty()) continue;
        try {
            found(group[0]->row.type == 's' ? Group<float>(group, options).measured()
                                            : Group<double>(group, options).measured());
        } catch (const std::runtime_error& error) {
            throw std::runtime_error(group[0]->name + ": " + error.what());
        }
    }
}

template Task<float> task_of(const Kernel& kernel, Direction direction);
template Task<double> task_of(const Kernel& kernel, Direction direction);

} // namespace nvo::accuracy
