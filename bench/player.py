#!/usr/bin/env python3
"""Reads a file like a player: one piece each time a piece has been played, two seconds ahead.

    player.py FILE SECONDS

Prints as JSON the longest time to read a piece, and how often the music would have stopped.
"""

import json
import os
import sys
import time

BYTES_PER_SECOND = 176_400  # the rate of a CD, more than a compressed song needs
PIECE = 32768
SECONDS_AHEAD = 2.0


def play(path, seconds):
    descriptor = os.open(path, os.O_RDONLY)
    size = os.fstat(descriptor).st_size
    begin = time.monotonic()
    longest = 0.0
    stops = 0
    position = 0
    while time.monotonic() - begin < seconds:
        before = time.monotonic()
        # The player repeats a short file; drop it from the cache, so that it comes from the device again.
        os.posix_fadvise(descriptor, 0, 0, os.POSIX_FADV_DONTNEED)
        os.pread(descriptor, PIECE, position % max(size - PIECE, 1))
        position += PIECE
        now = time.monotonic()
        longest = max(longest, now - before)
        buffered = position / BYTES_PER_SECOND - (now - begin)
        if buffered < 0:
            stops += 1
            begin += -buffered
        time.sleep(max(0.0, buffered - SECONDS_AHEAD))
    return {"longest_ms": round(1000 * longest, 1), "stops": stops}


if __name__ == "__main__":
    print(json.dumps(play(sys.argv[1], float(sys.argv[2]))))
