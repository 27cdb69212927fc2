#!/usr/bin/env python3
"""Keeps the message catalogues in step with the code.

The Dutch texts stand in the code, as the defaults of term_text() and detail_text(). This script collects them:

    catalog/collect.py            writes catalog/TERM351.msg and catalog/DETAIL.msg from the code, and makes
                                  room in catalog/en/ for the translation of what is new
    catalog/collect.py --check    changes nothing; tells what does not agree, with status 1

A translation stands below a comment with the Dutch text it was made from, so one that was not changed along with the
Dutch text is found. Both calls refuse a number that carries two texts, and a call whose set, number or
text does not stand in it literally.
"""
import argparse
import ctypes
import os
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
LAYERS = ["base", "store", "screen", "report", "print", "data", "check", "run", "tools"]
CATALOGUES = {"term_text": "TERM351", "detail_text": "DETAIL"}

SIMPLE = {"n": 10, "t": 9, "v": 11, "b": 8, "r": 13, "f": 12, "a": 7, "e": 27, "\\": 92, '"': 34, "'": 39, "?": 63}
TOKEN = re.compile(r'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])+\'|\w+|\s+|.', re.S)
# What the caller has to pass: a width or precision of its own is free, one that is passed is not.
CONVERSION = re.compile(rb"%([-+ #0-9.*'hlqjztL]*)(.?)", re.S)

problems = []


def literal(token):
    """The bytes of a C++ string literal."""
    out = bytearray()
    for hexa, octal, other, plain in re.findall(r"\\x([0-9a-fA-F]+)|\\([0-7]{1,3})|\\(.)|([^\\]+)", token[1:-1]):
        if hexa:
            out.append(int(hexa, 16))
        elif octal:
            out.append(int(octal, 8))
        elif other:
            out.append(SIMPLE[other])
        else:
            out += plain.encode("ascii")
    return bytes(out)


def calls(path):
    """Every call in a source: function, line, set, number and text."""
    source = path.read_text(encoding="utf-8")
    if not any(name in source for name in CATALOGUES):
        return
    line, tokens = 1, []
    for match in TOKEN.finditer(source):
        token = match.group()
        if not token.isspace() and not token.startswith(("//", "/*")):
            tokens.append((token, line))
        line += token.count("\n")
    for at, (name, line) in enumerate(tokens):
        if name not in CATALOGUES:
            continue
        words = [token for token, _ in tokens[at + 1 : at + 60]]
        texts = []
        for word in words[5:]:
            if not word.startswith('"'):
                break
            texts.append(word)
        head = words[:5]
        closed = words[5 + len(texts) : 6 + len(texts)] == [")"]
        if not texts or not closed or head[0::2] != ["(", ",", ","] or not (head[1] + head[3]).isdigit():
            problems.append(f"{path.relative_to(ROOT)}:{line}: set, number and text have to stand in the call")
            continue
        try:
            text = b"".join(map(literal, texts))
        except (UnicodeEncodeError, KeyError):
            problems.append(f"{path.relative_to(ROOT)}:{line}: texts are ASCII, with \\x for code page 850")
            continue
        yield CATALOGUES[name], line, (int(head[1]), int(head[3])), text


def collect():
    """The texts of the code, by catalogue, set and number."""
    found = {name: {} for name in CATALOGUES.values()}
    places = {}
    for layer in LAYERS:
        for path in sorted((ROOT / layer).rglob("*")):
            if path.suffix not in (".cpp", ".h") or path.name in ("catalog.cpp", "catalog.h"):
                continue
            for catalogue, line, key, text in calls(path):
                place = f"{path.relative_to(ROOT)}:{line}"
                if found[catalogue].setdefault(key, text) != text:
                    problems.append(f"{place}: {catalogue} {key[0]},{key[1]} has another text in "
                                    f"{places[catalogue, key]}")
                places.setdefault((catalogue, key), place)
    return found


def quoted(text):
    """A text as it stands in a source of gencat."""
    out = '"'
    named = {10: "\\n", 9: "\\t", 92: "\\\\", 34: '\\"'}
    for byte in text:
        if byte in named:
            out += named[byte]
        elif 32 <= byte < 127:
            out += chr(byte)
        elif byte >= 64:
            out += f"\\{byte:03o}"
        else:
            raise ValueError(f"control character {byte} in a text")
    return out + '"'


def unquoted(text):
    out = bytearray()
    for octal, other, plain in re.findall(r"\\([0-7]{3})|\\(.)|([^\\]+)", text[1:-1]):
        out += bytes([int(octal, 8)]) if octal else bytes([SIMPLE[other]]) if other else plain.encode("ascii")
    return bytes(out)


def read_source(path):
    """The texts of a catalogue source, and the Dutch texts in the comments above them."""
    texts, originals, in_set, original = {}, {}, 0, None
    for line in path.read_text(encoding="ascii").splitlines() if path.exists() else []:
        if line.startswith("$set "):
            in_set = int(line[5:])
        elif line.startswith('$ nl "'):
            original = unquoted(line[5:])
        elif match := re.fullmatch(r'(\d+) (".*")', line):
            texts[in_set, int(match[1])] = unquoted(match[2])
            originals[in_set, int(match[1])] = original
            original = None
        elif line and not line.startswith("$"):
            problems.append(f"{path.relative_to(ROOT)}: can't read '{line}'")
    return texts, originals


def write_source(path, heading, rows):
    """Rows are key, Dutch text for the comment or None, and text; None leaves a gap for the translator."""
    lines = ["$ codeset=IBM850", *(f"$ {line}" for line in heading), '$quote "']
    in_set = None
    for (number_of_set, number), original, text in rows:
        if number_of_set != in_set:
            lines += ["", f"$set {number_of_set}"]
            in_set = number_of_set
        lines += [f"$ nl {quoted(original)}"] if original is not None else []
        lines.append(f"$ not translated: {number}" if text is None else f"{number} {quoted(text)}")
    path.write_text("\n".join(lines) + "\n", encoding="ascii")


def argument_types(text):
    return [re.sub(rb"[-+ #0-9.']", b"", flags) + kind
            for flags, kind in CONVERSION.findall(text.replace(b"%%", b""))]


def heading(path):
    """The comment at the head of a translation."""
    lines = path.read_text(encoding="ascii").splitlines() if path.exists() else []
    return [line[2:] for line in lines[1 : lines.index('$quote "')]] if lines else []


def translations():
    return sorted(path.name for path in (ROOT / "catalog").iterdir() if list(path.glob("*.msg")))


def update(found):
    for catalogue, texts in found.items():
        write_source(ROOT / "catalog" / f"{catalogue}.msg",
                     [f"The Dutch texts of {catalogue}, written by collect.py from the defaults in the code."],
                     [(key, None, text) for key, text in sorted(texts.items())])
        for language in translations():
            path = ROOT / "catalog" / language / f"{catalogue}.msg"
            have, originals = read_source(path)
            write_source(path, heading(path),
                         [(key, originals.get(key) or text, have.get(key)) for key, text in sorted(texts.items())])


def check(found):
    for catalogue, texts in found.items():
        source, _ = read_source(ROOT / "catalog" / f"{catalogue}.msg")
        for key in sorted(source.keys() | texts.keys()):
            if source.get(key) != texts.get(key):
                problems.append(f"catalog/{catalogue}.msg {key[0]},{key[1]}: has {source.get(key)}, the code "
                                f"{texts.get(key)}; run catalog/collect.py")
        for language in translations():
            have, originals = read_source(ROOT / "catalog" / language / f"{catalogue}.msg")
            for key in sorted(have.keys() | texts.keys()):
                place = f"catalog/{language}/{catalogue}.msg {key[0]},{key[1]}"
                if key not in texts:
                    problems.append(f"{place}: not in the code any more; run catalog/collect.py")
                elif key not in have:
                    problems.append(f"{place}: {quoted(texts[key])} is not translated")
                elif originals[key] != texts[key]:
                    problems.append(f"{place}: was made from another Dutch text than {quoted(texts[key])}")
                elif argument_types(have[key]) != argument_types(texts[key]):
                    problems.append(f"{place}: its conversions are not those of {quoted(texts[key])}")


def check_compiled(directory, found):
    """What the C library finds in the compiled catalogues is what the code or the translation says."""
    libc = ctypes.CDLL(None)
    libc.catopen.restype = ctypes.c_void_p
    libc.catgets.restype = ctypes.c_char_p
    libc.catgets.argtypes = [ctypes.c_void_p, ctypes.c_int, ctypes.c_int, ctypes.c_char_p]
    for language in ["nl", *translations()]:
        for catalogue, texts in found.items():
            path = os.path.join(directory, language, f"{catalogue}.cat")
            if language != "nl":
                texts = read_source(ROOT / "catalog" / language / f"{catalogue}.msg")[0]
            handle = libc.catopen(path.encode(), 0)
            if ctypes.c_ssize_t(handle).value == -1:
                problems.append(f"{path}: can't be opened")
                continue
            for key, text in texts.items():
                compiled = libc.catgets(handle, *key, b"(none)")
                if compiled != text:
                    problems.append(f"{path} {key[0]},{key[1]}: has {compiled}, not {text}")


def main():
    parser = argparse.ArgumentParser(description="Keeps the message catalogues in step with the code.")
    parser.add_argument("--check", action="store_true", help="change nothing, tell what does not agree")
    parser.add_argument("--compiled", metavar="DIR", help="with --check: compare the compiled catalogues too")
    options = parser.parse_args()
    found = collect()
    if not problems and not options.check:
        update(found)
    check(found)
    if options.compiled:
        check_compiled(options.compiled, found)
    print("\n".join(problems), file=sys.stderr, end="\n" if problems else "")
    sys.exit(1 if problems else 0)


main()
