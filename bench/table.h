// Tables that grow while they are measured: aligned for the terminal, or in Markdown.
#pragma once

#include <string>
#include <vector>

namespace bench {

struct Column {
    std::string title;
    int width;
    bool text = false; // left-aligned
};

class Table {
public:
    Table(bool markdown, std::vector<Column> columns);
    ~Table(); // an empty line
    Table(const Table&) = delete;
    Table& operator=(const Table&) = delete;

    void line(const std::vector<std::string>& cells);

private:
    bool markdown_;
    std::vector<Column> columns_;
};

std::string decimal(double x, int places);

} // namespace bench
