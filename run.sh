#!/usr/bin/env bash
# Sets up Sonvik Voice and serves a music folder on 127.0.0.1:5080.
#   ./run.sh [MUSIC_FOLDER]   without a folder, a generated demo library is served
set -euo pipefail
cd "$(dirname "$0")"

if [[ $(id -u) -ne 0 ]]; then
  echo "run.sh: setting up the package needs root; re-running with sudo" >&2
  exec sudo -E "$0" "$@"
fi

bash scripts/install-deps.sh
cmake -S . -B build-run -DCMAKE_BUILD_TYPE=Release -DBUILD_TESTING=OFF >/dev/null
cmake --build build-run -j"$(nproc)" --target sonvik
sonvik=$PWD/build-run/bin/sonvik

"$sonvik" init

music=${1:-}
if [[ -z "$music" ]]; then
  music=/var/packages/Sonvik/var/demo-music
  bash scripts/make-demo-library.sh "$music"
fi
music=$(realpath "$music")
"$sonvik" library add "$music"
"$sonvik" scan

user=demo
password=$(head -c 12 /dev/urandom | base64 | tr -dc 'A-Za-z0-9' | head -c 12)
if ! printf '%s\n' "$password" | "$sonvik" user passwd "$user" --password-stdin 2>/dev/null; then
  printf '%s\n' "$password" | "$sonvik" user add "$user" --password-stdin
fi

# Demo playlists beside the scanned "Road Trip.m3u8": the demo user's own "Road Trip" (found
# before the shared one of the same name) and a shared smart playlist of the rock tracks.
"$sonvik" playlist delete "Road Trip" --user "$user" >/dev/null 2>&1 || true
"$sonvik" playlist create "Road Trip" --user "$user" >/dev/null
"$sonvik" playlist add "Road Trip" --user "$user" 1 2 3 4 5 6 >/dev/null
"$sonvik" playlist delete "Rock Night" >/dev/null 2>&1 || true
"$sonvik" playlist smart create "Rock Night" --rule "genre is rock" --order title >/dev/null

base=http://127.0.0.1:5080/webapi/entry
cat <<INFO

Sonvik Voice is starting on 127.0.0.1:5080 with the music in $music
Demo user: $user   password: $password

Try it (in another terminal):
  sid=\$(curl -s "$base?api=QUOR.API.Auth&version=1&method=login&account=$user&passwd=$password" | sed 's/.*"sid":"\([^"]*\)".*/\1/')
  curl -s "$base?api=QUOR.Sonvik.VoiceAssistant.Info&version=1&method=get&_sid=\$sid"
  curl -s "$base?api=QUOR.Sonvik.VoiceAssistant.Browse&version=1&method=search&title=twenty+one&limit=10&offset=0&_sid=\$sid"
  curl -s "$base?api=QUOR.Sonvik.VoiceAssistant.Browse&version=1&method=search_playlist&keyword=road+trip&limit=2&offset=0&_sid=\$sid"
  curl -s "$base?api=QUOR.Sonvik.VoiceAssistant.Browse&version=1&method=search_playlist&keyword=rock&limit=10&offset=0&_sid=\$sid"
  curl -s --get "$base" --data-urlencode "playlist_id=PLAYLIST_ID" -d "api=QUOR.Sonvik.VoiceAssistant.Browse&version=1&method=get_playlist&limit=2&offset=2&_sid=\$sid"
  curl -s -r 1000-1999 "$base?api=QUOR.Sonvik.VoiceAssistant.Stream&version=1&method=stream&track_id=1&_sid=\$sid" | wc -c
  $sonvik search --title "ninety nine degrees"
  (PLAYLIST_ID: the "playlist_id" that search_playlist answered)

Stop the server with Ctrl-C.
INFO
exec "$sonvik" serve --listen 127.0.0.1:5080
