#include "bench/table.h"

#include <cstdio>
#include <utility>

namespace bench {

Table::Table(bool markdown, std::vector<Column> columns) : markdown_(markdown), columns_(std::move(columns)) {
    std::vector<std::string> titles, rules;
    for (const Column& column : columns_) {
        titles.push_back(column.title);
        rules.push_back(column.text ? "---" : "--:");
    }
    line(titles);
    if (markdown_) line(rules);
}

Table::~Table() { std::puts(""); }

void Table::line(const std::vector<std::string>& cells) {
    std::string out = markdown_ ? "|" : "";
    for (std::size_t i = 0; i < cells.size(); ++i) {
        const std::string gap(markdown_ ? 0 : std::max(0, columns_[i].width - static_cast<int>(cells[i].size())), ' ');
        const std::string cell = columns_[i].text ? cells[i] + gap : gap + cells[i];
        out += markdown_ ? " " + cell + " |" : (i == 0 ? "" : "  ") + cell;
    }
    std::puts(out.c_str());
    std::fflush(stdout);
}

std::string decimal(double x, int places) {
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", places, x);
    return text;
}

} // namespace bench
