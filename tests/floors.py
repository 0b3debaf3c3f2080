#!/usr/bin/env python3
"""floors.py ROOT: fails if a file includes one that lies on a floor above its own.

ROOT/cmake/floors.txt says which floor each file lies on."""

import fnmatch
import pathlib
import re
import sys


def read_floors(list_file):
    rows = [line.split() for line in list_file.read_text().splitlines()
            if line and not line.startswith("#")]
    return [(pattern, int(floor)) for floor, pattern in rows]


def floor_of(floors, name):
    for pattern, floor in floors:
        if fnmatch.fnmatch(name, pattern):
            return floor
    return None


def main():
    root = pathlib.Path(sys.argv[1])
    floors = read_floors(root / "cmake" / "floors.txt")
    wrong = []
    met = set()
    for top in ("services", "pgm", "h", "nor", "tools"):
        for file in sorted((root / top).rglob("*.[ch]*")):
            name = file.relative_to(root).as_posix()
            own = floor_of(floors, name)
            met.add(own)
            if own is None:
                wrong.append(f"{name} lies on no floor: cmake/floors.txt has no row for it")
                continue
            for included in re.findall(r'^#include "([^"]+)"', file.read_text(), re.M):
                other = floor_of(floors, included)
                if other is None or other > own:
                    wrong.append(f"{name} (floor {own}) includes {included} (floor {other})")
    if len(met) < 5:
        wrong.append(f"{root} holds hardly any sources")
    print("\n".join(wrong))
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
