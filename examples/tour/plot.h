// A picture: a gnuplot script with its data inside, and the run of gnuplot that draws it.
#pragma once

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

class Plot {
public:
    // <name>.gnuplot and <name>.png in the directory, which is made if it isn't there.
    Plot(std::filesystem::path directory, std::string name, int width, int height)
        : directory(std::move(directory)), name(std::move(name)) {
        text = "# Draw again with: gnuplot " + script_name() +
               "\n"
               "set encoding utf8\n"
               "set terminal pngcairo size " +
               std::to_string(width) + "," + std::to_string(height) +
               " font 'DejaVu Sans,12.5' background '#ffffff'\n"
               "set output '" +
               this->name + ".png'\n\n";
    }

    // The data block $<name>: element i of each vector in line i.
    void data(const std::string& name, const std::vector<std::vector<double>>& columns) {
        text += "$" + name + " << end_of_data\n";
        for (std::size_t i = 0; i < columns.at(0).size(); ++i) {
            for (const auto& column : columns) text += shortest(column.at(i)) + ' ';
            text += '\n';
        }
        text += "end_of_data\n\n";
    }

    void script(const std::string& lines) { text += lines; }

    std::filesystem::path picture() const { return directory / (name + ".png"); }

    // False if there is no gnuplot; any other failure is an exception.
    bool draw() const {
        write_script();
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addchdir_np(&actions, directory.c_str());
        std::string program = "gnuplot", option = "--default-settings", script = script_name();
        char* arguments[] = {program.data(), option.data(), script.data(), nullptr};
        // Gnuplot complains of UTF-8 in the script where the locale has another encoding.
        std::string locale = "LC_ALL=C.UTF-8";
        std::vector<char*> environment{locale.data()};
        for (char** variable = environ; *variable; ++variable)
            if (!std::string_view(*variable).starts_with("LC_ALL=")) environment.push_back(*variable);
        environment.push_back(nullptr);
        pid_t child;
        const int failure = posix_spawnp(&child, program.c_str(), &actions, nullptr, arguments, environment.data());
        posix_spawn_file_actions_destroy(&actions);
        if (failure == ENOENT) return false;
        if (failure) throw std::runtime_error("gnuplot can't be run: " + std::string(std::strerror(failure)));

        int status;
        while (waitpid(child, &status, 0) < 0)
            if (errno != EINTR) throw std::runtime_error("waiting for gnuplot: " + std::string(std::strerror(errno)));
        if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
            throw std::runtime_error("gnuplot couldn't draw " + (directory / script_name()).string());
        return true;
    }

    void draw_and_tell(std::ostream& out) const {
        out << "The picture: " << std::flush;
        if (draw())
            out << picture().string() << '\n';
        else
            out << "not drawn, since there is no gnuplot here (Debian: apt-get install gnuplot-nox).\n";
    }

private:
    std::string script_name() const { return name + ".gnuplot"; }

    void write_script() const {
        std::error_code error;
        std::filesystem::create_directories(directory, error);
        errno = 0;
        std::ofstream file(directory / script_name());
        file << text;
        file.close();
        if (!file)
            throw std::runtime_error("the picture can't be written to " + directory.string() + ": " +
                                     (error ? error.message() : std::strerror(errno)));
    }

    static std::string shortest(double value) {
        if (std::isnan(value)) return "NaN";
        char digits[32];
        return {digits, std::to_chars(digits, digits + sizeof digits, value).ptr};
    }

    std::filesystem::path directory;
    std::string name;
    std::string text;
};
