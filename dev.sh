#!/usr/bin/env bash
# One entry point for people and CI:
#   ./dev.sh demo    build optimised and run the example
#   ./dev.sh test    build with sanitizers and run every test [preset: clang]
#   ./dev.sh tsan    build with ThreadSanitizer and run the multi-threaded tests
#   ./dev.sh bench   build optimised and run the benchmarks [filter]
#   ./dev.sh fuzz    build the fuzz targets with clang and run them [seconds]
# Each installs the Debian packages it needs first.
set -euo pipefail
cd "$(dirname "$0")"

jobs=$(nproc 2>/dev/null || echo 2)

need() {
  local missing=()
  for p in "$@"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'ok installed' || missing+=("$p")
  done
  [ ${#missing[@]} -eq 0 ] && return 0
  echo "installing: ${missing[*]}"
  local sudo=""
  [ "$(id -u)" -ne 0 ] && sudo="sudo"
  $sudo apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
}

base=(cmake ninja-build g++ make)

build() {
  cmake --preset "$1" >/dev/null
  cmake --build --preset "$1" -j "$jobs"
}

case "${1:-}" in
  demo)
    need "${base[@]}" libbenchmark-dev
    build release
    ./build/release/demo
    ;;
  test)
    preset="${2:-dev}"
    need "${base[@]}" libgtest-dev libgmock-dev
    [ "$preset" = clang ] && need clang
    build "$preset"
    ctest --test-dir "build/$preset" --output-on-failure -j "$jobs" --timeout 600
    ;;
  tsan)
    need "${base[@]}" libgtest-dev libgmock-dev
    build tsan
    ctest --test-dir build/tsan --output-on-failure -j "$jobs" --timeout 600 -R 'ManyThreads'
    ;;
  bench)
    need "${base[@]}" libbenchmark-dev
    build release
    shift
    for b in build/release/bench/bench_*; do
      [ -x "$b" ] || continue
      "$b" --benchmark_filter="${1:-.}"
    done
    ;;
  fuzz)
    need "${base[@]}" clang libclang-rt-14-dev
    build fuzz
    secs="${2:-60}"
    mkdir -p build/fuzz/corpus build/fuzz/findings
    found=0
    for f in build/fuzz/fuzz/fuzz_*; do
      [ -x "$f" ] || continue
      found=1
      name=$(basename "$f")
      corpus=build/fuzz/corpus/$name
      mkdir -p "$corpus"
      [ -d "fuzz/seeds/$name" ] && cp -n fuzz/seeds/"$name"/* "$corpus"/ 2>/dev/null || true
      # A finding stops the run with a non-zero status; its input lands in build/fuzz/findings.
      "$f" "$corpus" -max_total_time="$secs" -rss_limit_mb=2048 -malloc_limit_mb=256 -print_final_stats=1 \
        -artifact_prefix=build/fuzz/findings/"$name"-
    done
    [ "$found" -eq 1 ] || { echo "no fuzz targets were built"; exit 1; }
    ;;
  *)
    sed -n '2,8p' "$0" | sed 's/^# \{0,1\}//'
    exit 2
    ;;
esac
