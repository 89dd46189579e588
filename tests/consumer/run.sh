#!/usr/bin/env bash
# Installs a built KzUtil into a scratch prefix, then builds the consumer program
# against it twice, through find_package(KzUtil) and through pkg-config, and
# runs both.
#   run.sh BUILD_DIR VERSION [EXTRA_CXX_FLAGS]
set -euo pipefail

build_dir=$1
version=$2
flags=${3:-}
here=$(cd "$(dirname "$0")" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
prefix=$scratch/prefix

fail() {
  echo "consumer: $*" >&2
  exit 1
}

# Runs the command "$@" and compares what it writes.
expect_output() {
  local expected actual
  expected=$(printf 'WRN:consumer - KzUtil %s\n2012-06-30 23:59:60' "$version")
  actual=$("$@") || fail "$* exited with $?"
  [[ $actual == "$expected" ]] || fail "$* wrote '$actual', expected '$expected'"
}

cmake --install "$build_dir" --prefix "$prefix" >/dev/null
[[ -f $prefix/include/KzUtil/ErrorLogger.h ]] || fail "headers not in include/KzUtil"
[[ -f $prefix/lib/libKzUtil.so.$version ]] || fail "library not in lib/"
soname=$(objdump -p "$prefix/lib/libKzUtil.so" | awk '$1 == "SONAME" { print $2 }')
[[ $soname == "libKzUtil.so.${version%%.*}" ]] || fail "soname is '$soname'"

# The package is found through the prefix alone, never through the build tree.
cmake -S "$here" -B "$scratch/with-cmake" -DCMAKE_PREFIX_PATH="$prefix" \
  -DCMAKE_CXX_FLAGS="$flags" -DCMAKE_FIND_PACKAGE_NO_PACKAGE_REGISTRY=ON >/dev/null
cmake --build "$scratch/with-cmake" >/dev/null
expect_output "$scratch/with-cmake/consumer"

export PKG_CONFIG_PATH=$prefix/lib/pkgconfig
[[ $(pkg-config --modversion kzutil) == "$version" ]] || fail "kzutil.pc has the wrong version"
# shellcheck disable=SC2046,SC2086 # pkg-config and the flags are word lists
g++ -std=c++17 $flags "$here/consumer.cc" -o "$scratch/with-pkg-config" \
  $(pkg-config --cflags --libs kzutil)
expect_output env LD_LIBRARY_PATH="$prefix/lib" "$scratch/with-pkg-config"
echo "consumer: installed package works with CMake and pkg-config"
