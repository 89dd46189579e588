#!/usr/bin/env bash
# Builds the ini reader's fuzz target with clang (libFuzzer + AddressSanitizer +
# UndefinedBehaviorSanitizer) from the library sources and runs it for a bounded
# time, starting from a copy of the committed seed corpus. Fails on any crash,
# leak or sanitizer report.
#   bash tests/fuzz/run.sh            # 60 s
#   FUZZ_SECONDS=600 bash tests/fuzz/run.sh
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
root=$(cd "$here/../.." && pwd)
seconds=${FUZZ_SECONDS:-60}
build=$root/build/fuzz
compiler=clang++-14

# The compiler, its sanitizer runtimes and libFuzzer come from Debian packages.
have_toolchain() {
  command -v "$compiler" >/dev/null &&
    ls /usr/lib/llvm-14/lib/clang/*/lib/linux/libclang_rt.fuzzer-x86_64.a >/dev/null 2>&1 &&
    ls /usr/lib/llvm-14/lib/clang/*/lib/linux/libclang_rt.asan-x86_64.a >/dev/null 2>&1
}
if ! have_toolchain; then
  packages="clang clang-14 libclang-rt-14-dev libfuzzer-14-dev"
  export DEBIAN_FRONTEND=noninteractive
  apt-get install -y --no-install-recommends $packages ||
    { apt-get update && apt-get install -y --no-install-recommends $packages; }
  have_toolchain || { echo "fuzz: clang-14 with libFuzzer is not available" >&2; exit 1; }
fi

mkdir -p "$build"
flags=(-std=c++17 -g -O1 -fno-omit-frame-pointer -I"$root/src"
       -fsanitize=fuzzer,address,undefined -fno-sanitize-recover=all)
echo "fuzz: building $build/InifileFuzz"
"$compiler" "${flags[@]}" "$root"/src/*.cc "$here/InifileFuzz.cc" -o "$build/InifileFuzz"

run=$(mktemp -d "$build/run.XXXXXX")
mkdir "$run/corpus"
cp "$here"/corpus/* "$run/corpus/"
log=$run/fuzz.log
echo "fuzz: running for ${seconds} s from $(ls "$run/corpus" | wc -l) seeds"
status=0
TMPDIR=$run \
ASAN_OPTIONS=detect_leaks=1:allocator_may_return_null=0 \
UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
  "$build/InifileFuzz" -max_total_time="$seconds" -max_len=65536 -timeout=30 \
  -rss_limit_mb=2048 -print_final_stats=1 -artifact_prefix="$run/" "$run/corpus" \
  >"$log" 2>&1 || status=$?

if [ "$status" -ne 0 ] ||
   grep -qE 'ERROR: (AddressSanitizer|LeakSanitizer|libFuzzer)|runtime error:|SUMMARY: ' "$log"; then
  echo "fuzz: FAILED (status $status); log and crashing input in $run" >&2
  tail -n 80 "$log" >&2
  for input in "$run"/crash-* "$run"/leak-* "$run"/timeout-* "$run"/oom-*; do
    [ -e "$input" ] && { echo "--- $input" >&2; od -c "$input" | head -n 40 >&2; }
  done
  exit 1
fi
grep -E '^stat::(number_of_executed_units|peak_rss_mb)|^Done ' "$log" || true
echo "fuzz: passed; $(ls "$run/corpus" | wc -l) inputs in the grown corpus"
rm -rf "$run"
