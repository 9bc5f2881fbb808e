// What the tour writes to the terminal: headings and aligned tables.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

enum class Align { left, right };

// Columns of text. Each has a heading and, if any column has one, a second line for units.
class Table {
public:
    struct Column {
        std::string heading;
        std::string unit = {};
        Align align = Align::right;
    };

    explicit Table(std::vector<Column> columns) : columns(std::move(columns)) {}

    void row(std::vector<std::string> cells) {
        cells.resize(columns.size());
        rows.push_back(std::move(cells));
    }

    friend std::ostream& operator<<(std::ostream& out, const Table& table) {
        std::vector<std::string> headings, units;
        std::vector<std::size_t> widths;
        std::size_t total = 0;
        for (std::size_t i = 0; i < table.columns.size(); ++i) {
            headings.push_back(table.columns[i].heading);
            units.push_back(table.columns[i].unit);
            widths.push_back(std::max(width(headings[i]), width(units[i])));
            for (const auto& row : table.rows) widths[i] = std::max(widths[i], width(row[i]));
            total += widths[i] + (i ? gap : 0);
        }
        table.line(out, headings, widths);
        if (std::ranges::any_of(units, [](const auto& unit) { return !unit.empty(); })) table.line(out, units, widths);
        out << "  " << repeated("─", total) << '\n';
        for (const auto& row : table.rows) table.line(out, row, widths);
        return out << '\n';
    }

    static std::string repeated(std::string_view text, std::size_t times) {
        std::string all;
        while (times--) all += text;
        return all;
    }

    // In characters of UTF-8 text, each taken to fill one place of the terminal.
    static std::size_t width(std::string_view text) {
        return static_cast<std::size_t>(std::ranges::count_if(text, [](char c) { return (c & 0xC0) != 0x80; }));
    }

private:
    static constexpr std::size_t gap = 3;

    void line(std::ostream& out, const std::vector<std::string>& cells, const std::vector<std::size_t>& widths) const {
        std::string text;
        for (std::size_t i = 0; i < cells.size(); ++i) {
            const std::string padding(widths[i] - width(cells[i]), ' ');
            text += i ? std::string(gap, ' ') : "  ";
            text += columns[i].align == Align::left ? cells[i] + padding : padding + cells[i];
        }
        text.erase(text.find_last_not_of(' ') + 1);
        out << text << '\n';
    }

    std::vector<Column> columns;
    std::vector<std::vector<std::string>> rows;
};

inline void heading(std::ostream& out, const std::string& text) {
    out << '\n' << text << '\n' << Table::repeated("━", Table::width(text)) << "\n\n";
}

// The value with that many decimals; it should be rounded already. A zero is written without a sign.
inline std::string number(double value, int decimals) {
    if (std::isnan(value)) return "NaN";
    if (std::isinf(value)) return value > 0 ? "∞" : "-∞";
    char text[512]; // the largest double has 309 digits
    std::snprintf(text, sizeof text, "%.*f", decimals, value == 0 ? 0 : value);
    return text;
}
