// Reads a CSV file of numbers with a header line. An empty field is a missing value and becomes a NaN.
#pragma once

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

// The rows of a file as it has them, one behind the other: an array of records. A column is the vector that starts at
// its field of the first record and has the number of columns for stride.
struct Records {
    std::vector<std::string> names;
    std::vector<double> fields;
    std::vector<std::string> labels = {}; // texts of columns that hold text: their fields are places in this list

    std::int32_t width() const { return static_cast<std::int32_t>(names.size()); }
    std::int32_t count() const { return static_cast<std::int32_t>(fields.size() / names.size()); }
    const double* column(std::string_view name) const {
        const auto found = std::ranges::find(names, name);
        if (found == names.end()) throw std::runtime_error("the data have no column named " + std::string(name));
        return fields.data() + (found - names.begin());
    }
    // The same, copied out of the records.
    std::vector<double> copy(std::string_view name) const {
        const double* const first = column(name);
        std::vector<double> values;
        for (std::ptrdiff_t i = 0; i < count(); ++i) values.push_back(first[i * width()]);
        return values;
    }
};

namespace csv {

inline std::string_view trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(" \t\r");
    if (first == text.npos) return {};
    return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

inline std::vector<std::string_view> split(std::string_view line) {
    std::vector<std::string_view> parts;
    for (;;) {
        const auto comma = line.find(',');
        parts.push_back(trimmed(line.substr(0, comma)));
        if (comma == line.npos) return parts;
        line.remove_prefix(comma + 1);
    }
}

// False for anything but a finite number or nothing at all.
inline bool parse(std::string_view text, double& value) {
    value = std::numeric_limits<double>::quiet_NaN();
    if (text.empty()) return true;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size() && std::isfinite(value);
}

// The exception tells the file and, behind it, the line.
[[noreturn]] inline void fail(const std::filesystem::path& path, int line, const std::string& what) {
    std::ostringstream message;
    message << path.string();
    if (line) message << ':' << line;
    message << ": " << what;
    throw std::runtime_error(message.str());
}

// The place of a text in the list of labels, at whose end it is put if it's new.
inline double place_of(std::string_view text, std::vector<std::string>& labels) {
    const auto found = std::ranges::find(labels, text);
    const auto place = found - labels.begin();
    if (found == labels.end()) labels.emplace_back(text);
    return static_cast<double>(place);
}

// A file of another number of rows is refused. Columns hold numbers, but for those named in `text`.
inline Records read(const std::filesystem::path& path, std::int32_t rows, const std::vector<std::string>& text = {}) {
    errno = 0;
    std::ifstream file(path);
    std::string line;
    if (!std::getline(file, line)) fail(path, 0, errno ? std::strerror(errno) : "the file is empty");

    Records records;
    for (const auto name : split(line)) records.names.emplace_back(name);
    for (int number = 2; std::getline(file, line); ++number) {
        if (trimmed(line).empty()) continue;
        const auto parts = split(line);
        if (parts.size() != records.names.size())
            fail(path, number, "the number of fields isn't that of the header line");
        for (std::size_t i = 0; i < parts.size(); ++i) {
            double value;
            if (std::ranges::count(text, records.names[i]))
                value = place_of(parts[i], records.labels);
            else if (!parse(parts[i], value))
                fail(path, number, records.names[i] + " is no number: \"" + std::string(parts[i]) + '"');
            records.fields.push_back(value);
        }
    }
    if (file.bad()) fail(path, 0, std::strerror(errno));
    if (records.count() != rows)
        fail(path, 0, std::to_string(records.count()) + " rows, where " + std::to_string(rows) + " are expected");
    return records;
}

} // namespace csv
