#!/usr/bin/env python3
"""Line coverage per engine folder from the .gcda files under an object directory.

A line counts once however many objects compile it (headers): covered if any count is above 0.
Usage: coverage-table.py OBJECT_DIR SOURCE_ROOT
With KESTO_COVERAGE_LINES=FILE set, the uncovered lines are also written there, one per line, so
that two runs can be compared.
"""
import json
import os
import subprocess
import sys

FOLDERS = ["platform", "core", "shader", "gl", "image", "scene", "draw", "jni"]

objects, root = sys.argv[1], os.path.realpath(sys.argv[2])
lines = {}  # (file, line) -> covered
for directory, _, names in os.walk(objects):
    data = [n for n in names if n.endswith(".gcda")]
    if not data:
        continue
    out = subprocess.run(["gcov", "--json-format", "--stdout"] + data, cwd=directory,
                         capture_output=True, text=True, check=True).stdout
    for document in out.splitlines():
        for source in json.loads(document)["files"]:
            path = os.path.realpath(os.path.join(directory, source["file"]))
            relative = os.path.relpath(path, root)
            if relative.split(os.sep)[0] not in FOLDERS:
                continue
            for line in source["lines"]:
                key = (relative, line["line_number"])
                lines[key] = lines.get(key, False) or line["count"] > 0

print(f"{'folder':10} {'covered':>8} {'lines':>7} {'coverage':>9}")
total_covered = total = 0
for folder in FOLDERS:
    mine = [covered for (path, _), covered in lines.items() if path.split(os.sep)[0] == folder]
    covered = sum(mine)
    total_covered += covered
    total += len(mine)
    print(f"{folder:10} {covered:8} {len(mine):7} {100.0 * covered / max(len(mine), 1):8.1f}%")
print(f"{'total':10} {total_covered:8} {total:7} {100.0 * total_covered / max(total, 1):8.1f}%")

if os.environ.get("KESTO_COVERAGE_LINES"):
    with open(os.environ["KESTO_COVERAGE_LINES"], "w") as out:
        for path, number in sorted(key for key, covered in lines.items() if not covered):
            out.write(f"{path}:{number}\n")
