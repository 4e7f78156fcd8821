#!/usr/bin/env bash
# One entry point for people and CI:
#   ./dev.sh demo    build optimised and run the example
#   ./dev.sh test    build with sanitizers and run every test [preset: clang]
#   ./dev.sh tsan    build with ThreadSanitizer and run the tests labelled threads
#   ./dev.sh scalar  build without vector paths and run the kernel and pel-buffer tests
#   ./dev.sh bench   build optimised and run the benchmarks [filter]
#   ./dev.sh fuzz    build the fuzz targets with clang and run each [seconds, 60]
#   ./dev.sh seeds   rewrite the committed fuzz seeds from the archive tests
# Each installs the Debian packages it needs first.
set -euo pipefail
cd "$(dirname "$0")"

jobs=$(nproc 2>/dev/null || echo 2)

# apt-get as root: directly, or through sudo when there is one.
as_root() {
  if [ "$(id -u)" -eq 0 ]; then
    "$@"
  elif command -v sudo >/dev/null 2>&1; then
    sudo "$@"
  else
    echo "dev.sh: '$*' needs root; run it as root or install sudo" >&2
    exit 1
  fi
}

updated=0
apt_update() {
  [ "$updated" -eq 1 ] && return 0
  as_root apt-get update -qq
  updated=1
}

installed() {
  dpkg-query -W -f='${Status}' "$1" 2>/dev/null | grep -q 'ok installed'
}

# True when the package lists know $1 (refreshing them once if they do not).
available() {
  apt-cache show "$1" >/dev/null 2>&1 && return 0
  apt_update
  apt-cache show "$1" >/dev/null 2>&1
}

need() {
  local missing=()
  for p in "$@"; do
    installed "$p" || missing+=("$p")
  done
  [ ${#missing[@]} -eq 0 ] && return 0
  echo "installing: ${missing[*]}"
  apt_update
  as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}"
}

links_fuzzer() {
  local dir status=0
  dir=$(mktemp -d)
  echo 'extern "C" int LLVMFuzzerTestOneInput(const unsigned char*, unsigned long) { return 0; }' >"$dir/probe.cpp"
  clang++ -fsanitize=fuzzer,address,undefined "$dir/probe.cpp" -o "$dir/probe" >/dev/null 2>&1 || status=1
  rm -rf "$dir"
  return $status
}

# libFuzzer ships in the compiler-rt package of the installed clang's version;
# Debian also has a package that follows its default clang, and older releases
# kept the runtime in libclang-common-N-dev.
need_fuzzer() {
  need clang
  links_fuzzer && return 0
  local major
  major=$(clang++ -dumpversion | cut -d. -f1)
  for p in "libclang-rt-$major-dev" libclang-rt-dev "libclang-common-$major-dev"; do
    if available "$p"; then
      need "$p"
      links_fuzzer && return 0
    fi
  done
  echo "dev.sh: clang++ $major cannot link -fsanitize=fuzzer and no Debian package provides its runtime" >&2
  exit 1
}

base=(cmake ninja-build g++ make libhwy-dev libspng-dev)

# build PRESET [TARGET...]
build() {
  local preset=$1
  shift
  cmake --preset "$preset" >/dev/null
  local targets=()
  [ $# -gt 0 ] && targets=(--target "$@")
  cmake --build --preset "$preset" -j "$jobs" "${targets[@]}"
}

case "${1:-}" in
  demo)
    need "${base[@]}"
    build release demo
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
    build tsan test_threads
    ctest --test-dir build/tsan --output-on-failure -j "$jobs" --timeout 600 -L threads
    ;;
  scalar)
    need "${base[@]}" libgtest-dev libgmock-dev
    build scalar test_core test_pelbuf
    ./build/scalar/tests/test_core
    ./build/scalar/tests/test_pelbuf
    ;;
  bench)
    need "${base[@]}" libbenchmark-dev
    # OpenCV is a comparison only; the benchmarks build without it.
    if available libopencv-dev; then need libopencv-dev; fi
    build bench
    for b in build/bench/bench/bench_*; do
      [ -x "$b" ] || continue
      "$b" --benchmark_filter="${2:-.}"
    done
    ;;
  fuzz)
    need "${base[@]}"
    need_fuzzer
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
      for seed in fuzz/seeds/"$name"/*; do
        if [ -f "$seed" ] && [ ! -e "$corpus/$(basename "$seed")" ]; then cp "$seed" "$corpus"/; fi
      done
      # Each target runs for the given seconds. A finding (a fault, an input
      # slower than 10 s, too much memory) stops the run with a non-zero
      # status; its input lands in build/fuzz/findings.
      "$f" "$corpus" -max_total_time="$secs" -timeout=10 -rss_limit_mb=2048 -malloc_limit_mb=256 \
        -print_final_stats=1 -artifact_prefix=build/fuzz/findings/"$name"-
    done
    [ "$found" -eq 1 ] || { echo "no fuzz targets were built"; exit 1; }
    ;;
  seeds)
    need "${base[@]}" libgtest-dev libgmock-dev
    build dev test_archive
    out=build/dev/tests/out
    check=(./build/dev/tests/test_archive --gtest_filter='FuzzSeeds.CommittedCorpusIsCurrent')
    # The test writes the seeds it makes, then compares them with the committed ones.
    TLVSTD_TEST_OUT=$out "${check[@]}" >/dev/null || true
    for made in "$out"/seeds/*/; do
      name=$(basename "$made")
      mkdir -p fuzz/seeds/"$name"
      cp "$made"* fuzz/seeds/"$name"/
    done
    TLVSTD_TEST_OUT=$out "${check[@]}"
    git status --short fuzz/seeds 2>/dev/null || true
    ;;
  *)
    sed -n '2,10p' "$0" | sed 's/^# \{0,1\}//'
    exit 2
    ;;
esac
