#!/usr/bin/env bash
# Installs the Debian 12 packages Sonvik Voice builds, tests and benchmarks with.
# Idempotent: packages already present are skipped, so a second run is quick.
set -euo pipefail

build_packages=(
  build-essential cmake pkg-config
  libjsoncpp-dev libsqlite3-dev libtag1-dev libcue-dev libsodium-dev libutf8proc-dev
  libhttp-parser-dev libcli11-dev
  libavformat-dev libavcodec-dev libswresample-dev libavutil-dev
  libcurl4-openssl-dev libgtest-dev libgmock-dev libbenchmark-dev
  # libFuzzer: clang and its runtime (the runtime is only recommended by clang, so name it)
  clang libclang-rt-14-dev
)
# ffmpeg makes the demo library and the test audio; util-linux gives unshare for the test namespace.
runtime_packages=(ffmpeg util-linux passwd libmp3lame0 sqlite3 curl)
# Peers the benchmarks compare against; only installed with --bench.
bench_packages=(nginx-light mpd wrk)

wanted=("${build_packages[@]}" "${runtime_packages[@]}")
if [[ "${1:-}" == "--bench" ]]; then
  wanted+=("${bench_packages[@]}")
fi

missing=()
for p in "${wanted[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done
[[ ${#missing[@]} -eq 0 ]] && exit 0

sudo_cmd=()
[[ $(id -u) -eq 0 ]] || sudo_cmd=(sudo)
echo "Installing: ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
"${sudo_cmd[@]}" apt-get update -qq
"${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
