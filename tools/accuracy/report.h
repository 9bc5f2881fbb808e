// Findings as text: the table on the terminal, and docs/accuracy.md.
#pragma once

#include "tools/accuracy/scalars.h"
#include "tools/accuracy/survey.h"

#include <map>
#include <string>
#include <vector>

namespace nvo::accuracy {

void print_head(const std::vector<std::string>& peer_columns);
// One line. The directions other than to nearest get one only if they fail.
void print_line(const Finding& finding);
// What went wrong where, and the command that shows it again.
void print_failure(const Finding& finding);

// The same for functions of one value.
void print_scalar_head(const std::string& peer_column);
void print_line(const ScalarFinding& finding);
void print_failure(const ScalarFinding& finding);

// The page. It is read first, and the lines of rows without new findings stay, so that a part of the rows can be
// measured anew.
class Page {
public:
    Page(std::string file, std::vector<std::string> peer_columns);
    void add(const std::vector<Finding>& findings);
    void add(const std::vector<ScalarFinding>& findings);
    void write() const;

private:
    using Lines = std::map<std::string, std::vector<std::string>>; // by row
    std::string file_;
    std::vector<std::string> peer_columns_;
    Lines all_floats_, samples_, scalars_;

    void read();
    std::string table(const Lines& lines) const;
    std::string scalar_table() const;
};

} // namespace nvo::accuracy
