// Chapter 6: smooth curves through points. Six cubic splines through every third month of the CO2 record, judged by the
// months that they haven't seen; their slopes; and the mean level of each year as an integral.
#include "arithmetic.h"
#include "chapters.h"
#include "csv.h"
#include "plot.h"
#include "spline.h"
#include "table.h"

#include <array>
#include <deque>
#include <iostream>

namespace {

constexpr int co2_months = 468; // rows of co2.csv
constexpr double first_year = 1959, years = 39, shown_year = 1990;
constexpr std::size_t months_a_year = 12;
constexpr std::size_t spacing = 3; // months from point to point

// The middle of a month, counted from the first one.
double middle_of(std::size_t month) { return first_year + (static_cast<double>(month) + 0.5) / months_a_year; }

struct Kind {
    const char *name, *slopes;
    std::int64_t type;
};
constexpr std::array kinds{Kind{"Natural", "make the curve twice differentiable", DF_TYPE_NATURAL},
                           Kind{"Bessel", "of the parabola through three points", DF_TYPE_BESSEL},
                           Kind{"Akima", "mean of both sides, the smoother one counts more", DF_TYPE_AKIMA},
                           Kind{"Hyman", "as Bessel's, but no overshoot", DF_TYPE_HYMAN},
                           Kind{"Hermite", "given: from the months beside", DF_TYPE_HERMITE},
                           Kind{"Default", "second derivatives given, from the same", DF_TYPE_DEFAULT}};

// What the two months beside each inner point tell: the first (1) or the second derivative (2) there.
Column differences(const Column& co2, std::size_t points, int order) {
    constexpr double month = 1.0 / months_a_year;
    Column inner;
    for (std::size_t point = 1; point + 1 < points; ++point) {
        const double before = co2[spacing * point - 1], here = co2[spacing * point], after = co2[spacing * point + 1];
        inner.push_back(order == 1 ? (after - before) / (2 * month) : (after - 2 * here + before) / (month * month));
    }
    return inner;
}

// One of each kind, through every third month.
std::deque<Spline> splines_through(const Library& library, const Column& co2) {
    Column values;
    for (std::size_t month = 0; month < co2.size(); month += spacing) values.push_back(co2[month]);
    const std::array ends{middle_of(0), middle_of(spacing * (values.size() - 1))};
    std::deque<Spline> splines;
    for (const Kind& kind : kinds) {
        Column inner;
        if (kind.type == DF_TYPE_HERMITE) inner = differences(co2, values.size(), 1);
        if (kind.type == DF_TYPE_DEFAULT) inner = differences(co2, values.size(), 2);
        splines.emplace_back(library, ends, values, kind.type, inner);
    }
    return splines;
}

void show_kinds(const Arithmetic& arithmetic, const Column& co2, std::deque<Spline>& splines) {
    Column unseen_time, unseen;
    for (std::size_t month = 0; month + spacing < co2.size(); ++month) {
        if (month % spacing == 0) continue;
        unseen_time.push_back(middle_of(month));
        unseen.push_back(co2[month]);
    }
    Column year;
    for (int day = 0; day <= 365; ++day) year.push_back(shown_year + day / 365.0);

    std::cout << "Errors at the " << unseen.size() << " months between the points, and the steepest slopes of "
              << number(shown_year, 0) << ":\n\n";
    Table table({{"spline", {}, Align::left},
                 {"slopes at the points", {}, Align::left},
                 {"error", "ppm"},
                 {"largest", "ppm"},
                 {"rise", "ppm/month"},
                 {"fall", "ppm/month"}});
    for (std::size_t k = 0; k < kinds.size(); ++k) {
        const Column error = arithmetic.minus(splines[k].at(unseen_time, 0), unseen);
        const auto [lowest, highest] = std::ranges::minmax(error);
        const auto [fall, rise] = std::ranges::minmax(arithmetic.over(splines[k].at(year, 1), double(months_a_year)));
        table.row({kinds[k].name, kinds[k].slopes,
                   arithmetic.text(arithmetic.root(arithmetic.mean(arithmetic.squared(error))).front(), 2),
                   arithmetic.text(std::max(-lowest, highest), 2), arithmetic.text(rise, 2), arithmetic.text(fall, 2)});
    }
    std::cout
        << table
        << "Natural is the smoothest, and not the best of those that know the points alone. Hermite knows most. What\n"
           "Default is told needn't fit together: its slope jumps at the points.\n\n";
}

struct Levels {
    Column year, mean; // the year's begin, and the mean over it
};

// The integral over a year is its mean level. The spline's first and last polynomial go on for the half months that lie
// outside the partition.
Levels levels_of(Spline& monthly) {
    Levels levels;
    Column next;
    for (int i = 0; i < years; ++i) {
        levels.year.push_back(first_year + i);
        next.push_back(first_year + i + 1);
    }
    levels.mean = monthly.integrals(levels.year, next);
    return levels;
}

void show_levels(const Arithmetic& arithmetic, Spline& monthly, const Levels& levels) {
    std::cout << "The natural spline through all months, integrated over each year, has the year's mean level, here "
                 "with\nwhat it is above the year before:\n\n"
                 "    nvo_df_kernel_dDFIntegrate1D(task, 0, 39, begin, 0, end, 0, 0, 0, level, 0, ...);\n\n";
    constexpr std::size_t groups = 3, rows = 13;
    std::vector<Table::Column> columns;
    for (std::size_t group = 0; group < groups; ++group)
        columns.insert(columns.end(), {{group ? "   year" : "year"}, {"level", "ppm"}, {"rise", "ppm"}});
    Table table(columns);
    for (std::size_t row = 0; row < rows; ++row) {
        std::vector<std::string> cells;
        for (std::size_t i = row; i < groups * rows; i += rows) {
            cells.push_back(number(levels.year[i], 0));
            cells.push_back(arithmetic.text(levels.mean[i], 2));
            cells.push_back(i ? arithmetic.text(levels.mean[i] - levels.mean[i - 1], 2) : "");
        }
        table.row(cells);
    }
    const double whole = monthly.integrals({first_year}, {first_year + years}).front();
    char difference[32];
    std::snprintf(difference, sizeof difference, "%.0e", std::fabs(Arithmetic::sum(levels.mean) - whole) / whole);
    std::cout << table << "One integral over all years is " << arithmetic.text(whole, 3)
              << " ppm years, the sum of the 39 the same to " << difference << " of it.\n\n";
}

// ---- The picture ------------------------------------------------------------------------------------------------

// $curves and $slopes: time in months of the shown year, then the kinds. $points and $unseen: time, co2.
// $levels: year, level, rise.
constexpr const char* drawing = R"(
set border 3 linecolor '#888888'
set tics nomirror textcolor '#333333'
set grid ytics linetype 1 linecolor '#e6e6e6' linewidth 1
set title font ',15' textcolor '#222222'
set key textcolor '#333333' Left reverse samplen 2 spacing 1.25
array colour[6] = ['#1b3a5c', '#3b7db8', '#e08214', '#b2182b', '#4d9221', '#8073ac']
array name[6] = ['Natural', 'Bessel', 'Akima', 'Hyman', 'Hermite', 'Default']

set multiplot title "{/:Bold Six cubic splines through every third month}\n{/*0.75 Between the points the kinds differ, and so do their slopes}" font ',19'

set lmargin at screen 0.06
set rmargin at screen 0.56
set tmargin at screen 0.875
set bmargin at screen 0.475
set title year.', ppm' offset 0,-0.3
set xrange [-1.2:13.2]
set xtics scale 0.5 ('J' 0.5, 'F' 1.5, 'M' 2.5, 'A' 3.5, 'M' 4.5, 'J' 5.5, 'J' 6.5, 'A' 7.5, 'S' 8.5, 'O' 9.5, 'N' 10.5, 'D' 11.5)
set key left top at graph 0.15,0.48
plot for [k=1:6] $curves using 1:(column(k+1)) with lines linecolor rgb colour[k] linewidth 2 title name[k], \
     $points using 1:2 with points pointtype 7 pointsize 1.6 linecolor '#222222' title 'points', \
     $unseen using 1:2 with points pointtype 6 pointsize 1.3 linewidth 1.5 linecolor '#222222' title 'not seen'

set tmargin at screen 0.375
set bmargin at screen 0.085
set title 'The first derivative, ppm a month'
unset key
set xlabel 'month' offset 0,0.4
plot for [k=1:6] $slopes using 1:(column(k+1)) with lines linecolor rgb colour[k] linewidth 2, \
     0 with lines linecolor '#999999' linewidth 1

set lmargin at screen 0.64
set rmargin at screen 0.98
set tmargin at screen 0.875
set bmargin at screen 0.475
unset xlabel
set title 'Mean level of each year: its integral, ppm' offset 0,-0.3
set xrange [1958:1998]
set xtics scale 0.5 1960,10
set yrange [310:370]
set ytics 320,10
plot $levels using 1:2 with linespoints pointtype 7 pointsize 0.8 linecolor '#3b7db8' linewidth 1.5

set tmargin at screen 0.375
set bmargin at screen 0.085
set title 'Its rise from year to year, ppm'
set xlabel 'year' offset 0,0.4
set yrange [0:2.6]
set ytics 0,0.5
set boxwidth 0.7
set style fill solid
plot $levels using 1:3 with boxes linecolor '#a6c8e4'
unset multiplot
)";

void draw(const Tour& tour, const Arithmetic& arithmetic, const Column& co2, std::deque<Spline>& splines,
          const Levels& levels) {
    const auto in_months = [&](const Column& time) {
        return arithmetic.times(arithmetic.minus(time, shown_year), double(months_a_year));
    };
    Column time;
    for (int i = -40; i <= 520; ++i) time.push_back(shown_year + i / 480.0);
    std::vector<Column> curves{in_months(time)}, slopes{curves};
    for (Spline& spline : splines) {
        curves.push_back(spline.at(time, 0));
        slopes.push_back(arithmetic.over(spline.at(time, 1), double(months_a_year)));
    }
    std::array<Column, 2> point_time, point; // seen or not
    const auto first = static_cast<std::size_t>(shown_year - first_year) * months_a_year;
    for (std::size_t month = first - 1; month < first + months_a_year + 1; ++month) {
        point_time.at(month % spacing != 0).push_back(middle_of(month));
        point.at(month % spacing != 0).push_back(co2[month]);
    }
    Column rise{NAN};
    for (std::size_t i = 1; i < levels.mean.size(); ++i) rise.push_back(levels.mean[i] - levels.mean[i - 1]);

    Plot plot(tour.pictures, "splines", 1500, 1050);
    plot.data("curves", curves);
    plot.data("slopes", slopes);
    plot.data("points", {in_months(point_time[0]), point[0]});
    plot.data("unseen", {in_months(point_time[1]), point[1]});
    plot.data("levels", {levels.year, levels.mean, rise});
    plot.script("year = '" + number(shown_year, 0) + "'\n");
    plot.script(drawing);
    plot.draw_and_tell(std::cout);
}

} // namespace

void splines(const Tour& tour) {
    heading(std::cout, "6  Curves through points");
    const Column co2 = csv::read(tour.data / "co2.csv", co2_months).copy("co2_ppm");
    std::cout << "A cubic spline joins points by polynomials of degree 3. What its kinds differ in are the slopes at\n"
                 "the points. Six of them, through every third month of the CO2 record:\n\n"
                 "    nvo_df_kernel_dNewTask1D(&task, 156, ends, DF_GRID_EVEN, 1, co2, DF_Y_DEFAULT, 0);\n"
                 "    nvo_df_kernel_dEditPPSpline1D(task, 4, DF_TYPE_AKIMA, DF_BC_FREE_END, 0, 0, 0, coeff, 0);\n"
                 "    nvo_df_kernel_dDFAkimaCubicSpline1D(task, 0, 0, 0);\n"
                 "    nvo_df_kernel_dDFInterpolate1D(task, 1, 0, n, time, DF_SITE_SORTED, ...);\n\n";
    const Arithmetic arithmetic(tour.library);
    std::deque<Spline> splines = splines_through(tour.library, co2);
    show_kinds(arithmetic, co2, splines);
    Spline monthly(tour.library, {middle_of(0), middle_of(co2.size() - 1)}, co2, DF_TYPE_NATURAL);
    const Levels levels = levels_of(monthly);
    show_levels(arithmetic, monthly, levels);
    draw(tour, arithmetic, co2, splines, levels);
}
