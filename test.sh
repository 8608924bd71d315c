#!/usr/bin/env bash
# Builds Sonvik Voice and runs every test. Installs missing Debian packages first.
#   ./test.sh             warnings as errors, Debug build in build/
#   ./test.sh --sanitize  the same with AddressSanitizer and UndefinedBehaviorSanitizer in build-asan/
set -euo pipefail
cd "$(dirname "$0")"

build_dir=build
extra=()
if [[ "${1:-}" == "--sanitize" ]]; then
  build_dir=build-asan
  extra=(-DSONVIK_SANITIZE=ON)
  # Leaks inside third-party libraries that our code cannot free are listed there.
  export LSAN_OPTIONS="suppressions=$PWD/tests/lsan-suppressions.txt:print_suppressions=0"
fi

if [[ $(id -u) -ne 0 ]]; then
  echo "test.sh: the tests run in a private mount namespace and need root; re-running with sudo" >&2
  exec sudo -E "$0" "$@"
fi

bash scripts/install-deps.sh
cmake -S . -B "$build_dir" -DCMAKE_BUILD_TYPE=Debug -DSONVIK_WERROR=ON "${extra[@]}" >/dev/null
cmake --build "$build_dir" -j"$(nproc)"
cd "$build_dir"
ctest --output-on-failure -j"$(nproc)"
