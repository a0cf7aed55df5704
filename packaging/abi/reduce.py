# SPDX-License-Identifier: Apache-2.0
"""Reduces what abidw wrote of the library to the mt_* functions and the types that they name.
usage: reduce.py FROM TO"""
import sys
import xml.etree.ElementTree as ET

tree = ET.parse(sys.argv[1])
types = {e.get("id"): e for e in tree.iter() if e.get("id") and e.tag != "elf-symbol"}
functions = {e.get("name"): e for e in tree.iter("function-decl")
             if e.get("name").startswith("mt_") and e.get("elf-symbol-id")}

# What the header only names is opaque, whatever it is within.
for e in list(tree.iter("class-decl")):
    if not e.get("filepath", "").endswith("mimetree/mimetree.h"):
        e[:] = []
        e.attrib.pop("size-in-bits", None)
        e.set("is-declaration-only", "yes")

# Each type stands in front of what needs it, but where they go in a circle.
ordered = []
seen = set()


def need(element):
    for e in element.iter():
        name = e.get("type-id") or e.get("naming-typedef-id")
        if name and name not in seen:
            seen.add(name)
            need(types[name])
            ordered.append(types[name])


for name in sorted(functions):
    need(functions[name])
# Places in sources change with each line.
for element in tree.iter():
    for place in ("filepath", "line", "column"):
        element.attrib.pop(place, None)
for instr in tree.getroot().findall("abi-instr"):
    tree.getroot().remove(instr)
out = ET.SubElement(tree.getroot(), "abi-instr", {
    "address-size": "64", "path": "include/mimetree/mimetree.h", "language": "LANG_C11"})
out.extend(ordered)
out.extend(functions[name] for name in sorted(functions))
ET.indent(tree)
tree.write(sys.argv[2], encoding="unicode")
