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
if "$sonvik" user list | grep -qx "$user\b.*\|$user"; then
  printf '%s\n' "$password" | "$sonvik" user passwd "$user" --password-stdin
else
  printf '%s\n' "$password" | "$sonvik" user add "$user" --password-stdin
fi

base=http://127.0.0.1:5080/webapi/entry
cat <<INFO

Sonvik Voice is starting on 127.0.0.1:5080 with the music in $music
Demo user: $user   password: $password

Try it (in another terminal):
  sid=\$(curl -s "$base?api=QUOR.API.Auth&version=1&method=login&account=$user&passwd=$password" | sed 's/.*"sid":"\([^"]*\)".*/\1/')
  curl -s "$base?api=QUOR.Sonvik.VoiceAssistant.Info&version=1&method=get&_sid=\$sid"
  curl -s "$base?api=QUOR.Sonvik.VoiceAssistant.Browse&version=1&method=search&title=twenty+one&limit=10&offset=0&_sid=\$sid"
  curl -s "$base?api=QUOR.Sonvik.VoiceAssistant.Browse&version=1&method=search_playlist&keyword=road+trip&limit=10&offset=0&_sid=\$sid"
  $sonvik search --title "a b b a"

Stop the server with Ctrl-C.
INFO
exec "$sonvik" serve --listen 127.0.0.1:5080
