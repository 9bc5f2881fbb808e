#!/usr/bin/env bash
# install.sh BUILD-DIRECTORY: installs the libraries, moves the installed tree, and uses it from there as others would:
# by CMake, by pkg-config and by the loader alone (the example in the README), in C and in C++.
set -euo pipefail
build=$1
cd -- "$(dirname -- "$0")/../.."
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export LC_ALL=C
unset LD_LIBRARY_PATH

cmake --install "$build" --prefix "$work/first place" >/dev/null
mv "$work/first place" "$work/prefix"
library_directory=$(dirname "$(find "$work/prefix" -name libnvo_ark_cmpt.so.2)")
export PKG_CONFIG_PATH=$library_directory/pkgconfig

echo "CMake, C and C++"
cmake -S tools/check/consumer -B "$work/consumer" -G Ninja -DCMAKE_PREFIX_PATH="$work/prefix" >/dev/null
cmake --build "$work/consumer" >/dev/null
"$work/consumer/consumer_c"
"$work/consumer/consumer_cpp"

strict=(-Wall -Wextra -Wpedantic -Werror)
read -ra flags < <(pkg-config --cflags --libs nvo_ark)
echo "pkg-config, C"
cc -std=c99 "${strict[@]}" tools/check/consumer/consumer.c -o "$work/c" "${flags[@]}" -Wl,-rpath,"$library_directory"
"$work/c"
echo "pkg-config, C++"
c++ -std=c++20 "${strict[@]}" -x c++ tools/check/consumer/consumer.c -x none -o "$work/cpp" "${flags[@]}" \
    -Wl,-rpath,"$library_directory"
"$work/cpp"

echo "the loader, C"
awk '/^```/ { here = $0 == "```c"; next } here' README.md >"$work/readme.c"
cc -std=c99 "${strict[@]}" "$work/readme.c" -o "$work/readme" "-I$work/prefix/include" -ldl
LD_LIBRARY_PATH=$library_directory "$work/readme"
