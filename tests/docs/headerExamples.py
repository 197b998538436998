#!/usr/bin/env python3
"""The examples that the installed headers show, as one program to compile: headerExamples.py HEADER... > examples.cpp.

A class that an example defines stands by itself, the rest in a function; what that takes from around it declares
headerExamples.h."""
import os
import re
import sys

# What is no example of use but of a declaration inside a class, or no C++ at all.
DECLARATIONS = {"CoConfigFileReader.h", "zrAssert.h", "dmDeclare.h", "dmEffect.h", "dmNameTable.h", "dmOwned.h",
                "dmOwnedRecord.h", "dmPropertySetInit.h", "dmRare.h", "dmSlots.h", "envVar.h"}
LINE = re.compile(r"\s*///(?:     ?(.*)|\s*)$")


def examples(path):
    """(line number, lines) of each: what is indented behind an empty line, or at the begin of a comment."""
    found, block, above = [], None, ""
    with open(path, encoding="utf-8") as file:
        for number, line in enumerate(file, 1):
            match = LINE.match(line.rstrip("\n"))
            indented = match and match.group(1) is not None
            if block is None and indented and above in ("", "///"):
                block = (number, [])
                found.append(block)
            if block and match:
                block[1].append(match.group(1) or "")
            elif block:
                block = None
            above = line.strip()
    return [each for each in found if any(re.search(r"[;{]\s*(//.*)?$", line) for line in each[1])]


def main():
    classes, uses = "", ""
    count = 0
    for path in sorted(sys.argv[1:]):
        header = os.path.basename(path)
        for number, lines in [] if header in DECLARATIONS else examples(path):
            count += 1
            code = "\n".join(lines).strip().replace("...", "{}") # the caller's own
            code = re.sub(r"(void \w+\(.*\) override);", r"\1 {}", code)
            where = f'#line {number} "{header}"\n'
            if found := re.match(r"class .*?^};\n?", code, re.S | re.M):
                classes += where + found.group() + "\n"
                code = code[found.end():].strip()
            if code:
                uses += f"[[maybe_unused]] static int example{count}()\n{{\n{where}{code}\nreturn 0;\n}}\n"
    print(f'#include "headerExamples.h"\n{classes}{uses}')
    if count < 30:
        sys.exit(f"only {count} examples")


if __name__ == "__main__":
    main()
