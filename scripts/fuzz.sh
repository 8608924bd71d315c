#!/usr/bin/env bash
# Runs each libFuzzer target for a bounded time (default 60 s each) on a copy of its committed
# corpus, under AddressSanitizer and UndefinedBehaviorSanitizer. A crash fails the run and leaves
# the crashing input in the work folder it prints.
#   scripts/fuzz.sh [SECONDS]
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-60}
work=$(mktemp -d /tmp/sonvik-fuzz.XXXXXX)

# Only the parser's own sources go into the target, so no clang build of the whole tree is needed.
clang++ -std=c++20 -O1 -g -fsanitize=fuzzer,address,undefined -fno-sanitize-recover=undefined \
  -Isrc tests/fuzz/playlist_id_fuzzer.cpp src/package/playlist/playlist_result.cpp \
  src/package/playlist/playlist_name.cpp -o "$work/fuzz_playlist_id"

cp -r tests/fuzz/corpus/playlist_id "$work/corpus"
echo "fuzzing the playlist id parser for ${seconds}s in $work"
"$work/fuzz_playlist_id" -max_total_time="$seconds" -print_final_stats=1 \
  -artifact_prefix="$work/" "$work/corpus" 2>"$work/fuzz.log" || {
  tail -40 "$work/fuzz.log"
  exit 1
}
tail -3 "$work/fuzz.log"
rm -rf "$work"
