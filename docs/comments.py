#!/usr/bin/env python3
"""Headers as Doxygen reads them: it takes /// for what the house writes as //.

The comment that opens a header is that of the file; one above declarations belongs to all of them down to the next
empty line; one behind a declaration belongs to that. Lines that stand further in, formulas and tables, stay as they
are.
"""
import re
import sys

SPECIAL = re.compile(r"([\\@<>&#%])")


def marked_up(lines):
    """The text of a comment, a line each, for Doxygen."""
    out, in_verbatim = [], False
    for line in lines:
        is_formula = line.startswith("  ") or (in_verbatim and not line)
        if is_formula and not in_verbatim:
            out.append("@verbatim")
            in_verbatim = True
        elif not is_formula and in_verbatim:
            while out[-1] == "":
                out.pop()
            out.append("@endverbatim")
            in_verbatim = False
        out.append(line if in_verbatim else SPECIAL.sub(r"\\\1", line))
    if in_verbatim:
        out.append("@endverbatim")
    return ["/// " + line if line else "///" for line in out]


def main():
    name = sys.argv[1]
    lines = open(name, encoding="utf-8").read().split("\n")
    if not name.endswith(".h"):
        print("\n".join(lines))
        return
    k, comment = 0, []
    first = True
    out = []
    while k < len(lines):
        block = []
        while k < len(lines) and re.match(r"\s*//", lines[k]):
            block.append(re.sub(r"^\s*// ?", "", lines[k]).rstrip())
            k += 1
        if block and first:
            out += ["/// @file"] + marked_up(block)
            first = False
            comment = []
            continue
        if block:
            comment = marked_up(block)
        if k >= len(lines):
            break
        line = lines[k]
        k += 1
        if not line.strip():
            comment = []
            out.append(line)
            continue
        begins = not out or not out[-1].strip() or re.search(r"[;{}:]\s*(///.*)?$", out[-1]) or out[-1].lstrip().startswith("///")
        if comment and begins and not line.lstrip().startswith(("#", "}", "public:", "private:", "friend")):
            out += comment
            if line.rstrip().endswith("{"):
                comment = []
        text = re.match(r"(.*[;,{}])\s*// ?(.*)$", line) or re.match(r"(.*[\w\d])\s+// ?(.*)$", line)
        if text:
            trailing = [text[2]]
            while k < len(lines) and re.match(r"\s{8,}//", lines[k]):
                trailing.append(re.sub(r"^\s*// ?", "", lines[k]))
                k += 1
            out.append(text[1] + " ///< " + SPECIAL.sub(r"\\\1", " ".join(trailing)))
        else:
            out.append(line)
    print("\n".join(out))


main()
