// Chapter 1: a table of measurements with holes in it. Units, roots and reciprocals on whole columns, and a picture.
#include "arithmetic.h"
#include "chapters.h"
#include "csv.h"
#include "error_mode.h"
#include "nvo_ark/vector_math.h"
#include "plot.h"
#include "table.h"

#include <array>
#include <iostream>
#include <numeric>

namespace {

constexpr std::array month_names{"May", "June", "July", "August", "September"};
constexpr int first_month = 5;

struct Summer {
    Column month, day;
    Column ozone;                                  // ppb, with missing days
    Column langleys, mph, fahrenheit;              // as measured
    Column megajoules, metres_per_second, celsius; // converted
};

std::string date(const Summer& summer, std::size_t i) {
    return std::string(month_names.at(static_cast<std::size_t>(summer.month[i]) - first_month)) + ' ' +
           number(summer.day[i], 0);
}

// Those elements of `column` whose element of `chooser` is accepted.
template <class Accept> Column selected(const Column& column, const Column& chooser, Accept accept) {
    Column chosen;
    for (std::size_t i = 0; i < column.size(); ++i)
        if (accept(chooser[i])) chosen.push_back(column[i]);
    return chosen;
}

bool measured(double value) { return !std::isnan(value); }

// An order of measurements in which a missing one comes before all others.
bool below(double a, double b) { return measured(b) && (!measured(a) || a < b); }

// ---- Units -----------------------------------------------------------------------------------------------------

// The calls read the records where they lie: a column is a vector whose stride is the length of a record. A constant is
// a vector too, of stride 0.
Summer converted(const Library& library, const Records& records) {
    const auto sub = NVO_FIND(library, _arkdSubI);
    const auto mul = NVO_FIND(library, _arkdMulI);

    const std::int32_t n = records.count(), stride = records.width();
    Summer summer{records.copy("Month"),
                  records.copy("Day"),
                  records.copy("Ozone"),
                  records.copy("Solar.R"),
                  records.copy("Wind"),
                  records.copy("Temp"),
                  Column(n),
                  Column(n),
                  Column(n)};

    for (const double month : summer.month)
        if (!(month >= first_month && month < first_month + static_cast<int>(month_names.size())))
            throw std::runtime_error("the data have a day outside May to September");

    const double freezing_point = 32, celsius_in_fahrenheit = 5.0 / 9;
    sub(n, records.column("Temp"), stride, &freezing_point, 0, summer.celsius.data(), 1);
    mul(n, summer.celsius.data(), 1, &celsius_in_fahrenheit, 0, summer.celsius.data(), 1);

    const double mile_per_hour = 0.44704, langley = 0.04184;
    mul(n, records.column("Wind"), stride, &mile_per_hour, 0, summer.metres_per_second.data(), 1);
    mul(n, records.column("Solar.R"), stride, &langley, 0, summer.megajoules.data(), 1);
    return summer;
}

void show_units(const Arithmetic& arithmetic, const Summer& summer, int stride) {
    std::cout << "Units. Whole columns are converted by calls on the records as they lie in memory: there the\n"
              << "temperature is a vector of stride " << stride << ". A constant is a vector of stride 0.\n\n"
              << "    _arkdSubI(n, temp, " << stride << ", &freezing_point, 0, celsius, 1);                °F - 32\n"
              << "    _arkdMulI(n, celsius, 1, &celsius_in_fahrenheit, 0, celsius, 1);    × 5/9, in place\n\n";
    Table table({{"day", {}, Align::left},
                 {"ozone", "ppb"},
                 {"radiation", "langley"},
                 {"", "MJ/m²"},
                 {"wind", "mph"},
                 {"", "m/s"},
                 {"temperature", "°F"},
                 {"", "°C"}});
    const auto text = [&](const Column& column, std::size_t i, int decimals) {
        return measured(column[i]) ? arithmetic.text(column[i], decimals) : "·";
    };
    for (std::size_t i = 0; i < 7; ++i)
        table.row({date(summer, i), text(summer.ozone, i, 0), text(summer.langleys, i, 0),
                   text(summer.megajoules, i, 1), text(summer.mph, i, 1), text(summer.metres_per_second, i, 1),
                   text(summer.fahrenheit, i, 0), text(summer.celsius, i, 1)});
    std::cout << table << "A dot is a missing value. It goes through every call as a NaN and is never reported.\n\n";
}

// Mean ozone of each month, on the way.
Column show_months(const Arithmetic& arithmetic, const Summer& summer) {
    Table table({{"month", {}, Align::left},
                 {"days with", "ozone"},
                 {"ozone", "ppb"},
                 {"± deviation"},
                 {"radiation", "MJ/m²"},
                 {"wind", "m/s"},
                 {"temperature", "°C"}});
    Column means;
    for (std::size_t m = 0; m < month_names.size(); ++m) {
        const auto of_month = [&](const Column& column) {
            return selected(column, summer.month,
                            [&](double month) { return month == static_cast<double>(m) + first_month; });
        };
        const Column ozone = of_month(summer.ozone);
        means.push_back(arithmetic.mean(ozone));
        table.row({month_names[m], std::to_string(Arithmetic::present(ozone)) + " of " + std::to_string(ozone.size()),
                   arithmetic.text(means[m], 1), arithmetic.text(arithmetic.deviation(ozone), 1),
                   arithmetic.text(arithmetic.mean(of_month(summer.megajoules)), 1),
                   arithmetic.text(arithmetic.mean(of_month(summer.metres_per_second)), 1),
                   arithmetic.text(arithmetic.mean(of_month(summer.celsius)), 1)});
    }
    std::cout << "The summer by month, as means of the days that have a value.\n\n" << table;
    return means;
}

// ---- Roots and reciprocals -------------------------------------------------------------------------------------

// Counts reports by status. A callback gets no pointer of the caller's, so the counts belong to the thread, as the
// callback itself does.
thread_local std::array<int, ARK_STATUS_UNDERFLOW + 1> reports;

std::int32_t count_report(ArkErrorRecord* record) {
    ++reports[static_cast<std::size_t>(record->status)];
    return 0;
}

// Calls the function on the column and gives a row of the table: what went in, and what was reported.
void count_reports(Table& table, const Library& library, const std::string& call, ark_fn_U_unit_d* function,
                   const Column& a) {
    reports = {};
    Column y(a.size());
    {
        const ErrorMode counting(library, ARK_ERRMODE_CALLBACK, count_report);
        function(static_cast<std::int32_t>(a.size()), a.data(), y.data());
    }

    const auto out = [&](auto test) { return std::to_string(std::ranges::count_if(y, test)); };
    table.row({call, std::to_string(a.size() - static_cast<std::size_t>(Arithmetic::present(a))),
               std::to_string(reports[ARK_STATUS_DOMAIN]), std::to_string(reports[ARK_STATUS_SINGULARITY]),
               out([](double value) { return std::isfinite(value); }),
               out([](double value) { return std::isnan(value); }),
               out([](double value) { return std::isinf(value); })});
}

void show_roots(const Library& library, const Arithmetic& arithmetic, const Summer& summer) {
    // What a front end does that honours the accuracy which the thread has chosen: it takes the slot of the kernel
    // table from the mode word.
    const auto slot = NVO_FIND(library, nvo_ark_kernel_GetTTableIndex)();
    const auto square_root = (*NVO_FIND(library, nvo_ark_kernel_dSqrt_ttab))[slot];
    const auto reciprocal = (*NVO_FIND(library, nvo_ark_kernel_dInv_ttab))[slot];

    const Column anomaly = arithmetic.minus(summer.ozone, arithmetic.mean(summer.ozone));
    const Column today(summer.celsius.begin() + 1, summer.celsius.end());
    const Column yesterday(summer.celsius.begin(), summer.celsius.end() - 1);
    Table table({{"call", {}, Align::left},
                 {"missing"},
                 {"reported:", "domain"},
                 {"", "pole"},
                 {"results:", "finite"},
                 {"", "NaN"},
                 {"", "∞"}});
    count_reports(table, library, "Sqrt(ozone)", square_root, summer.ozone);
    count_reports(table, library, "Inv(wind)", reciprocal, summer.metres_per_second);
    count_reports(table, library, "Sqrt(ozone - its mean)", square_root, anomaly);
    count_reports(table, library, "Inv(change of temperature since yesterday)", reciprocal,
                  arithmetic.minus(today, yesterday));
    std::cout << "Roots and reciprocals. Each function is taken from slot " << slot
              << " of its kernel table, which is that of\n"
                 "this thread's accuracy. A callback counts the elements that are reported: the root of a\n"
                 "negative number is outside the domain, 1/0 is a pole. A call always runs to the end.\n\n"
              << table;
}

void show_correlations(const Arithmetic& arithmetic, const Column& ozone, const Column& celsius, const Column& wind) {
    const Column root = arithmetic.root(ozone);
    Table table({{"correlation with", {}, Align::left}, {"ozone"}, {"√ozone"}});
    const auto row = [&](const char* name, const Column& x) {
        table.row({name, arithmetic.text(arithmetic.line(x, ozone).correlation, 3),
                   arithmetic.text(arithmetic.line(x, root).correlation, 3)});
    };
    row("temperature", celsius);
    row("wind", wind);
    row("1 / wind", arithmetic.over(1.0, wind));
    std::cout << "What they are good for: hot days have more ozone, and so do calm days, but along curves. A\n"
                 "straight line comes nearest for √ozone against the temperature, and for ozone itself against\n"
                 "the reciprocal of the wind.\n\n"
              << table;
}

// ---- The picture -----------------------------------------------------------------------------------------------

// Three panels that share one colour scale, the wind. Everything they show stands in data blocks:
//   $days    day of the summer, ozone, temperature, wind, √ozone
//   $missing days without ozone
//   $months  first and last day, mean ozone
//   $line    temperature, √ozone on the line, its square
constexpr const char* drawing = R"(
set palette defined (0 '#a50026', 0.25 '#f46d43', 0.5 '#c9b458', 0.75 '#5aa9c8', 1 '#313695')
set cbrange [0.5:9.5]
set border 3 linecolor '#888888'
set tics nomirror textcolor '#333333'
set grid ytics linetype 1 linecolor '#e6e6e6' linewidth 1
set title font ',15' textcolor '#222222'
set key textcolor '#333333' Left reverse samplen 1.5 spacing 1.2
unset colorbox

set multiplot title "{/:Bold The air of New York, May to September 1973}\n{/*0.75 Ozone rises with the heat, and most on days with little wind}" font ',19'

set lmargin at screen 0.055
set rmargin at screen 0.905
set tmargin at screen 0.875
set bmargin at screen 0.55
set title 'Day by day' offset 0,-0.3
set ylabel 'ozone, ppb' offset 1
set xrange [0:154]
set yrange [-9:178]
set ytics 0,50
set xtics scale 0 ('May' 16, 'June' 46.5, 'July' 77, 'August' 108, 'September' 138.5)
set for [first in '31.5 61.5 92.5 123.5'] arrow from real(first),-9 to real(first),178 nohead linecolor '#d0d0d0' dashtype 3
set key top left horizontal
set label 1 peak_text at peak_day,peak_ozone right offset -1.2,0 font ',11' textcolor '#444444'
plot $days using 1:(0):(0):2 with vectors nohead linecolor '#cccccc' linewidth 1.5 notitle, \
     $months using 1:3:($2-$1):(0) with vectors nohead linecolor '#444444' linewidth 2 title 'mean of the month', \
     $days using 1:2:4 with points pointtype 7 pointsize 1.15 linecolor palette notitle, \
     $missing using 1:(-4) with points pointtype 2 pointsize 0.75 linecolor '#999999' linewidth 1.5 title 'no measurement'
unset arrow
unset label 1

set tmargin at screen 0.445
set bmargin at screen 0.085
set rmargin at screen 0.455
set title 'Against the temperature'
set xlabel 'highest temperature of the day, °C' offset 0,0.4
set xrange [13:37]
set xtics scale 0.5 15,5
set yrange [0:196]
set key top left vertical
plot $line using 1:3 with lines linecolor '#444444' linewidth 2 title 'the straight line on the right, squared', \
     $days using 3:2:4 with points pointtype 7 pointsize 1.25 linecolor palette notitle, \
     $days using 3:2 with points pointtype 6 pointsize 1.25 linecolor '#80ffffff' notitle

set lmargin at screen 0.51
set rmargin at screen 0.905
set title 'The square root is nearer to a straight line'
set ylabel '√ozone'
set yrange [0:15]
set ytics 0,2
set colorbox user origin 0.93,0.16 size 0.013,0.60
set cblabel 'wind, m/s' offset 0.3 textcolor '#333333'
set cbtics 1,2
plot $line using 1:2 with lines linecolor '#444444' linewidth 2 title line_title, \
     $days using 3:5:4 with points pointtype 7 pointsize 1.25 linecolor palette notitle, \
     $days using 3:5 with points pointtype 6 pointsize 1.25 linecolor '#80ffffff' notitle
unset multiplot
)";

// First and last day of each month and its mean, days counted from 1.
std::vector<Column> months_of(const Summer& summer, const Column& means) {
    Column first, last;
    for (std::size_t m = 0; m < means.size(); ++m) {
        const auto same = [&](double month) { return month == static_cast<double>(m) + first_month; };
        const auto begin = std::ranges::find_if(summer.month, same);
        first.push_back(static_cast<double>(begin - summer.month.begin()) + 1);
        last.push_back(first.back() + static_cast<double>(std::ranges::count_if(summer.month, same)) - 1);
    }
    return {first, last, means};
}

void draw(const Tour& tour, const Arithmetic& arithmetic, const Summer& summer, const Column& month_means,
          const Arithmetic::Line& line) {
    Column day_number(summer.ozone.size()), grid;
    std::iota(day_number.begin(), day_number.end(), 1);
    for (int quarters = 54; quarters <= 146; ++quarters) grid.push_back(quarters / 4.0); // °C, the panels' width
    const Column root = arithmetic.plus(arithmetic.times(grid, line.slope), line.intercept);

    Plot plot(tour.pictures, "airquality", 1500, 1050);
    plot.data("days",
              {day_number, summer.ozone, summer.celsius, summer.metres_per_second, arithmetic.root(summer.ozone)});
    plot.data("missing", {selected(day_number, summer.ozone, [](double ozone) { return !measured(ozone); })});
    plot.data("months", months_of(summer, month_means));
    plot.data("line", {grid, root, arithmetic.squared(root)});
    plot.script("line_title = '√ozone = " + arithmetic.text(line.intercept, 2) + " + " +
                arithmetic.text(line.slope, 2) + " · temperature,  correlation " +
                arithmetic.text(line.correlation, 2) + "'\n");
    const auto peak = static_cast<std::size_t>(std::ranges::max_element(summer.ozone, below) - summer.ozone.begin());
    plot.script("peak_day = " + std::to_string(day_number[peak]) +
                "; peak_ozone = " + std::to_string(summer.ozone[peak]) + "; peak_text = '" + date(summer, peak) + ": " +
                arithmetic.text(summer.ozone[peak], 0) + " ppb'\n");
    plot.script(drawing);
    plot.draw_and_tell(std::cout);
}

} // namespace

void air_quality(const Tour& tour) {
    heading(std::cout, "1  A summer of New York air");
    const auto file = tour.data / "airquality.csv";
    const Records records = csv::read(file, air_quality_days);
    std::cout << "Ozone, sunshine, wind and temperature of " << records.count() << " days in 1973, from "
              << file.string() << ".\n\n";

    const Arithmetic arithmetic(tour.library);
    const Summer summer = converted(tour.library, records);
    show_units(arithmetic, summer, records.width());
    const Column month_means = show_months(arithmetic, summer);
    show_roots(tour.library, arithmetic, summer);

    const Column ozone = selected(summer.ozone, summer.ozone, measured);
    const Column celsius = selected(summer.celsius, summer.ozone, measured);
    show_correlations(arithmetic, ozone, celsius, selected(summer.metres_per_second, summer.ozone, measured));
    draw(tour, arithmetic, summer, month_means, arithmetic.line(celsius, arithmetic.root(ozone)));
}
