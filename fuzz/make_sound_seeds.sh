#!/usr/bin/env bash
# Makes the seeds of the Wave and MPEG fuzz targets from test tones: fuzz/make_sound_seeds.sh
# Needs sox, lame and ffmpeg. The seeds are committed; run it again only to change them.
set -e
cd "$(dirname "$0")"
mkdir -p seeds/wave seeds/mpeg
cd seeds
tone=$(mktemp --suffix=.wav)
trap 'rm -f "$tone"' EXIT
sox -n -r 8000 -c 2 -b 16 "$tone" synth 0.05 sine 440
cp "$tone" wave/pcm.wav
sox "$tone" -e ima-adpcm wave/adpcm.wav
sox "$tone" -e float wave/float.wav
sox "$tone" -b 24 wave/extensible.wav
sox -n -r 44100 -c 2 -b 16 "$tone" synth 0.2 sine 440
lame --quiet -b 64 --resample 22.05 --tt title --add-id3v2 "$tone" mpeg/id3_cbr.mp3
lame --quiet -V 6 "$tone" mpeg/vbr.mp3
lame --quiet -V 9 -m m --resample 16 "$tone" mpeg/mono_vbr.mp3
ffmpeg -v error -y -i "$tone" -c:a mp2 -b:a 64k -ar 32000 -t 0.2 mpeg/layer2.mp2
ls -l wave mpeg
