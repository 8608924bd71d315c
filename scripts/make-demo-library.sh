#!/usr/bin/env bash
# Makes a small demo music library in DIR: a few invented artists and albums as short sine tones
# (mp3, flac, ogg, m4a), tagged to exercise voice matching: accents and letters like ø and ß,
# a slash and apostrophes, a spelled and a dotted acronym, numbers as digits, words and Roman
# numerals. Also one embedded cover picture, one folder cover.jpg, one album as a single FLAC
# with a CUE sheet, and one .m3u8 playlist.
#
# Usage: scripts/make-demo-library.sh DIR
# Idempotent: files already there are kept, missing ones are made (each written to a temporary
# name first, so an interrupted run leaves no half-made file).
set -euo pipefail

if [[ $# -ne 1 || "$1" == -* ]]; then
  echo "usage: $0 DIR   (makes a demo music library in DIR)" >&2
  exit 2
fi
command -v ffmpeg >/dev/null || { echo "$0: ffmpeg is needed (scripts/install-deps.sh)" >&2; exit 1; }
root=$1
mkdir -p "$root"
root=$(cd "$root" && pwd)
# Leftovers of an interrupted run.
find "$root" -name '.partial-*' -type f -delete

ff() { ffmpeg -hide_banner -loglevel error -nostdin -y "$@"; }
# The temporary name a file is made under: hidden, so a scan never picks up a half-made file.
partial() { echo "$(dirname "$1")/.partial-$(basename "$1")"; }

# make_track FILE SECONDS HZ key=value...   (the extension picks the codec)
make_track() {
  local file=$1 seconds=$2 hz=$3
  shift 3
  [[ -s "$file" ]] && return 0
  mkdir -p "$(dirname "$file")"
  local codec ext=${file##*.}
  case "$ext" in
    mp3) codec=(-c:a libmp3lame -b:a 96k -id3v2_version 3) ;;
    flac) codec=(-c:a flac) ;;
    ogg) codec=(-c:a libvorbis -q:a 2) ;;
    m4a) codec=(-c:a aac -b:a 96k) ;;
    *) echo "$0: no codec for .$ext" >&2; exit 1 ;;
  esac
  local meta=()
  for kv in "$@"; do meta+=(-metadata "$kv"); done
  local tmp
  tmp=$(partial "$file")
  ff -f lavfi -i "sine=frequency=$hz:duration=$seconds:sample_rate=44100" -ac 2 \
    "${codec[@]}" "${meta[@]}" "$tmp"
  mv "$tmp" "$file"
}

# album ARTIST ALBUM YEAR GENRE EXT FOLDER "title|hz" ...
album() {
  local artist=$1 album=$2 year=$3 genre=$4 ext=$5 folder=$6
  shift 6
  local n=0
  for entry in "$@"; do
    n=$((n + 1))
    local title=${entry%|*} hz=${entry##*|}
    make_track "$root/$folder/$(printf %02d "$n") $title.$ext" 3 "$hz" \
      "title=$title" "artist=$artist" "album_artist=$artist" "album=$album" "date=$year" \
      "genre=$genre" "track=$n/$#" "disc=1/1"
  done
}

album "Café Lumière" "Twenty One Lanterns" 2019 "Chanson" mp3 "Café Lumière/Twenty One Lanterns" \
  "Éclair de Minuit|440" "Rue des Étoiles|494" "Don't Wait Up|523"
album "Sölvi Ørn" "99 Paper Boats" 2021 "Electronic" flac "Sölvi Ørn/99 Paper Boats" \
  "Fjørd Lights|330" "Smørrebrød Waltz|370" "Straße nach Hause|392"
album "Fire/Ice" "Heat Index" 2015 "Rock" mp3 "Fire-Ice/Heat Index" \
  "Rock 'n' Roll Thermostat|220" "Hot & Cold|247" "It's Ninety Nine Degrees|262"
album "OKKO" "Harbor IV" 2008 "Pop" ogg "OKKO/Harbor IV" \
  "Dancing Tide|587" "Mamma Mare|659" "Twenty One Sails|698"
album "T.V.O." "Losing the Compass" 1991 "Alternative" m4a "T.V.O./Losing the Compass" \
  "Orange Crossing|784" "Everybody Waits|880" "Chapter II|988"

# A folder picture for one album.
cover="$root/OKKO/Harbor IV/cover.jpg"
if [[ ! -s "$cover" ]]; then
  ff -f lavfi -i "color=c=darkcyan:s=300x300:d=0.1" -frames:v 1 "$(partial "$cover")"
  mv "$(partial "$cover")" "$cover"
fi

# A picture embedded in one file.
embedded="$root/Café Lumière/Twenty One Lanterns/04 Paper Moon Café.mp3"
if [[ ! -s "$embedded" ]]; then
  tmp=$(partial "$embedded")
  ff -f lavfi -i "sine=frequency=587:duration=3:sample_rate=44100" \
    -f lavfi -i "color=c=orange:s=300x300:d=0.1" -frames:v 1 -map 0:a -map 1:v -ac 2 \
    -c:a libmp3lame -b:a 96k -c:v mjpeg -disposition:v attached_pic -id3v2_version 3 \
    -metadata:s:v title="Album cover" -metadata:s:v comment="Cover (front)" \
    -metadata title="Paper Moon Café" -metadata artist="Café Lumière" \
    -metadata album_artist="Café Lumière" -metadata album="Twenty One Lanterns" \
    -metadata date=2019 -metadata genre=Chanson -metadata track=4/4 "$tmp"
  mv "$tmp" "$embedded"
fi

# One album as a single FLAC of four 3-second parts, split by a CUE sheet.
night="$root/Lumen Quartet/Night Sessions"
mkdir -p "$night"
if [[ ! -s "$night/Night Sessions.flac" ]]; then
  ff -f lavfi -i "sine=frequency=261:duration=3:sample_rate=44100" \
    -f lavfi -i "sine=frequency=329:duration=3:sample_rate=44100" \
    -f lavfi -i "sine=frequency=392:duration=3:sample_rate=44100" \
    -f lavfi -i "sine=frequency=523:duration=3:sample_rate=44100" \
    -filter_complex "[0:a][1:a][2:a][3:a]concat=n=4:v=0:a=1,aformat=channel_layouts=stereo" \
    -c:a flac -metadata artist="Lumen Quartet" -metadata album="Night Sessions" \
    -metadata date=2003 -metadata genre=Jazz "$night/.partial-Night Sessions.flac"
  mv "$night/.partial-Night Sessions.flac" "$night/Night Sessions.flac"
fi
if [[ ! -s "$night/Night Sessions.cue" ]]; then
  cat >"$night/.partial-Night Sessions.cue" <<'CUE'
REM GENRE Jazz
REM DATE 2003
PERFORMER "Lumen Quartet"
TITLE "Night Sessions"
FILE "Night Sessions.flac" WAVE
  TRACK 01 AUDIO
    TITLE "Blue Hour"
    INDEX 01 00:00:00
  TRACK 02 AUDIO
    TITLE "Second Wind"
    INDEX 01 00:03:00
  TRACK 03 AUDIO
    TITLE "Nineteen Seventy Five"
    PERFORMER "Lumen Quartet & Ada Voss"
    INDEX 01 00:06:00
  TRACK 04 AUDIO
    TITLE "Last Call"
    INDEX 01 00:09:00
CUE
  mv "$night/.partial-Night Sessions.cue" "$night/Night Sessions.cue"
fi

# A playlist with paths relative to itself.
playlist="$root/Road Trip.m3u8"
if [[ ! -s "$playlist" ]]; then
  cat >"$root/.partial-Road Trip.m3u8" <<'M3U'
#EXTM3U
#EXTINF:3,Café Lumière - Don't Wait Up
Café Lumière/Twenty One Lanterns/03 Don't Wait Up.mp3
#EXTINF:3,Fire/Ice - Hot & Cold
Fire-Ice/Heat Index/02 Hot & Cold.mp3
#EXTINF:3,OKKO - Twenty One Sails
OKKO/Harbor IV/03 Twenty One Sails.ogg
#EXTINF:3,T.V.O. - Orange Crossing
T.V.O./Losing the Compass/01 Orange Crossing.m4a
M3U
  mv "$root/.partial-Road Trip.m3u8" "$playlist"
fi

echo "Demo library ready in $root"
