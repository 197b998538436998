#!/usr/bin/env python3
"""Every pair of a one-line setter and its getter in the headers that it is given, a row each for dmAccessorsTest.cpp:
ACCESSOR(class to make, class of the pair, enumerator, setter, getter)."""
import re
import sys

# What stands for a class that nobody makes.
MADE = {"DmTreeNode": "DmBlobNode", "DmSegmentNode": "DmGapNode", "DmTransitionNode": "DmCutNode",
        "DmSourceNode::Input": "DmSourceNode::MediaInput", "DmChannel": "DmSimpleChannel",
        "DmEffectSettings": "DmEffectLayer", "DmTimewarpSettings": "DmVTimewarpSettings"}
CLASS = re.compile(r"^class ZR_DM_API ([\w:]+)(?: final)?\s*:", re.M)
# Of a value: objects are shared, which other tests look at.
SETTER = re.compile(r"eDmErrorId set(\w+)\((?!const (?:CoShared|DmPropertySetP))[^,()]+\)"
                    r"\s*\{\s*return set(?:Strings)?\((\w+), [^;]*;\s*\}")
PREFIXES = "get", "is", "has", ""

for path in sys.argv[1:]:
    with open(path, encoding="utf-8") as file:
        text = file.read()
    starts = [*CLASS.finditer(text)]
    for found, end in zip(starts, [each.start() for each in starts[1:]] + [len(text)]):
        name, body = found.group(1), text[found.start():end]
        for what, enumerator in SETTER.findall(body):
            getters = [prefix + what for prefix in PREFIXES] + [what[0].lower() + what[1:]]
            known = [each for each in getters if re.search(rf"\b{each}\([^()]*\) const", body)]
            if len(known) != 1:
                sys.exit(f"{path}: {name}::set{what} has no getter that is named after it, or several: {known}")
            print(f"ACCESSOR({MADE.get(name, name)}, {name}, {enumerator}, set{what}, {known[0]})")
