#!/usr/bin/env bash
# The project's one entry point.
#
#   ./run.sh demo   install what is missing, then configure and build utf-post (the `release`
#                   preset) and run its demo, `utf-post --demo`
#   ./run.sh test   install what is missing, then configure, build and run the whole test suite
#                   under the `default` preset and under the `asan` preset (AddressSanitizer and
#                   UndefinedBehaviorSanitizer)
#   ./run.sh fuzz [SECONDS]
#                   install what is missing, then configure and build the `fuzz` preset (clang,
#                   libFuzzer) and run every fuzz target for SECONDS each (default 30) on a copy
#                   of its seeds in build/fuzz/corpus; fails, naming the saved input, on a finding
#   ./run.sh tsan   install what is missing, then configure and build the batch engine's tests
#                   under the `tsan` preset (ThreadSanitizer) and run them on the engine's threads
#   ./run.sh deps   only install what is missing from the platform's packages
#
# Missing tools and libraries come from the platform's packages (apt-get install -y), and only
# when absent; nothing is downloaded from anywhere else.
set -euo pipefail

cd "$(dirname "$0")"

# Debian packages the build needs: compiler and build tools, GoogleTest, Google Benchmark, Eigen
# (peer benchmarks), CLI11 (command-line tools), Highway (the batch engine's SIMD kernels), oneTBB
# (its threads), clang with its libFuzzer runtime (the fuzz targets), and for the Python package:
# Debian's Python with its headers, pybind11, numpy, and what its tests and example use (pytest,
# hypothesis, scipy, Dask and distributed, meshio).
PACKAGES=(cmake ninja-build g++ libgtest-dev libgmock-dev libbenchmark-dev libeigen3-dev libcli11-dev
  libhwy-dev libtbb-dev clang libclang-rt-14-dev python3 python3-dev pybind11-dev python3-numpy
  python3-pytest python3-hypothesis python3-scipy python3-dask python3-distributed python3-meshio)

install_missing() {
  local missing=()
  local package
  for package in "${PACKAGES[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed"; then
      missing+=("$package")
    fi
  done
  if [ "${#missing[@]}" -eq 0 ]; then
    return 0
  fi
  echo "run.sh: installing missing packages: ${missing[*]}"
  local sudo=()
  if [ "$(id -u)" -ne 0 ]; then
    if command -v sudo >/dev/null 2>&1; then
      sudo=(sudo)
    else
      echo "run.sh: packages missing (${missing[*]}) and not running as root; install them first" >&2
      exit 1
    fi
  fi
  "${sudo[@]}" env DEBIAN_FRONTEND=noninteractive apt-get update -q
  "${sudo[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends "${missing[@]}"
}

run_demo() {
  install_missing
  cmake --preset release
  cmake --build --preset release --target utf-post
  build/release/bin/utf-post --demo
}

run_tests() {
  install_missing
  cmake --workflow --preset default
  cmake --workflow --preset asan
}

FUZZ_TARGETS=(fuzz_csv fuzz_options fuzz_batch)

# Runs one fuzz target for $2 seconds on build/fuzz/corpus/TARGET (the repository's seeds added to
# what earlier runs kept); a finding is saved under build/fuzz/findings/TARGET/.
fuzz_target() {
  local target="$1" seconds="$2"
  local corpus="build/fuzz/corpus/$target" findings="build/fuzz/findings/$target"
  mkdir -p "$corpus" "$findings"
  cp -n "fuzz/corpus/$target/"* "$corpus/"
  local flags=(-max_total_time="$seconds" -timeout=10 -print_final_stats=1
    -artifact_prefix="$findings/" -dict="fuzz/$target.dict")
  # The program's own messages (one per bad option) would flood the log; the fuzzer's reports
  # and the sanitizers' still come through.
  if [ "$target" = fuzz_options ]; then
    flags+=(-close_fd_mask=2)
  fi
  echo "run.sh: fuzzing $target for $seconds s"
  if ! "build/fuzz/bin/$target" "${flags[@]}" "$corpus"; then
    echo "run.sh: $target: finding; the input is saved in $findings/:" >&2
    ls -l "$findings" >&2
    return 1
  fi
}

run_tsan() {
  install_missing
  cmake --workflow --preset tsan
}

run_fuzz() {
  local seconds="${1:-30}"
  if ! [[ "$seconds" =~ ^[1-9][0-9]*$ ]]; then
    echo "run.sh fuzz: expected SECONDS as a positive whole number, found '$seconds'" >&2
    exit 2
  fi
  install_missing
  cmake --preset fuzz
  cmake --build --preset fuzz
  local failed=0 target
  for target in "${FUZZ_TARGETS[@]}"; do
    fuzz_target "$target" "$seconds" || failed=1
  done
  return "$failed"
}

usage() {
  sed -n '2,18p' "$0" | sed 's/^# \{0,1\}//'
}

case "${1:-}" in
  demo) run_demo ;;
  test) run_tests ;;
  fuzz) run_fuzz "${2:-30}" ;;
  tsan) run_tsan ;;
  deps) install_missing ;;
  -h | --help | help) usage ;;
  *)
    usage >&2
    exit 2
    ;;
esac
