// Chapter 3: a curve through a series. The logarithm makes a straight line of exponential growth, the exponential takes
// it back; what the curve leaves over is the season.
#include "arithmetic.h"
#include "chapters.h"
#include "csv.h"
#include "error_mode.h"
#include "nvo_ark/vector_math.h"
#include "plot.h"
#include "table.h"

#include <array>
#include <iostream>

namespace {

constexpr int co2_months = 468; // rows of co2.csv
constexpr double first_year = 1959;
constexpr double before_industry = 280; // ppm
constexpr std::size_t months_a_year = 12;
constexpr std::array<const char*, months_a_year> month_names{"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                             "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

struct Later {
    double year, ppm; // annual mean
};
constexpr std::array measured_later{Later{2000, 370}, Later{2010, 390}, Later{2020, 414}};

// co2 = before_industry + scale e^(rate (year - first_year))
struct Curve {
    double scale, rate, doubling_time, correlation;

    Column at(const Arithmetic& arithmetic, const Column& year) const {
        const Column exponent = arithmetic.times(arithmetic.minus(year, first_year), rate);
        return arithmetic.plus(arithmetic.times(arithmetic.exponential(exponent), scale), before_industry);
    }
};

struct Series {
    Column year, co2;          // middle and mean of each month
    Column fitted, difference; // the curve, and how far the month is above it
    Column season;             // mean difference of each month of the year
    Column seasonless;         // difference without it
};

// Those elements of the column whose place `step` takes from `begin` to below `end`.
Column every(const Column& column, std::size_t step, std::size_t begin, std::size_t end) {
    Column chosen;
    for (std::size_t i = begin; i < std::min(end, column.size()); i += step) chosen.push_back(column[i]);
    return chosen;
}

// The months must follow each other, and none may be missing.
Series series_of(const Arithmetic& arithmetic, const Records& records) {
    const Column begin = records.copy("year");
    Series series{arithmetic.plus(begin, 0.5 / months_a_year), records.copy("co2_ppm"), {}, {}, {}, {}};
    for (std::size_t i = 0; i < begin.size(); ++i)
        if (!(std::fabs(begin[i] - (first_year + static_cast<double>(i) / months_a_year)) < 0.001) ||
            std::isnan(series.co2[i]))
            throw std::runtime_error("a month is missing in the CO2 data or isn't in its place");
    return series;
}

// ---- The fit ---------------------------------------------------------------------------------------------------

struct Logarithms {
    Column y;
    int status;
};

// The logarithms with the status that the call leaves, whatever mode the environment asks for.
Logarithms logarithms(const Library& library, const Column& a) {
    const ErrorMode status_only(library, ARK_ERRMODE_IGNORE);
    const auto clear_status = NVO_FIND(library, _arkClearErrStatus);
    Logarithms result{Column(a.size()), 0};
    clear_status();
    NVO_FIND(library, _arkdLn)(static_cast<std::int32_t>(a.size()), a.data(), result.y.data());
    result.status = clear_status();
    return result;
}

Curve fit(const Library& library, const Arithmetic& arithmetic, const Series& series) {
    std::cout << "Before industry the air had about 280 ppm. If what is above that grows by the same share every\n"
                 "year, its logarithm is a straight line, which least squares find.\n\n"
                 "    _arkdSubI(n, co2, 1, &before_industry, 0, excess, 1);    co2 - 280\n"
                 "    _arkdLn(n, excess, y);                                   nearly a straight line\n"
                 "    _arkdExpI(n, line, 1, curve, 1);                         and back again\n\n";
    const Column excess = arithmetic.minus(series.co2, before_industry);
    const auto [y, status] = logarithms(library, excess);
    if (status)
        throw std::runtime_error("Ln: status " + status_text(status) + ": a month of the CO2 data isn't above 280 ppm");
    std::cout << "Ln leaves status " << status_text(status) << ": every month is above 280 ppm. One of 280 would give ";
    const auto at_zero = logarithms(library, {0}), below_zero = logarithms(library, {-1});
    std::cout << number(at_zero.y[0], 0) << " and status " << status_text(at_zero.status) << ",\none of 279 "
              << number(below_zero.y[0], 0) << " and status " << status_text(below_zero.status) << ".\n\n";

    const auto line = arithmetic.line(arithmetic.minus(series.year, first_year), y);
    return {arithmetic.exponential(line.intercept).front(), line.slope,
            arithmetic.over(arithmetic.logarithm(2.0), line.slope).front(), line.correlation};
}

void compare(const Arithmetic& arithmetic, const Curve& curve, Series& series) {
    series.fitted = curve.at(arithmetic, series.year);
    series.difference = arithmetic.minus(series.co2, series.fitted);
    Column season_of_month;
    for (std::size_t month = 0; month < months_a_year; ++month)
        series.season.push_back(
            arithmetic.mean(every(series.difference, months_a_year, month, series.difference.size())));
    while (season_of_month.size() < series.co2.size())
        season_of_month.insert(season_of_month.end(), series.season.begin(), series.season.end());
    series.seasonless = arithmetic.minus(series.difference, season_of_month);
}

// ---- The tables ------------------------------------------------------------------------------------------------

// The exponent stands in the two brackets.
std::string curve_text(const Arithmetic& arithmetic, const Curve& curve, const char* open, const char* close) {
    return "280 + " + arithmetic.text(curve.scale, 1) + " · 2^" + open + "(year - 1959) / " +
           arithmetic.text(curve.doubling_time, 1) + close;
}

void show_fit(const Arithmetic& arithmetic, const Curve& curve, const Series& series) {
    const double share = arithmetic.times(arithmetic.minus(arithmetic.exponential(curve.rate), 1.0), 100.0).front();
    std::cout << "    co2 = " << curve_text(arithmetic, curve, "(", ")") << " ppm\n\n"
              << "The excess grows by " << arithmetic.text(share, 2) << " % a year and doubles in "
              << arithmetic.text(curve.doubling_time, 1) << " years. Time and logarithm have the\ncorrelation "
              << arithmetic.text(curve.correlation, 3) << ". By years, as means:\n\n";

    Table table({{"years", {}, Align::left},
                 {"measured", "ppm"},
                 {"curve", "ppm"},
                 {"difference", "ppm"},
                 {"largest in a month", "ppm"}});
    constexpr std::size_t years = 5, months = years * months_a_year;
    for (std::size_t i = 0; i < series.year.size(); i += months) {
        const auto part = [&](const Column& column) { return every(column, 1, i, i + months); };
        const Column difference = part(series.difference);
        const double largest = *std::ranges::max_element(difference, {}, [](double value) { return std::fabs(value); });
        table.row({number(std::floor(series.year[i]), 0) + " to " + number(std::floor(part(series.year).back()), 0),
                   arithmetic.text(arithmetic.mean(part(series.co2)), 1),
                   arithmetic.text(arithmetic.mean(part(series.fitted)), 1),
                   arithmetic.text(arithmetic.mean(difference), 1), arithmetic.text(largest, 1)});
    }
    std::cout << table;
}

void show_season(const Arithmetic& arithmetic, const Series& series) {
    const auto [lowest, highest] = std::ranges::minmax(series.season);
    std::cout << "What is left is mostly the season: plants take carbon dioxide up in summer and give it back in\n"
                 "winter, a swing of "
              << arithmetic.text(highest - lowest, 1) << " ppm. The differences have a standard deviation of "
              << arithmetic.text(arithmetic.deviation(series.difference), 2) << " ppm,\nand of "
              << arithmetic.text(arithmetic.deviation(series.seasonless), 2)
              << " ppm when each month's own mean, which follows, is taken away.\n\n";
    std::vector<Table::Column> columns;
    std::vector<std::string> cells;
    for (std::size_t month = 0; month < months_a_year; ++month) {
        columns.push_back({month_names.at(month)});
        cells.push_back(arithmetic.text(series.season[month], 1));
    }
    Table table(columns);
    table.row(cells);
    std::cout << table;
}

void show_forecast(const Arithmetic& arithmetic, const Curve& curve) {
    Table table({{"forecast", {}, Align::left}, {"curve", "ppm"}, {"measured later", "ppm"}, {"too high by", "ppm"}});
    for (const auto& later : measured_later) {
        const double forecast = curve.at(arithmetic, {later.year + 0.5}).front();
        table.row({number(later.year, 0), arithmetic.text(forecast, 1), number(later.ppm, 0),
                   arithmetic.text(arithmetic.minus(forecast, later.ppm).front(), 1)});
    }
    // scale e^(rate t) = before_industry
    const double ratio = arithmetic.over(before_industry, curve.scale).front();
    const double years = arithmetic.over(arithmetic.logarithm(ratio), curve.rate).front();
    std::cout << table
              << "The last years already lie below the curve, and so did those that followed. Followed on, it\n"
              << "reaches 560 ppm, twice the 280, in " << number(std::floor(first_year + years), 0) << ".\n\n";
}

// ---- The picture -----------------------------------------------------------------------------------------------

// Everything it shows stands in data blocks:
//   $months   time, co2, difference from the curve, difference without the season
//   $curve    time, co2, from the first year to the last forecast
//   $later    time, co2 as measured later, forecast
//   $seasons  month of the year, difference, year: all months
//   $season   month of the year, mean difference
constexpr const char* drawing = R"(
set border 3 linecolor '#888888'
set tics nomirror textcolor '#333333'
set grid ytics linetype 1 linecolor '#e6e6e6' linewidth 1
set title font ',15' textcolor '#222222'
set key textcolor '#333333' Left reverse samplen 1.5 spacing 1.25

set multiplot title "{/:Bold Carbon dioxide in the air at Mauna Loa, 1959 to 1997}\n{/*0.75 Exponential growth, and plants that breathe with the seasons}" font ',19'

set lmargin at screen 0.06
set rmargin at screen 0.98
set tmargin at screen 0.875
set bmargin at screen 0.475
set title 'Month by month, and what the curve foretells' offset 0,-0.3
set ylabel 'CO₂, ppm' offset 0.5
set xrange [1958:2023]
set xtics scale 0.5 1960,10
set yrange [305:435]
set ytics 320,20
set key top left vertical
set arrow from 1998,305 to 1998,435 nohead linecolor '#b0b0b0' dashtype 3
set label 'the data end' at 1998,310 left offset 0.8,0 font ',11' textcolor '#666666'
plot $months using 1:2 with linespoints linecolor '#3b7db8' linewidth 1 pointtype 7 pointsize 0.5 title 'measured, means of months', \
     $curve using 1:($1 <= 1998 ? $2 : 1/0) with lines linecolor '#b2182b' linewidth 2 title curve_title, \
     $curve using 1:($1 >= 1998 ? $2 : 1/0) with lines linecolor '#b2182b' linewidth 2 dashtype (9,6) title 'forecast by it', \
     $later using 1:2:(0):($3-$2) with vectors nohead linecolor '#999999' linewidth 1.5 notitle, \
     $later using 1:2 with points pointtype 7 pointsize 1.6 linecolor '#1b3a5c' title 'measured later, means of years', \
     $later using 1:2:(sprintf('%.0f', $2)) with labels left offset 1.2,-0.5 font ',11' textcolor '#1b3a5c' notitle
unset arrow
unset label

set tmargin at screen 0.375
set bmargin at screen 0.085
set rmargin at screen 0.545
set title 'Difference from the curve'
set ylabel 'ppm' offset 0.5
set xlabel 'year' offset 0,0.4
set xrange [1958:1999]
set yrange [-7:7]
set ytics -6,3
set key top left horizontal
plot $months using 1:3 with lines linecolor '#a6c8e4' linewidth 1.2 title 'every month', \
     $months using 1:4 with lines linecolor '#1b3a5c' linewidth 2 title 'without the season', \
     0 with lines linecolor '#b2182b' linewidth 1.5 notitle

set lmargin at screen 0.61
set rmargin at screen 0.905
set title 'The season, in all years'
unset ylabel
unset xlabel
set xrange [0.4:12.6]
set xtics scale 0 ('J' 1, 'F' 2, 'M' 3, 'A' 4, 'M' 5, 'J' 6, 'J' 7, 'A' 8, 'S' 9, 'O' 10, 'N' 11, 'D' 12)
set palette defined (0 '#c9dfee', 0.5 '#6aa3cf', 1 '#12355b')
set cbrange [1959:1998]
set colorbox user origin 0.93,0.125 size 0.011,0.21
set cbtics 1960,10 scale 0.5
set key top right
plot $seasons using 1:2:3 with points pointtype 7 pointsize 0.8 linecolor palette notitle, \
     $season using 1:2 with lines linecolor '#b2182b' linewidth 2.5 title 'mean'
unset multiplot
)";

void draw(const Tour& tour, const Arithmetic& arithmetic, const Curve& curve, const Series& series) {
    Column grid, month_of_year, place_in_month, later_year, later_ppm, month_number;
    for (int quarter = 0; quarter <= 250; ++quarter) grid.push_back(first_year + quarter / 4.0);
    // Within a month, points stand side by side in the order of their years.
    const auto years = static_cast<double>(series.co2.size()) / months_a_year;
    for (std::size_t i = 0; i < series.co2.size(); ++i)
        place_in_month.push_back(static_cast<double>(i % months_a_year) + 0.65 +
                                 0.7 * static_cast<double>(i / months_a_year) / years);
    for (std::size_t month = 1; month <= months_a_year; ++month) month_number.push_back(static_cast<double>(month));
    for (const auto& later : measured_later) {
        later_year.push_back(later.year + 0.5);
        later_ppm.push_back(later.ppm);
    }

    Plot plot(tour.pictures, "co2", 1500, 1050);
    plot.data("months", {series.year, series.co2, series.difference, series.seasonless});
    plot.data("curve", {grid, curve.at(arithmetic, grid)});
    plot.data("later", {later_year, later_ppm, curve.at(arithmetic, later_year)});
    plot.data("seasons", {place_in_month, series.difference, series.year});
    plot.data("season", {month_number, series.season});
    plot.script("curve_title = '" + curve_text(arithmetic, curve, "{", "}") + "'\n");
    plot.script(drawing);
    plot.draw_and_tell(std::cout);
}

} // namespace

void co2_growth(const Tour& tour) {
    heading(std::cout, "3  The growth of carbon dioxide");
    const auto file = tour.data / "co2.csv";
    const Records records = csv::read(file, co2_months);
    std::cout << "Carbon dioxide in the air at Mauna Loa, Hawaii, in " << records.count()
              << " months from 1959 to 1997, from\n"
              << file.string() << ".\n\n";

    const Arithmetic arithmetic(tour.library);
    Series series = series_of(arithmetic, records);
    const Curve curve = fit(tour.library, arithmetic, series);
    compare(arithmetic, curve, series);
    show_fit(arithmetic, curve, series);
    show_season(arithmetic, series);
    show_forecast(arithmetic, curve);
    draw(tour, arithmetic, curve, series);
}
