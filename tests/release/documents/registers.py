#!/usr/bin/env python3
"""Holds the map of docs/registers.md against the addresses of the driver: the same names, addresses and order.

Usage: registers.py SOURCE_FOLDER
"""

import difflib
import re
import sys
from pathlib import Path

root = Path(sys.argv[1])
header = (root / "components/PoeDriver/pd69104_registers.h").read_text()
space = re.search(r"namespace Register \{(.*?)\} // namespace Register", header, re.S).group(1)
used = re.findall(r"constexpr unsigned (\w+)(?:\(unsigned \w+\) \{\s*return| =) ([^;]+);", space)
shown = re.findall(r"^\| `(\w+)` \| `([^`]+)` \|", (root / "docs/registers.md").read_text(), re.M)

if not used or len(used) != space.count("constexpr"):
    sys.exit("cannot read the addresses of the driver: mend this test")
if used != shown:
    sys.exit("\n".join(difflib.unified_diff([f"{name} {address}" for name, address in used],
                                            [f"{name} {address}" for name, address in shown],
                                            "driver", "document", lineterm="")))
print(f"{len(used)} registers")
