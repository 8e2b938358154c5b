"""The little Open Sound Control that the rig needs, independent of Corvane's own."""

import socket
import struct
import time

SURFACE_PORT = 3819  # where the recorder listens
REPLY_PORT = 8000  # where the recorder sends its replies, whoever asked


def padded(data):
    return data + b"\0" * (4 - len(data) % 4)


def encode(address, *values):
    tags, body = ",", b""
    for value in values:
        if isinstance(value, int):
            tags, body = tags + "i", body + struct.pack(">i", value)
        elif isinstance(value, float):
            tags, body = tags + "f", body + struct.pack(">f", value)
        else:
            tags, body = tags + "s", body + padded(value.encode())
    return padded(address.encode()) + padded(tags.encode()) + body


def text(data, offset):
    end = data.index(b"\0", offset)
    return data[offset:end].decode(), (end // 4 + 1) * 4


def decode(data):
    address, offset = text(data, 0)
    tags, offset = text(data, offset)
    values = []
    for tag in tags[1:]:
        if tag == "s":
            value, offset = text(data, offset)
        elif tag in "ifdh":
            size = 4 if tag in "if" else 8
            value = struct.unpack(">" + {"i": "i", "f": "f", "d": "d", "h": "q"}[tag], data[offset : offset + size])[0]
            offset += size
        else:
            value = {"T": True, "F": False}.get(tag)
        values.append(value)
    return address, values


def send(address, *values):
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as out:
        out.sendto(encode(address, *values), ("127.0.0.1", SURFACE_PORT))


def ask(address, *values, seconds=1.0):
    """The first answer to a question, as its list of values; None when nothing answers in time."""
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as line:
        line.bind(("127.0.0.1", REPLY_PORT))
        line.sendto(encode(address, *values), ("127.0.0.1", SURFACE_PORT))
        end = time.monotonic() + seconds
        while (left := end - time.monotonic()) > 0:
            line.settimeout(left)
            try:
                got, result = decode(line.recv(65536))
            except (TimeoutError, ConnectionRefusedError):
                return None
            if got == address:
                return result
    return None
