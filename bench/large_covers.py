"""Gives every song of a folder a cover of 1 MB."""

import os
import struct

from mutagen import File
from mutagen.asf import ASF, ASFByteArrayAttribute
from mutagen.flac import FLAC, Picture
from mutagen.id3 import APIC, ID3
from mutagen.mp4 import MP4, MP4Cover

BYTES = 1_000_000
MIME = "image/jpeg"
FRONT_COVER = 3


def set_cover(song, data):
    if isinstance(song, MP4):
        song["covr"] = [MP4Cover(data)]
    elif isinstance(song, FLAC):
        picture = Picture()
        picture.type, picture.mime, picture.data = FRONT_COVER, MIME, data
        song.clear_pictures()
        song.add_picture(picture)
    elif isinstance(song, ASF):
        head = struct.pack("<bI", FRONT_COVER, len(data)) + f"{MIME}\0\0".encode("utf-16-le")
        song["WM/Picture"] = [ASFByteArrayAttribute(head + data)]
    elif isinstance(song.tags, ID3):
        song.tags.setall("APIC", [APIC(3, MIME, FRONT_COVER, "", data)])
    else:
        return  # tags of another kind in an MP3 or WAV have no pictures here
    song.save()


def enlarge_covers(folder):
    data = os.urandom(BYTES)  # blocks of zeros would be left out of the file system
    for path in folder.rglob("*"):
        song = File(path) if path.is_file() else None
        if song is not None:
            set_cover(song, data)
