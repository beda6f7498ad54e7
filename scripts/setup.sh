#!/usr/bin/env bash
# Installs the Debian packages the project needs, and only those that are missing.
# Safe to run any number of times; `make demo` and `make test` run it first.
set -euo pipefail

packages=(
    # build
    build-essential cmake pkg-config
    # tests and benchmarks
    libgtest-dev libgmock-dev googletest libbenchmark-dev
    # the peer renderer the benchmarks compare against
    libsdl2-dev
    # EGL and GLES2 (Mesa's llvmpipe renders without a GPU) on a virtual X server
    libegl1-mesa-dev libgles2-mesa-dev libegl-mesa0 libgl1-mesa-dri libx11-dev
    xvfb x11-utils
    # the Android log API and NDK headers (bitmap access), as Debian ships them
    android-liblog-dev android-platform-frameworks-native-headers
    # Java binding, JVM tests and images
    default-jdk-headless junit4 libpng-dev
    # Android builds and their checks with the sysroot in shared/android
    clang-14 lld-14 llvm-14
)

missing=()
for package in "${packages[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed'; then
        missing+=("$package")
    fi
done

if [ ${#missing[@]} -eq 0 ]; then
    exit 0
fi

sudo=""
if [ "$(id -u)" -ne 0 ]; then
    if command -v sudo >/dev/null 2>&1; then
        sudo="sudo"
    else
        echo "setup: missing packages (${missing[*]}) and not root; install them as root." >&2
        exit 1
    fi
fi

echo "setup: installing ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
