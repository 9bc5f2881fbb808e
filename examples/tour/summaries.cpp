// Chapter 5: what a sample looks like. Moments, quantiles and correlations of three data sets, and the quantiles of ten
// million numbers that come in portions and are never held.
#include "arithmetic.h"
#include "chapters.h"
#include "csv.h"
#include "plot.h"
#include "stream.h"
#include "table.h"
#include "task.h"

#include <malloc.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <iostream>

namespace {

constexpr int iris_flowers = 150, species_flowers = 50, geyser_eruptions = 272; // rows of the files
constexpr std::array quartiles{0.25, 0.5, 0.75};

// ---- The data sets ----------------------------------------------------------------------------------------------

// Records lie in memory one behind the other: column storage. Those columns that aren't wanted are left out by the
// task.
struct Sample {
    std::string name;
    Records records;
    std::size_t first_variables; // that take part, of those that a record has

    Observations observations() const {
        std::vector<std::int32_t> selected(records.names.size(), 0);
        std::fill_n(selected.begin(), first_variables, 1);
        return {records.fields.data(), records.width(), records.count(), OST_STAT_STORAGE_COLS, selected};
    }
};

Records complete_rows(const Records& records) {
    Records complete{records.names, {}, records.labels};
    const auto width = records.width();
    for (auto row = records.fields.begin(); row != records.fields.end(); row += width)
        if (std::none_of(row, row + width, [](double value) { return std::isnan(value); }))
            complete.fields.insert(complete.fields.end(), row, row + width);
    return complete;
}

// The flowers must come species by species.
Records flowers(const std::filesystem::path& file) {
    const std::string species = "Species";
    Records records = csv::read(file, iris_flowers, {species});
    const Column numbers = records.copy(species);
    for (std::size_t i = 0; i < numbers.size(); ++i)
        if (static_cast<std::size_t>(numbers[i]) != i / species_flowers)
            throw std::runtime_error("the iris data aren't in the order of their species");
    return records;
}

// ---- Moments, quartiles, correlations ---------------------------------------------------------------------------

struct Moments {
    explicit Moments(std::size_t p) : mean(p), raw(3, mean), central(3, mean), skewness(p), kurtosis(p) {}

    Column mean;
    std::vector<Column> raw, central; // orders 2, 3, 4; skewness and kurtosis need them
    Column skewness, kurtosis;

    void register_in(Task& task) {
        task.set(OST_STAT_PARAM_MEAN, mean.data());
        for (int i = 0; i < 3; ++i) {
            task.set(OST_STAT_PARAM_RAW_MOMENT_2 + i, raw[static_cast<std::size_t>(i)].data());
            task.set(OST_STAT_PARAM_CENTRAL_MOMENT_2 + i, central[static_cast<std::size_t>(i)].data());
        }
        task.set(OST_STAT_PARAM_SKEWNESS, skewness.data()).set(OST_STAT_PARAM_KURTOSIS, kurtosis.data());
    }
};
constexpr std::uint64_t moments =
    OST_STAT_EST_RAW1 | OST_STAT_EST_CENTRAL2 | OST_STAT_EST_SKEWNESS | OST_STAT_EST_KURTOSIS;

void show_moments(const Library& library, const std::vector<Sample>& samples) {
    const Arithmetic arithmetic(library);
    Table table({{"data", {}, Align::left},
                 {"variable", {}, Align::left},
                 {"mean"},
                 {"deviation"},
                 {"skewness"},
                 {"kurtosis"},
                 {"quantiles", "0.25"},
                 {"", "0.5"},
                 {"", "0.75"}});
    for (const Sample& sample : samples) {
        const auto p = sample.records.names.size();
        Moments moment(p);
        const auto order_count = static_cast<std::int32_t>(quartiles.size());
        Column quantiles(p * quartiles.size());
        Task task(library, sample.observations());
        moment.register_in(task);
        task.basic(moments, OST_STAT_METHOD_ONE_PASS);
        task.set(OST_STAT_PARAM_QUANTILE_ORDER_COUNT, &order_count);
        task.set(OST_STAT_PARAM_QUANTILE_ORDERS, quartiles.data()).set(OST_STAT_PARAM_QUANTILES, quantiles.data());
        task.quantiles();

        const Column deviation = arithmetic.root(moment.central[0]);
        for (std::size_t j = 0; j < sample.first_variables; ++j) {
            std::vector<std::string> cells{j == 0 ? sample.name : "",
                                           sample.records.names[j],
                                           arithmetic.text(moment.mean[j], 2),
                                           arithmetic.text(deviation[j], 2),
                                           arithmetic.text(moment.skewness[j], 2),
                                           arithmetic.text(moment.kurtosis[j], 2)};
            for (std::size_t k = 0; k < quartiles.size(); ++k)
                cells.push_back(arithmetic.text(quantiles[j * quartiles.size() + k], 1));
            table.row(cells);
        }
    }
    std::cout << table;
}

// The moments of all rows, and of the same rows in two calls, of which the second goes on where the first one ended.
void show_two_portions(const Library& library, const Sample& sample) {
    const Observations all = sample.observations();
    Moments at_once(sample.records.names.size()), in_turn = at_once;
    {
        Task task(library, all);
        at_once.register_in(task);
        task.basic(moments, OST_STAT_METHOD_ONE_PASS);
    }
    std::array<double, 2> weights{}; // sum of the weights so far, and of their squares
    Observations portion = all;
    portion.n = all.n / 3;
    Task task(library, portion);
    in_turn.register_in(task);
    task.set(OST_STAT_PARAM_ACCUMULATED_WEIGHTS, weights.data());
    task.basic(moments, OST_STAT_METHOD_ONE_PASS);
    task.next(all.first + static_cast<std::ptrdiff_t>(portion.n) * all.p, all.n - portion.n);
    task.basic(moments, OST_STAT_METHOD_ONE_PASS);

    double difference = 0;
    const auto compare = [&](const Column& a, const Column& b) {
        for (std::size_t j = 0; j < sample.first_variables; ++j)
            difference = std::max(difference, std::fabs(a[j] / b[j] - 1));
    };
    compare(in_turn.mean, at_once.mean);
    compare(in_turn.central[0], at_once.central[0]);
    compare(in_turn.skewness, at_once.skewness);
    compare(in_turn.kurtosis, at_once.kurtosis);
    std::cout << "The moments of the " << sample.name << " data from two calls, the first with " << portion.n
              << " of the " << number(weights[0], 0) << " rows,\n"
              << (difference < 1e-12 ? "are those from one call, up to rounding.\n\n" : "DIFFER.\n\n");
}

// A square, row by row, with ones on the diagonal: the library has the variances there.
std::vector<Column> correlations(const Library& library, const Observations& x, std::size_t variables) {
    constexpr std::int32_t packed = OST_STAT_MATRIX_LPACKED; // rows of the lower triangle, of selected variables only
    Column mean(static_cast<std::size_t>(x.p)), triangle(variables * (variables + 1) / 2);
    Task task(library, x);
    task.set(OST_STAT_PARAM_MEAN, mean.data());
    task.set(OST_STAT_PARAM_COR, triangle.data()).set(OST_STAT_PARAM_COR_STORAGE, &packed);
    task.basic(OST_STAT_EST_COR, OST_STAT_METHOD_FAST);
    std::vector<Column> square(variables, Column(variables, 1));
    for (std::size_t i = 0, k = 0; i < variables; ++i, ++k)
        for (std::size_t j = 0; j < i; ++j) square[i][j] = square[j][i] = triangle[k++];
    return square;
}

struct Correlations {
    std::string name, block, title; // of the picture's data block and panel
    std::vector<std::string> variables;
    std::vector<Column> square;
};

void show_correlations(const Arithmetic& arithmetic, const Correlations& cor) {
    std::vector<Table::Column> columns{{cor.name, {}, Align::left}};
    for (const std::string& variable : cor.variables) columns.push_back({variable});
    Table table(columns);
    for (std::size_t i = 0; i < cor.variables.size(); ++i) {
        std::vector<std::string> cells{cor.variables[i]};
        for (const double r : cor.square[i]) cells.push_back(arithmetic.text(r, 2));
        table.row(cells);
    }
    std::cout << table;
}

constexpr const char* drawing = R"(
set palette defined (-1 '#2166ac', -0.5 '#92c5de', 0 '#f7f7f7', 0.5 '#f4a582', 1 '#b2182b')
set cbrange [-1:1]
set border 0
set tics scale 0 textcolor '#333333'
set xtics rotate by 30 right
unset key
unset colorbox
set tmargin at screen 0.78
set bmargin at screen 0.20
set xrange [-0.5:3.5]
set yrange [3.5:-0.5]
set title font ',15' textcolor '#222222'
set multiplot layout 1,3 title "{/:Bold Correlations}\n{/*0.75 What holds for all flowers together need not hold within a species}" font ',19'
)";

void draw(const Tour& tour, const Arithmetic& arithmetic, const std::vector<Correlations>& all) {
    Plot plot(tour.pictures, "summaries", 1500, 620);
    std::string panels;
    double left = 0.08;
    for (const Correlations& cor : all) {
        Column x, y, r;
        std::string tics;
        for (std::size_t i = 0; i < cor.variables.size(); ++i) {
            tics += (i ? ", '" : "'") + cor.variables[i] + "' " + std::to_string(i);
            for (std::size_t j = 0; j < cor.variables.size(); ++j) {
                x.push_back(static_cast<double>(j));
                y.push_back(static_cast<double>(i));
                r.push_back(arithmetic.rounded(cor.square[i][j], 2).front());
            }
        }
        plot.data(cor.block, {x, y, r});
        panels += "set lmargin at screen " + std::to_string(left) + "\nset rmargin at screen " +
                  std::to_string(left + 0.24) + "\nset title '" + cor.title + "'\nset xtics (" + tics +
                  ")\nset ytics (" + tics + ")\nplot $" + cor.block +
                  " using 1:2:3 with image, '' using 1:2:(sprintf('%.2f', $3)):(abs($3) > 0.7 ? " +
                  "0xffffff : 0x333333) with labels textcolor rgb variable font ',15'\n";
        left += 0.325;
    }
    plot.script(drawing + panels + "unset multiplot\n");
    plot.draw_and_tell(std::cout);
}

// ---- Ten million numbers ----------------------------------------------------------------------------------------

constexpr std::array server_means{1.0, 2.0, 4.0, 8.0}; // ms
constexpr std::int32_t servers = server_means.size(), portion_count = 25, portion_requests = 100'000;
constexpr std::array waiting_orders{0.5, 0.9, 0.99};
constexpr double epsilon = 0.005;

// Times that requests to the servers wait, at random, with these means: a record has one of each server.
Column waiting_times(const Library& library, const Arithmetic& arithmetic, Stream& stream) {
    const auto mul = NVO_FIND(library, _arkdMulI);
    const Column uniform = stream.draw(std::size_t{portion_requests} * servers);
    Column times = arithmetic.logarithm(arithmetic.minus(1.0, uniform));
    for (std::size_t j = 0; j < servers; ++j) {
        const double scale = -server_means[j];
        mul(portion_requests, times.data() + j, servers, &scale, 0, times.data() + j, servers);
    }
    return times;
}

// Streaming quantiles of the servers.
class Summary {
public:
    explicit Summary(const Library& library)
        : quantiles(server_means.size() * waiting_orders.size()),
          task(library, {&epsilon, servers, 1, OST_STAT_STORAGE_COLS}) {
        task.set(OST_STAT_PARAM_STREAM_ORDERS, waiting_orders.data()).set(OST_STAT_PARAM_STREAM_ORDER_COUNT, &orders);
        task.set(OST_STAT_PARAM_STREAM_PARAMS, &epsilon).set(OST_STAT_PARAM_STREAM_PARAM_COUNT, &one);
        task.set(OST_STAT_PARAM_STREAM_QUANTILES, quantiles.data());
    }
    void add(const Column& records) {
        task.next(records.data(), static_cast<std::int32_t>(records.size()) / servers);
        task.stream_quantiles(OST_STAT_METHOD_STREAM_ADD_ONLY);
    }
    const Column& report() {
        task.next(nullptr, 0);
        task.stream_quantiles(OST_STAT_METHOD_STREAM);
        return quantiles;
    }

private:
    const std::int32_t orders = waiting_orders.size(), one = 1;
    Column quantiles;
    Task task;
};

// What the program has from malloc.
double bytes_in_use() {
    const auto info = mallinfo2();
    return static_cast<double>(info.uordblks) + static_cast<double>(info.hblkhd);
}

Column exact_quantiles(const Library& library, const Column& records) {
    const auto n = static_cast<std::int32_t>(records.size()) / servers;
    const std::int32_t order_count = waiting_orders.size();
    Column quantiles(server_means.size() * waiting_orders.size());
    Task task(library, {records.data(), servers, n, OST_STAT_STORAGE_COLS});
    task.set(OST_STAT_PARAM_QUANTILE_ORDER_COUNT, &order_count);
    task.set(OST_STAT_PARAM_QUANTILE_ORDERS, waiting_orders.data()).set(OST_STAT_PARAM_QUANTILES, quantiles.data());
    task.quantiles();
    return quantiles;
}

void show_waiting_times(const Library& library) {
    const Arithmetic arithmetic(library);
    Stream stream(library, OST_BRNG_PHILOX4X32X10, {1973});
    Column all; // held for the comparison only
    all.reserve(std::size_t{portion_count} * portion_requests * servers);
    double memory = 0;
    Column streamed;
    {
        const double before = bytes_in_use();
        Summary summary(library);
        for (int k = 0; k < portion_count; ++k) {
            const Column records = waiting_times(library, arithmetic, stream);
            summary.add(records);
            all.insert(all.end(), records.begin(), records.end());
        }
        memory = bytes_in_use() - before;
        streamed = summary.report();
    }
    Summary whole(library);
    whole.add(all);
    const Column in_one = whole.report(), exact = exact_quantiles(library, all);

    const auto requests = static_cast<double>(portion_count) * portion_requests;
    std::cout << "Waiting times of " << number(requests * servers, 0) << " requests to four servers come in "
              << portion_count << " portions. Each is added to the\n"
              << "summaries that the task keeps, with an error of e = " << arithmetic.text(epsilon, 3)
              << " allowed, and thrown away. The summaries\n"
              << "take " << arithmetic.text(memory / 1e6, 1) << " MB, where all numbers take "
              << arithmetic.text(static_cast<double>(all.size() * sizeof(double)) / 1e6, 1)
              << " MB. Those are held here once, to\n"
              << "compare with exact quantiles, and with summaries that get them all in one portion:\n\n"
              << "    _ostdSSStreamQuantiles(task, 0, OST_STAT_METHOD_STREAM_ADD_ONLY, threads);    25 portions\n"
              << "    _ostdSSStreamQuantiles(task, 0, OST_STAT_METHOD_STREAM, threads);             the report\n"
              << "    _ostdSSQuantiles(task, OST_STAT_EST_QUANTILES, OST_STAT_METHOD_FAST, threads);\n\n";
    Table table({{"server", "mean"},
                 {"median", "streamed"},
                 {"ms", "exact"},
                 {"0.9", "streamed"},
                 {"ms", "exact"},
                 {"0.99", "streamed"},
                 {"ms", "exact"},
                 {"ranks", "off"},
                 {"", "allowed"},
                 {"one portion", "same bits"}});
    for (std::size_t j = 0; j < servers; ++j) {
        std::vector<std::string> cells{number(server_means[j], 0)};
        double off = 0;
        for (std::size_t k = 0; k < waiting_orders.size(); ++k) {
            const double value = streamed[j * waiting_orders.size() + k];
            double rank = 0;
            for (std::size_t i = j; i < all.size(); i += servers) rank += all[i] <= value;
            off = std::max(off, std::fabs(rank - waiting_orders[k] * requests));
            cells.push_back(arithmetic.text(value, 3));
            cells.push_back(arithmetic.text(exact[j * waiting_orders.size() + k], 3));
        }
        const std::size_t bytes = waiting_orders.size() * sizeof(double);
        const std::size_t first = j * waiting_orders.size();
        cells.push_back(number(off, 0));
        cells.push_back(number(epsilon * requests, 0));
        cells.push_back(std::memcmp(&streamed[first], &in_one[first], bytes) == 0 ? "yes" : "NO");
        table.row(cells);
    }
    std::cout << table;
}

} // namespace

void summaries(const Tour& tour) {
    heading(std::cout, "5  Summaries");
    const Team team(2);
    const Library& library = tour.library;
    const Arithmetic arithmetic(library);
    const std::vector<Sample> samples{
        {"air", complete_rows(csv::read(tour.data / "airquality.csv", air_quality_days)), 4},
        {"iris", flowers(tour.data / "iris.csv"), 4},
        {"geyser", csv::read(tour.data / "faithful.csv", geyser_eruptions), 2}};
    std::cout << "Three data sets: the air of New York, of which the " << samples[0].records.count()
              << " days without a missing value take part;\n"
              << samples[1].records.count() << " iris flowers of three species; " << samples[2].records.count()
              << " eruptions of a geyser. The task leaves out columns\n"
              << "that aren't wanted, such as the day, and works on the caller's team, here of two threads.\n\n"
              << "    __ostdSSNewTask(&task, &p, &n, &storage, x, NULL, indices, 0);\n"
              << "    __ostdSSEditTask(task, OST_STAT_PARAM_MEAN, mean);                   and so on\n"
              << "    _ostdSSBasic(task, estimates, OST_STAT_METHOD_ONE_PASS, threads);\n"
              << "    _ostdSSQuantiles(task, OST_STAT_EST_QUANTILES, OST_STAT_METHOD_FAST, threads);\n\n";
    show_moments(library, samples);
    std::cout << "The geyser's eruptions are short or long and seldom in between: the kurtosis is far below 0.\n\n";
    show_two_portions(library, samples[0]);

    Observations setosa = samples[1].observations();
    setosa.n = species_flowers;
    std::vector<Correlations> all;
    const auto add = [&](const std::string& name, const std::string& block, const std::string& title,
                         const Sample& sample, const Observations& x) {
        const std::vector<std::string> names(sample.records.names.begin(),
                                             sample.records.names.begin() +
                                                 static_cast<std::ptrdiff_t>(sample.first_variables));
        all.push_back({name, block, title, names, correlations(library, x, sample.first_variables)});
    };
    add("air", "air", "The air of New York", samples[0], samples[0].observations());
    add("iris", "iris", "Iris, three species", samples[1], samples[1].observations());
    add("setosa alone", "setosa", "Iris setosa alone", samples[1], setosa);
    for (const Correlations& cor : all) show_correlations(arithmetic, cor);
    std::cout << "In all flowers together, long sepals are narrow ones. In setosa they are wide ones.\n\n";

    show_waiting_times(library);
    draw(tour, arithmetic, all);
}
