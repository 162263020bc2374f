#!/usr/bin/python3
"""Checks the JSON that the command line's views printed (one file per view, named after it) against the
schema the man page documents: usage: check_json_schema.py SCHEMA DIRECTORY."""
import json
import sys
from pathlib import Path

import jsonschema


def main():
    schema = json.loads(Path(sys.argv[1]).read_text())
    printed = sorted(Path(sys.argv[2]).glob("*.json"))
    views = set(schema["$defs"]) - {"mac", "vlan", "port", "count", "option", "counters"}
    failures = 0
    for path in printed:
        view = path.stem
        checker = jsonschema.Draft202012Validator({"$ref": f"#/$defs/{view}", "$defs": schema["$defs"]})
        for error in checker.iter_errors(json.loads(path.read_text())):
            print(f"{view}: {error.json_path}: {error.message}")
            failures += 1
    missing = views - {path.stem for path in printed}
    for view in sorted(missing):
        print(f"{view}: no JSON was printed to check")
    print(f"{len(printed)} views checked, {failures} findings")
    return 1 if failures or missing else 0


if __name__ == "__main__":
    sys.exit(main())
