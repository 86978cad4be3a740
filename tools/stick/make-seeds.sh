#!/bin/bash
# SPDX-License-Identifier: MPL-2.0

# Makes the seed files from which orvel-make-stick builds its songs. They are checked in: run this script,
# which needs ffmpeg, only to change them.
set -euo pipefail
cd "$(dirname "$0")/seeds"

encode() { # SECONDS RATE OUTPUT OPTION...: a quiet chord of that length, encoded
  local seconds=$1 rate=$2 output=$3
  shift 3
  ffmpeg -nostdin -v error -y -f lavfi \
    -i "aevalsrc=0.1*sin(2*PI*330*t)+0.1*sin(2*PI*440*t):s=$rate:d=$seconds" -ac 1 \
    -map_metadata -1 -fflags +bitexact -flags +bitexact "$@" "$output"
}

# No bit reservoir: every MPEG frame stands alone, so frames may be repeated.
encode 0.2 44100 cbr.mp3 -c:a libmp3lame -b:a 128k -reservoir 0 -write_xing 0 -id3v2_version 0
encode 0.2 44100 xing.mp3 -c:a libmp3lame -q:a 4 -reservoir 0 -write_xing 1 -id3v2_version 0
# The movie header first and the media data last, so that the media data can grow.
encode 0.2 44100 tone.m4a -c:a aac -b:a 64k -movflags +faststart
encode 0.2 44100 tone.mp4 -c:a aac -b:a 64k -f mp4 -movflags +faststart
encode 0.2 44100 tone.aac -c:a aac -b:a 64k -f adts
encode 0.2 44100 tone.wma -c:a wmav2 -b:a 64k -f asf
encode 0.2 44100 tone.asf -c:a libmp3lame -b:a 64k -f asf
encode 0.2 8000 tone.wav -c:a pcm_s16le
# Exactly one frame of 4096 samples, so that it may be repeated, too.
encode 0.2560 16000 tone.flac -c:a flac -sample_fmt s16 -frame_size 4096
encode 0.2 44100 tone.mpg -c:a mp2 -b:a 64k -f mpeg
encode 0.2 44100 tone.mpeg -c:a mp2 -b:a 64k -f vob

ffmpeg -nostdin -v error -y -f lavfi -i "gradients=s=64x64:c0=navy:c1=orange:seed=1" -frames:v 1 \
  -fflags +bitexact -flags +bitexact -q:v 8 -update 1 cover.jpg
