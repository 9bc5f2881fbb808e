// Chapter 4: chance that repeats itself. Random numbers estimate pi and an integral in five dimensions, quasi-random
// points do it better, and a saved stream goes on in another process where it stood.
#include "chapters.h"
#include "nvo_ark/vector_math.h"
#include "plot.h"
#include "stream.h"
#include "table.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

#include <array>
#include <fstream>
#include <functional>
#include <iostream>
#include <numbers>

namespace {

constexpr int least_power = 8, largest_power = 18; // of two: numbers of points
constexpr int sizes = largest_power - least_power + 1;
constexpr int repetitions = 20; // of an estimate with random points

using Errors = std::array<double, sizes>;

// A mean over points, with its exact value.
struct Problem {
    std::string name;
    std::uint32_t dimension;
    double exact;
    std::function<std::vector<double>(const Library&, const std::vector<double>& points)> values;
};

// Points (x, y) in the quarter of the circle count 4, others 0.
std::vector<double> quarter_circle(const Library&, const std::vector<double>& points) {
    std::vector<double> values(points.size() / 2);
    for (std::size_t i = 0; i < values.size(); ++i) {
        const double x = points[2 * i], y = points[2 * i + 1];
        values[i] = x * x + y * y < 1 ? 4 : 0;
    }
    return values;
}

// e^-(x1^2 + ... + x5^2)
std::vector<double> bell(const Library& library, const std::vector<double>& points) {
    std::vector<double> values(points.size() / 5);
    for (std::size_t i = 0; i < values.size(); ++i) {
        double sum = 0;
        for (std::size_t k = 0; k < 5; ++k) sum += points[5 * i + k] * points[5 * i + k];
        values[i] = -sum;
    }
    NVO_FIND(library, _arkdExp)(static_cast<std::int32_t>(values.size()), values.data(), values.data());
    return values;
}

const std::array problems{
    Problem{"pi", 2, std::numbers::pi, quarter_circle},
    Problem{"integral", 5, std::pow(std::sqrt(std::numbers::pi) / 2 * std::erf(1.0), 5), bell},
};

// The means over the first 2^8, 2^9, ... values, less the exact one.
Errors errors_of(const Problem& problem, const Library& library, Stream stream) {
    Errors errors{};
    double sum = 0;
    std::size_t points = 0;
    for (int i = 0; i < sizes; ++i) {
        const std::size_t wanted = std::size_t{1} << (least_power + i);
        for (const double value : problem.values(library, stream.draw((wanted - points) * problem.dimension)))
            sum += value;
        points = wanted;
        errors.at(i) = sum / static_cast<double>(points) - problem.exact;
    }
    return errors;
}

// How a generator starts its r-th repetition.
struct Generator {
    std::string name;
    int repetitions;
    std::function<Stream(const Library&, const Problem&, std::uint32_t r)> stream;
};
const std::array generators{Generator{"MT19937", repetitions,
                                      [](const Library& library, const Problem&, std::uint32_t r) {
                                          return Stream(library, OST_BRNG_MT19937, {r + 1});
                                      }},
                            Generator{"PHILOX4X32X10", repetitions,
                                      [](const Library& library, const Problem&, std::uint32_t r) {
                                          Stream stream(library, OST_BRNG_PHILOX4X32X10, {2026});
                                          stream.skip(std::uint64_t{r} << 60);
                                          return stream;
                                      }},
                            Generator{"SOBOL", 1, [](const Library& library, const Problem& problem, std::uint32_t) {
                                          return Stream(library, OST_BRNG_SOBOL, {problem.dimension});
                                      }}};

// Root of the mean square over the repetitions.
Errors typical_errors(const Generator& generator, const Problem& problem, const Library& library) {
    Errors squares{};
    for (int r = 0; r < generator.repetitions; ++r) {
        const auto stream = [&] { return generator.stream(library, problem, static_cast<std::uint32_t>(r)); };
        const Errors errors = errors_of(problem, library, stream());
        for (int i = 0; i < sizes; ++i) squares.at(i) += errors.at(i) * errors.at(i);
    }
    for (double& square : squares) square = std::sqrt(square / generator.repetitions);
    return squares;
}

using AllErrors = std::array<std::array<Errors, generators.size()>, problems.size()>;

void show_errors(const AllErrors& errors) {
    Table table({{"points", {}, Align::right},
                 {"MT19937", "pi"},
                 {"PHILOX", "pi"},
                 {"SOBOL", "pi"},
                 {"MT19937", "integral"},
                 {"PHILOX", "integral"},
                 {"SOBOL", "integral"}});
    for (int i = 0; i < sizes; i += 2) {
        std::vector<std::string> cells{std::to_string(1 << (least_power + i))};
        for (const auto& of_problem : errors) {
            for (const Errors& of_generator : of_problem) cells.push_back(number(of_generator.at(i), 6));
        }
        table.row(cells);
    }
    std::cout << table;
}

// ---- The saved stream -------------------------------------------------------------------------------------------

// Runs this program again with the arguments, its output to a file.
void run_again(const std::vector<std::string>& arguments, const std::filesystem::path& output) {
    std::vector<std::string> words{"tour"};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> pointers;
    for (std::string& word : words) pointers.push_back(word.data());
    pointers.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    pid_t child;
    const int failure = posix_spawn(&child, "/proc/self/exe", &actions, nullptr, pointers.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (failure) throw std::runtime_error("a second process can't be run: " + std::string(std::strerror(failure)));
    int status;
    while (waitpid(child, &status, 0) < 0)
        if (errno != EINTR)
            throw std::runtime_error("waiting for the second process: " + std::string(std::strerror(errno)));
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) throw std::runtime_error("the second process failed");
}

void go_on_elsewhere(const Tour& tour) {
    constexpr std::size_t before = 1000, numbers = 4;
    const auto image = tour.pictures / "mt19937.stream", output = tour.pictures / "mt19937.continued";
    Stream stream(tour.library, OST_BRNG_MT19937, {1, 2, 3});
    stream.draw(before);
    std::filesystem::create_directories(tour.pictures);
    stream.save(image);
    run_again({"--library", tour.library.file_of("dll_cpu_version").string(), "--go-on", image.string()}, output);

    std::cout << "A stream of MT19937 gave " << before << " numbers and was saved in " << image.string() << ",\n"
              << std::filesystem::file_size(image)
              << " bytes. A second process loaded it. The next numbers, here and there:\n\n";
    Table table({{"here"}, {"there"}, {"same bits"}});
    std::ifstream there(output);
    for (const double here : stream.draw(numbers)) {
        std::string text;
        there >> text;
        const double other = std::strtod(text.c_str(), nullptr);
        table.row({number(here, 16), number(other, 16), here == other ? "yes" : "NO"});
    }
    std::cout << table;
}

// ---- The picture ------------------------------------------------------------------------------------------------

// $pi and $integral: points, then the error of each generator.
constexpr const char* drawing = R"(
set border 3 linecolor '#888888'
set tics nomirror textcolor '#333333'
set grid xtics ytics linetype 1 linecolor '#e6e6e6' linewidth 1
set logscale xy
set xlabel 'points'
set format x '2^{%L}'
set logscale x 2
set format y '10^{%L}'
set key bottom left textcolor '#333333' Left reverse samplen 2 spacing 1.25
set title font ',15' textcolor '#222222'
set xrange [200:330000]
set multiplot layout 1,2 title "{/:Bold Estimates by random and quasi-random points}\n{/*0.75 The error falls as the root of their number, or nearly as the number itself}" font ',19'
set title "π, from points in a circle"
set ylabel 'error'
set yrange [1e-6:0.3]
plot $pi using 1:2 with linespoints pointtype 7 linecolor '#3b7db8' linewidth 2 title 'MT19937', \
     $pi using 1:3 with linespoints pointtype 5 linecolor '#e08214' linewidth 2 title 'PHILOX4X32X10', \
     $pi using 1:4 with linespoints pointtype 9 linecolor '#b2182b' linewidth 2 title 'SOBOL', \
     1.64/sqrt(x) with lines linecolor '#999999' dashtype 3 title '1.64 / √n'
set title 'an integral in five dimensions'
unset ylabel
set yrange [1e-7:0.03]
plot $integral using 1:2 with linespoints pointtype 7 linecolor '#3b7db8' linewidth 2 notitle, \
     $integral using 1:3 with linespoints pointtype 5 linecolor '#e08214' linewidth 2 notitle, \
     $integral using 1:4 with linespoints pointtype 9 linecolor '#b2182b' linewidth 2 notitle, \
     0.155/sqrt(x) with lines linecolor '#999999' dashtype 3 title '0.155 / √n', \
     0.08/x with lines linecolor "#999999" dashtype 2 title "0.08 / n"
unset multiplot
)";

void draw(const Tour& tour, const AllErrors& errors) {
    std::vector<double> points;
    for (int i = 0; i < sizes; ++i) points.push_back(1 << (least_power + i));
    Plot plot(tour.pictures, "monte_carlo", 1500, 700);
    for (std::size_t p = 0; p < problems.size(); ++p) {
        std::vector<std::vector<double>> columns{points};
        for (const Errors& of_generator : errors.at(p)) columns.emplace_back(of_generator.begin(), of_generator.end());
        for (std::size_t k = 1; k < columns.size(); ++k)
            for (double& error : columns[k]) error = std::fabs(error);
        plot.data(problems.at(p).name, columns);
    }
    plot.script(drawing);
    plot.draw_and_tell(std::cout);
}

} // namespace

void monte_carlo(const Tour& tour) {
    heading(std::cout, "4  Random and quasi-random points");
    std::cout
        << "Points in the unit square that fall into the quarter of a circle estimate pi, and the mean of\n"
           "e^-(x1² + ... + x5²) over the unit cube its integral, "
        << number(problems[1].exact, 7) << ".\n\n"
        << "    __ostNewStreamEx(&stream, OST_BRNG_MT19937, 1, &seed);     20 seeds\n"
           "    __ostSkipAheadStream(stream, r << 60);                     PHILOX4X32X10: 20 parts of one stream\n"
           "    _ostdRngUniform(0, stream, n, r, 0, 1);                    n numbers\n\n"
           "Errors, as the root of their mean square where the points are random:\n\n";
    AllErrors errors{};
    for (std::size_t p = 0; p < problems.size(); ++p)
        for (std::size_t g = 0; g < generators.size(); ++g)
            errors.at(p).at(g) = typical_errors(generators.at(g), problems.at(p), tour.library);
    show_errors(errors);
    go_on_elsewhere(tour);
    draw(tour, errors);
}

void go_on(const Library& library, const std::filesystem::path& image) {
    for (const double x : Stream::loaded(library, image).draw(4)) std::printf("%a\n", x);
}
