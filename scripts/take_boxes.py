"""Boxes of fragmented MP4 files (ISO/IEC 14496-12), as far as a verification needs them."""

from take_files import Problem, shown

SEGMENT_BOXES = {b"styp", b"sidx", b"ssix", b"prft", b"emsg", b"moof", b"mdat", b"free", b"skip"}
INIT_BOXES = {b"ftyp", b"moov", b"free", b"skip"}


def boxes(path):
    """Types of the top-level boxes of an MP4 file (ISO/IEC 14496-12, 4.2), or a Problem when one is cut off."""
    types = []
    size = path.stat().st_size
    with open(path, "rb") as stream:
        offset = 0
        while offset < size:
            stream.seek(offset)
            header = stream.read(16)
            length = int.from_bytes(header[:4], "big")
            smallest = 8
            if length == 1:
                length, smallest = int.from_bytes(header[8:16], "big"), 16
            if len(header) < smallest or length < smallest:
                raise Problem(f"{path.name}: no box at byte {offset}")
            if offset + length > size:
                kind = header[4:8].decode("latin-1")
                raise Problem(f"{path.name}: box {shown(kind)} is cut off, {offset + length - size} bytes are missing")
            types.append(header[4:8])
            offset += length
    return types


def require_boxes(path, needed, allowed):
    types = boxes(path)
    for kind in types:
        if kind not in allowed:
            raise Problem(f"{path.name}: unexpected box {shown(kind.decode('latin-1'))}")
    for kind in needed:
        if kind not in types:
            raise Problem(f"{path.name}: no box {kind.decode()}")


def inside(data, *kinds):
    """The content of the last box that lies along the path `kinds` in the boxes `data`; empty when there is none."""
    for kind in kinds:
        found = b""
        at = 0
        while at + 8 <= len(data):
            length, header = int.from_bytes(data[at : at + 4], "big"), 8
            if length == 1:
                length, header = int.from_bytes(data[at + 8 : at + 16], "big"), 16
            if length < header:
                break
            if data[at + 4 : at + 8] == kind:
                found = data[at + header : at + length]
            at += length
        data = found
    return data


def number(data, at):
    if at + 4 > len(data):
        raise Problem("a box of the media is too short")
    return int.from_bytes(data[at : at + 4], "big")


def timescale(init):
    """Ticks a second of the track of an initialization segment."""
    mdhd = inside(init, b"moov", b"trak", b"mdia", b"mdhd")
    ticks = number(mdhd, 20 if mdhd[:1] == b"\x01" else 12)
    if ticks == 0:
        raise Problem("the track has no timescale")
    return ticks


def last_sample_duration(init, segment):
    """Seconds that the last sample of a segment lasts: of its track run, its fragment or its track (8.8)."""
    run = inside(segment, b"moof", b"traf", b"trun")
    flags = number(run, 0)
    count = number(run, 4)
    if count == 0:
        raise Problem("the last fragment holds no sample")
    size = 4 * bin(flags & 0xF00).count("1")
    if flags & 0x100:
        first = 8 + 4 * bin(flags & 0x5).count("1")
        ticks = number(run, first + size * (count - 1))
    else:
        header = inside(segment, b"moof", b"traf", b"tfhd")
        if number(header, 0) & 0x8:
            base = 8 + 8 * (number(header, 0) & 1) + 4 * (number(header, 0) >> 1 & 1)
            ticks = number(header, base)
        else:
            ticks = number(inside(init, b"moov", b"mvex", b"trex"), 12)
    return ticks / timescale(init)
