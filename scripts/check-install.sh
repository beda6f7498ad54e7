#!/usr/bin/env bash
# Installs a build into a scratch prefix and builds the example consumer against it, through the
# CMake package and through pkg-config.
set -euo pipefail
build=$1
source=$(cd "$(dirname "$0")/.." && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

cmake --install "$build" --prefix "$scratch/prefix" >/dev/null
cmake -S "$source/examples/consumer" -B "$scratch/consumer" -DCMAKE_PREFIX_PATH="$scratch/prefix" >/dev/null
cmake --build "$scratch/consumer" >/dev/null
"$scratch/consumer/consumer"

export PKG_CONFIG_PATH="$scratch/prefix/lib/pkgconfig:$scratch/prefix/lib/$(gcc -print-multiarch)/pkgconfig"
c++ -std=c++17 "$source/examples/consumer/main.cpp" -o "$scratch/consumer-pc" \
    $(pkg-config --cflags --libs kesto2) -Wl,-rpath,"$(pkg-config --variable=libdir kesto2)"
"$scratch/consumer-pc"
