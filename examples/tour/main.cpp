// A tour of the library on real data, as a front end sees it: the library is loaded at run time and its functions are
// found by name.
#include "chapters.h"
#include "nvo_ark/vector_math.h"

#include <cstdio>
#include <iostream>
#include <string_view>

namespace {

namespace fs = std::filesystem;

constexpr const char* usage =
    "usage: tour [--library PATH] [--data DIR] [--out DIR]\n"
    "       tour [--library PATH] --go-on FILE\n"
    "  --library  the library to load, instead of libnvo_ark_cmpt.so.2 as the loader finds it\n"
    "  --data     folder of the data sets (default: examples/data, here or beside build/)\n"
    "  --out      folder to write pictures to (default: tour/ beside the program's folder)\n"
    "  --go-on    print the next numbers of the saved random stream\n";

struct Options {
    std::string library = "libnvo_ark_cmpt.so.2";
    fs::path data;
    fs::path out;
    fs::path image; // of a stream: then its next numbers are all that is wanted
    bool help = false;
};

bool parse(int count, char** arguments, Options& options) {
    for (int i = 1; i < count; ++i) {
        const std::string_view option = arguments[i];
        if (option == "--help") {
            options.help = true;
            continue;
        }
        const char* const value = i + 1 < count ? arguments[++i] : nullptr;
        if (!value || !*value) return false;
        if (option == "--library")
            options.library = value;
        else if (option == "--data")
            options.data = value;
        else if (option == "--out")
            options.out = value;
        else if (option == "--go-on")
            options.image = value;
        else
            return false;
    }
    return true;
}

// The program lies in build/bin: its pictures go to build/tour, and the data are in the source tree around build.
void fill_defaults(Options& options) {
    const fs::path build = fs::canonical("/proc/self/exe").parent_path().parent_path();
    const fs::path here = "examples/data";
    if (options.data.empty()) options.data = fs::exists(here) ? here : build.parent_path() / here;
    if (options.out.empty()) options.out = build / "tour";
}

void run(const Options& options) {
    const Library library(options.library);
    if (!options.image.empty()) return go_on(library, options.image);
    const auto level = NVO_FIND(library, dll_cpu_version);
    const auto mode = NVO_FIND(library, _arkGetMode);
    char mode_word[16];
    std::snprintf(mode_word, sizeof mode_word, "0x%X", mode());
    std::cout << "A tour of nvo_ark on real data\n\n"
              << "Loaded at run time: " << library.file_of("dll_cpu_version").string() << "\n"
              << "Every function is found in it by name; the program isn't linked with it. Processor level " << level()
              << ",\nmode word of this thread " << mode_word << ".\n";

    if (!fs::is_directory(options.data))
        throw std::runtime_error(options.data.string() + " is no folder of data sets; --data names another");
    const Tour tour{library, options.data, options.out};
    air_quality(tour);
    bad_elements(tour);
    co2_growth(tour);
    monte_carlo(tour);
    summaries(tour);
    splines(tour);
}

} // namespace

int main(int count, char** arguments) {
    Options options;
    if (!parse(count, arguments, options)) {
        std::cerr << usage;
        return 2;
    }
    if (options.help) {
        std::cout << usage;
        return 0;
    }
    try {
        fill_defaults(options);
        run(options);
    } catch (const std::exception& error) {
        std::cout.flush();
        std::cerr << "tour: " << error.what() << '\n';
        return 1;
    }
    if (!std::cout.flush()) {
        std::cerr << "tour: standard output can't be written\n";
        return 1;
    }
    return 0;
}
