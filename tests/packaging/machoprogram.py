"""Makes small programs for macOS, byte by byte, for the checks that read such programs: right by default, wrong as told."""

import hashlib
import struct

ARM, INTEL = 0x0100000C, 0x01000007
SYSTEM = "/usr/lib/libSystem.B.dylib"
PAGE = 12
IMPORTED, PRIVATE = 0x01, 0x0E  # kinds of symbols: from a library, of the program alone
STACK = ("___stack_chk_fail", IMPORTED)
ASSERTION = b"%s:%d: assertion %s failed: %s\n"


def command(kind, rest):
    rest += b"\0" * (-len(rest) % 8)
    return struct.pack("<2I", kind, 8 + len(rest)) + rest


def named(kind, name, fixed):
    return command(kind, struct.pack("<I", fixed) + b"\0" * (fixed - 12) + name.encode() + b"\0")


def signature(signed):
    pages = [signed[start:start + (1 << PAGE)] for start in range(0, len(signed), 1 << PAGE)]
    directory = struct.pack(">4s3I5I4B", b"\xfa\xde\x0c\x02", 0, 0, 0, 44, 0, 0, len(pages), len(signed), 32, 2, 0, PAGE)
    directory += b"\0" * (44 - len(directory)) + b"".join(hashlib.sha256(page).digest() for page in pages)
    return struct.pack(">4s4I", b"\xfa\xde\x0c\xc0", 20 + len(directory), 1, 0, 20) + directory


def program(processor=ARM, minimum=0x0D0000, platform=1, libraries=(SYSTEM,), run_paths=(), flags=0x200085, kind=2,
            loader="/usr/lib/dyld", signed=True, code=b"code" * 3000, versions=1, symbols=(("_main", PRIVATE), STACK),
            said=ASSERTION):
    listed = [command(0x32, struct.pack("<4I", platform, minimum, 0x0E0000, 0))] * versions
    listed += [named(0xC, name, 24) for name in libraries] + [named(0x8000001C, name, 12) for name in run_paths]
    listed += [named(0xE, loader, 12)]
    size = sum(map(len, listed)) + 24 + (16 if signed else 0)
    entries, names = b"", b"\0"
    for name, kind_of_symbol in symbols:
        entries += struct.pack("<IBBHQ", len(names), kind_of_symbol, 0, 0, 0)
        names += name.encode() + b"\0"
    code += said + b"\0"
    table = 32 + size + len(code)
    listed.append(command(0x2, struct.pack("<4I", table, len(symbols), table + len(entries), len(names))))
    code += entries + names
    end = 32 + size + len(code)
    if signed:
        listed.append(command(0x1D, struct.pack("<2I", end, len(signature(b"\0" * end)))))
    whole = struct.pack("<8I", 0xFEEDFACF, processor, 0, kind, len(listed), size, flags, 0) + b"".join(listed) + code
    return whole + signature(whole) if signed else whole


def universal(*parts):
    head, body, start = struct.pack(">2I", 0xCAFEBABE, len(parts)), b"", 8 + 20 * len(parts)
    for part in parts:
        head += struct.pack(">5I", struct.unpack_from("<I", part, 4)[0], 0, start + len(body), len(part), 0)
        body += part
    return head + body
