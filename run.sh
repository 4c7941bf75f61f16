#!/usr/bin/env bash
# The project's one entry point.
#
#   ./run.sh demo   install what is missing, then configure and build utf-post (the `release`
#                   preset) and run its demo, `utf-post --demo`
#   ./run.sh test   install what is missing, then configure, build and run the whole test suite
#                   under the `default` preset and under the `asan` preset (AddressSanitizer and
#                   UndefinedBehaviorSanitizer)
#   ./run.sh deps   only install what is missing from the platform's packages
#
# Missing tools and libraries come from the platform's packages (apt-get install -y), and only
# when absent; nothing is downloaded from anywhere else.
set -euo pipefail

cd "$(dirname "$0")"

# Debian packages the build needs: compiler and build tools, GoogleTest, Google Benchmark, Eigen
# (peer benchmarks), CLI11 (command-line tools), Highway (the batch engine's SIMD kernels) and
# oneTBB (its threads).
PACKAGES=(cmake ninja-build g++ libgtest-dev libgmock-dev libbenchmark-dev libeigen3-dev libcli11-dev
  libhwy-dev libtbb-dev)

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

usage() {
  sed -n '2,12p' "$0" | sed 's/^# \{0,1\}//'
}

case "${1:-}" in
  demo) run_demo ;;
  test) run_tests ;;
  deps) install_missing ;;
  -h | --help | help) usage ;;
  *)
    usage >&2
    exit 2
    ;;
esac
