#!/usr/bin/env python3
"""Fills the tables of docs/file-formats.md from the record types and from a made shop.

    docs/formats.py SHOP            writes the tables
    docs/formats.py --check SHOP    changes nothing; status 1 when a table differs

SHOP is a directory made by `mkshop SHOP --today 15062014`. A table stands between two comments:

    <!-- layout TYPE [FILE RECORD|@OFFSET] -->   the fields of a type, with the bytes of one record or block
    <!-- keys NAME -->                           the keys of an indexed file, from its index half
    <!-- dump FILE OFFSET LENGTH -->             bytes of a file
    <!-- end -->
"""
import argparse
import pathlib
import re
import struct
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
DOCUMENT = ROOT / "docs/file-formats.md"
SIZES = {"std::uint8_t": 1, "std::int8_t": 1, "char": 1}
SIZES |= {f"little_{sign}int{bits}_t": bits // 8 for sign in ("", "u") for bits in (16, 32)}
FIELD = re.compile(r"^    (?:boost::endian::)?([\w:]+) (\w+)(?:\[([^\]]+)\])?;\s*(?:///?<?\s*(\d+)?\s*(.*))?$")
HIGHEST_SHOWN = 8


def constants_and_types():
    constants, types = {}, {}
    headers = [ROOT / "store/format.h", ROOT / "data/ondisk.h", *sorted((ROOT / "data").glob("*file.h"))]
    headers += [ROOT / "print/macrofile.h", ROOT / "print/printerfile.h"]
    for header in headers:
        lines = header.read_text().splitlines()
        for at, line in enumerate(lines):
            if found := re.match(r"inline constexpr int (\w+) = (\d+);", line):
                constants[found[1]] = int(found[2])
            if found := re.match(r"struct (\w+) \{", line):
                end = next(i for i in range(at, len(lines)) if lines[i].startswith("}"))
                types[found[1]] = [FIELD.match(text) for text in lines[at + 1 : end] if FIELD.match(text)]
    return constants, types


CONSTANTS, TYPES = constants_and_types()


def width(name):
    if name in SIZES:
        return SIZES[name]
    if name == "SizeBitmap":
        return 12
    return sum(width(field[1]) * count(field[3]) for field in TYPES[name])


def count(text):
    return 1 if text is None else CONSTANTS[text] if text in CONSTANTS else int(text)


def kind(name, array):
    short = {"std::uint8_t": "u8", "std::int8_t": "i8"}.get(name, re.sub(r"little_(u?)int(\d+)_t", r"\1i\2", name))
    short = short.replace("ui", "u")
    return short if array is None else f"{short} x {count(array)}"


def value(name, array, data):
    """A short reading of a field; empty where the bytes say it all."""
    if name == "char":
        text = data.split(b"\0")[0].decode("cp850")
        return '"' + text.rstrip() + '"' if text.isprintable() and text.strip() else ""
    if array is None and name in SIZES:
        signed = name in ("std::int8_t", "little_int16_t", "little_int32_t")
        return str(int.from_bytes(data, "little", signed=signed))
    return ""


def rows(type_name, data, base=0, prefix=""):
    at = base
    for field in TYPES[type_name]:
        name, label, array, _, meaning = field[1], field[2], field[3], field[4], field[5] or ""
        size = width(name) * count(array)
        part = None if data is None else data[at : at + size]
        if name in TYPES and name != "SizeBitmap" and array is None:
            yield from rows(name, data, at, prefix + label + ".")
        else:
            cells = [str(at), kind(name, array), f"`{prefix}{label}`"]
            if part is not None:
                shown = part[:HIGHEST_SHOWN].hex(" ") + (" ..." if size > HIGHEST_SHOWN else "")
                cells += [f"`{shown}`", value(name, array, part).replace("|", "\\|")]
            yield cells + [meaning]
        at += size


def layout(shop, type_name, file=None, where=None):
    size = width(type_name)
    data = None
    if file is not None:
        at = int(where[1:], 0) if where.startswith("@") else int(where) * size
        data = (shop / file).read_bytes()[at : at + size]
        assert len(data) == size, (file, where)
    heads = ["At", "Type", "Field"] + (["Bytes", "Value"] if data else []) + ["Meaning"]
    caption = f"`{type_name}`, {size} bytes"
    if data:
        caption += f"; {'here at' if type_name.startswith('ix_') else 'the record at'} {at} of `{file}`"
    return [caption + ":", "", *table(heads, rows(type_name, data))]


def table(heads, lines):
    yield "| " + " | ".join(heads) + " |"
    yield "|" + "---|" * len(heads)
    for cells in lines:
        yield "| " + " | ".join(cells) + " |"


def keys(shop, name):
    header = (shop / f"{name}.INX").read_bytes()[:512]
    lines = []
    for k in range(header[11]):
        key = header[48 + 42 * k : 90 + 42 * k]
        parts = [
            f"{'text' if key[11 + s : 12 + s] == b'C' else 'integer'} {key[21 + s] - 1}-{key[31 + s] - 1}"
            for s in range(10)
            if key[11 + s] in b"CI" and key[11 + s]
        ]
        dups = "yes" if key[8:9] == b"J" else "no"
        lines.append([str(k + 1), key[:8].split(b"\0")[0].decode(), ", ".join(parts), str(key[9]), dups])
    reclen = struct.unpack_from("<h", header, 24)[0]
    head = f"`{name}`: records of {reclen} bytes."
    return [head, "", *table(["Key", "Name", "Bytes of the record", "Length", "Duplicates"], lines)]


def dump(shop, file, offset, length):
    data = (shop / file).read_bytes()
    lines = ["```"]
    for at in range(int(offset, 0), int(offset, 0) + int(length, 0), 16):
        part = data[at : at + 16]
        text = "".join(chr(b) if 32 <= b < 127 else "." for b in part)
        lines.append(f"{at:08x}  {part.hex(' '):47}  {text}")
    return [*lines, "```"]


def filled(text, shop):
    def fill(found):
        words = found[1].split()
        body = {"layout": layout, "keys": keys, "dump": dump}[words[0]](shop, *words[1:])
        return f"<!-- {found[1]} -->\n" + "\n".join(body) + "\n<!-- end -->"

    return re.sub(r"<!-- ((?:layout|keys|dump) [^>]*?) -->\n.*?<!-- end -->", fill, text, flags=re.S)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--check", action="store_true")
    parser.add_argument("shop", type=pathlib.Path)
    given = parser.parse_args()
    text = DOCUMENT.read_text()
    new = filled(text, given.shop)
    if given.check:
        for old_line, new_line in zip(text.splitlines(), new.splitlines()):
            if old_line != new_line:
                print(f"{DOCUMENT.name}:\n- {old_line}\n+ {new_line}")
        return text != new
    DOCUMENT.write_text(new)
    return 0


sys.exit(main())
