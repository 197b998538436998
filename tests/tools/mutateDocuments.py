"""Mutates documents at random and says of each what a JSON Schema thinks of it: a line a mutation,
"valid" or "invalid", what was done, and the document; between tabs.

Each mutation is made in a document that holds one way from the top to one object, and what hangs on
single members of that way; so that thousands of them are checked in seconds.

    mutateDocuments.py SCHEMA SEED COUNT DOCUMENT...
"""

import json
import random
import sys

from jsonschema import Draft202012Validator

SCALARS = (None, True, False, 0, 1, -1, 7, 25.0, 1.5, -0.25, 3_000_000_000, 2**64, 1e40, "", "x", "7", "true")
NUMBERS = (-1, 0, 1, 2, 3, 12, 99, 0.5, 25.0, 32768, 70000, -2147483648, 2147483648, 2**63, 1e22, 1e39, -1e300)
TEXTS = ("", "25 fps", "26 fps", "29.97 FPS df", "???", "A", "\u00e9", "1e", "\U0001f3ac", "a\nb")
ELEMENTS = ("7", "-7", "1.5", "1e3", ".5", "5.", "seven", "", "0x10")


class Object(list):
    """Members in order, a name twice if need be."""


def spelled(value):
    if isinstance(value, Object):
        return "{" + ",".join(json.dumps(name) + ":" + spelled(member) for name, member in value) + "}"
    if isinstance(value, list):
        return "[" + ",".join(map(spelled, value)) + "]"
    return json.dumps(value)


def pruned(value, rng):
    """The value with one element, or entry, of each collection of objects at most."""
    if isinstance(value, Object):
        members = value
        if len(members) > 1 and all(isinstance(member, Object) for _, member in members):
            members = [rng.choice(members)]
        return Object((name, pruned(member, rng)) for name, member in members)
    if isinstance(value, list):
        kept = [rng.choice(value)] if value and isinstance(value[0], Object) else value[:3]
        return [pruned(element, rng) for element in kept]
    return value


def places(value):
    """All objects and arrays that have something in them."""
    if isinstance(value, list):
        if value:
            yield value
        for each in value:
            yield from places(each[1] if isinstance(value, Object) else each)


def misspelt(name, rng):
    at = rng.randrange(len(name) + 1)
    return rng.choice([name[:at] + "x" + name[at:], name[:at] + name[at + 1 :], name.swapcase(), name + " ", ""])


def mutate(document, rng):
    """Changes one thing; says which."""
    place = rng.choice(list(places(document)))
    at = rng.randrange(len(place))
    in_object = isinstance(place, Object)
    value = place[at][1] if in_object else place[at]

    def put(new):
        place[at] = (place[at][0], new) if in_object else new

    what = rng.choice(("kind", "range", "missing", "extra", "misspelt", "twice"))
    if what == "kind":
        put(rng.choice((*SCALARS, Object(), [], [7], ["7"], [Object()], Object([("DmGapNode", Object())]))))
    elif what == "range":
        if isinstance(value, bool) or value is None or isinstance(value, list):
            put(rng.choice(SCALARS))
        elif isinstance(value, str):
            put(rng.choice(TEXTS if in_object else ELEMENTS))
        else:
            put(rng.choice(NUMBERS))
    elif what == "missing":
        del place[at]
    elif not in_object:
        what = "extra"
        place.insert(at, rng.choice((*SCALARS, Object(), *ELEMENTS)))
    elif what == "extra":
        name = rng.choice(("name", "comment", "recIn", "DmGapNode", "DmRoot", "VERSION", "more", "\0", "fcm"))
        place.insert(at, (name, rng.choice((*SCALARS, Object(), []))))
    elif what == "misspelt":
        place[at] = (misspelt(place[at][0], rng), value)
    else:
        place.append((place[at][0], value))
    return f"{what} {place[at][0] if in_object and at < len(place) else at!r}"


def main(schema_path, seed, count, *paths):
    with open(schema_path, encoding="utf-8") as file:
        validator = Draft202012Validator(json.load(file))
    documents = []
    for path in paths:
        with open(path, encoding="utf-8") as file:
            documents.append(json.load(file, object_pairs_hook=Object))
    rng = random.Random(int(seed))
    for _ in range(int(count)):
        document = pruned(rng.choice(documents), rng)
        what = mutate(document, rng)
        text = spelled(document)
        print("valid" if validator.is_valid(json.loads(text)) else "invalid", json.dumps(what), text, sep="\t")
    return 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
