"""Random layered parameter-file sets for the agreement tests.

Every reader that says whether a value satisfies its annotation (``teskpf
check``, ``get --check``, ``set --check``, ``explain``, ``Node::check``, typed
conversion, Python ``entry.ok``) must give the same verdict on these sets:
annotations in lower files, overrides without them, blocks, lists and nested
blocks, drawn from a fixed seed so that a failure repeats.

usage: layered_sets.py DIR [COUNT [SEED]]
writes DIR/set<N>/l<K>/cfg.pf (l0 lowest precedence) and, on standard output,
one line per set: its PFPATH (colon-separated absolute paths).
"""

import os
import random
import sys

ANNOTATIONS = ["", "", "#<int>", "#<float>", "#<str>(a b c)", "#<int> <float>", "#<str>"]
VALUES = ["5", "0x1F", "2.5", "abc", "a", "b", "1 2.5", "x y", "-3", "c"]
NAME = "cfg"


def _value(rng: random.Random) -> str:
    return rng.choice(VALUES)


def _annotation(rng: random.Random) -> str:
    return rng.choice(ANNOTATIONS)


def _line(indent: int, key: str, value: str, annotation: str) -> str:
    text = "\t" * indent + (f"{key}\t{value}" if key else value)
    return text + (f"\t{annotation}" if annotation else "") + "\n"


def _block(rng: random.Random, indent: int, key: str, members: list[str], depth: int) -> str:
    """An &Arr{ block over `members`, maybe annotated, maybe with a nested block."""
    text = _line(indent, key, "&Arr{", _annotation(rng))
    for member in members:
        if depth < 1 and rng.random() < 0.2:
            text += _block(rng, indent + 1, member, ["p", "q"], depth + 1)
        else:
            text += _line(indent + 1, member, _value(rng), _annotation(rng) if rng.random() < 0.4 else "")
    return text + "\t" * indent + "}\n"


def _list(rng: random.Random, indent: int, key: str) -> str:
    text = _line(indent, key, "&Tbl{", _annotation(rng))
    for _ in range(rng.randint(1, 3)):
        text += _line(indent + 1, "", _value(rng), _annotation(rng) if rng.random() < 0.3 else "")
    return text + "\t" * indent + "}\n"


def _top(rng: random.Random, key: str, kind: str, upper: bool) -> str:
    if kind == "value":
        # An override mostly leaves the annotation to the file below.
        annotation = _annotation(rng) if not upper or rng.random() < 0.25 else ""
        return _line(0, key, _value(rng), annotation)
    if kind == "block":
        members = ["m", "n", "o"]
        if upper:  # an override drops or adds members
            members = rng.sample(members, rng.randint(1, 3)) + (["extra"] if rng.random() < 0.4 else [])
        return _block(rng, 0, key, members, 0)
    return _list(rng, 0, key)


def layered_set(rng: random.Random) -> list[str]:
    """The texts of 2 or 3 files, lowest precedence first."""
    kinds = {f"k{i}": rng.choice(["value", "value", "block", "list"]) for i in range(6)}
    layers = [
        "".join(_top(rng, key, kind, False) for key, kind in kinds.items()),
    ]
    for _ in range(rng.randint(1, 2)):
        chosen = [key for key in kinds if rng.random() < 0.6]
        layers.append("".join(_top(rng, key, kinds[key], True) for key in chosen) or "# nothing here\n")
    return layers


def write_sets(directory: str, count: int = 12, seed: int = 20261124) -> list[str]:
    """Writes `count` sets below `directory`; their PFPATHs, in order."""
    rng = random.Random(seed)
    paths = []
    for number in range(count):
        layers = layered_set(rng)
        dirs = []
        for level, text in enumerate(layers):
            layer_dir = os.path.join(os.path.abspath(directory), f"set{number}", f"l{level}")
            os.makedirs(layer_dir, exist_ok=True)
            with open(os.path.join(layer_dir, NAME + ".pf"), "w", encoding="utf-8") as out:
                out.write(text)
            dirs.append(layer_dir)
        paths.append(":".join(dirs))
    return paths


if __name__ == "__main__":
    args = sys.argv[1:]
    if not args:
        sys.exit(__doc__)
    for path in write_sets(args[0], *(int(a) for a in args[1:])):
        print(path)
