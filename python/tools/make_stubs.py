"""Writes the type stubs of the extension module ostradb._ostradb from the built module.

    python3 make_stubs.py OUTPUT.pyi      (with the built package on PYTHONPATH)

Methods and functions take their signatures from the first lines of their docstrings, which
pybind11 writes; properties their type from their own docstring (the properties made from the
declared-property tables) or from their getter's signature. A signature that still names a
C++ type means a class was bound after a function that uses it: that fails here, so that the
binding's order is fixed before the stubs mislead anyone.
"""

import re
import sys

import ostradb._ostradb as ext

HEADER = '''\
# Type stubs of the extension module ostradb._ostradb, written from the built module by
# python/tools/make_stubs.py.
#
# Out-parameters. An object that a command fills (a TLevelFilesList, a TStringList, a
# TObjectHandle ...) is passed by the caller and filled in place, as in C++; it must be of
# exactly that class. A plain value that a C++ method hands back through a reference (a
# number, a string, a bool) is returned instead: as the result when the method returns
# nothing, else in a tuple after the method's own result. Where C++ reads a string list, a list
# or tuple of str does too. XML documents and elements are XML text. Payloads go to binary file
# objects or bytearrays and come from binary file objects, bytes or other buffers.
#
# Items of collections are the items themselves, not copies. An item taken out stays usable
# when its collection drops it (cleared, the item deleted, filled again by a command): it lives
# on, detached from the collection. An object passed to a call belongs to the call until it
# returns: leave it alone in other threads.

import datetime
import os
from typing import (Any, BinaryIO, Callable, ClassVar, Dict, Iterable, Iterator, List, Optional,
                    Sequence, Tuple, overload)

'''

MODULE = ext.__name__ + "."
SKIPPED = {
    "__module__", "__doc__", "__dict__", "__weakref__", "__members__", "__entries",
    "__getstate__", "__setstate__", "__hash__", "_pybind11_conduit_v1_",
}


def clean(text):
    text = text.replace(MODULE, "").replace("typing.", "")
    text = re.sub(r"\bhandle\b|\bobject\b", "Any", text)
    return text


def split_params(params):
    """The parameters of a signature, split at the commas outside brackets."""
    parts, depth, current = [], 0, ""
    for ch in params:
        if ch in "[(":
            depth += 1
        elif ch in "])":
            depth -= 1
        if ch == "," and depth == 0:
            parts.append(current.strip())
            current = ""
        else:
            current += ch
    if current.strip():
        parts.append(current.strip())
    return parts


def stub_params(params):
    out = []
    for p in split_params(params):
        name, _, default = p.partition("=")
        name = name.strip()
        if name.startswith("self:"):
            name = "self"
        out.append(name + (" = ..." if default else ""))
    return ", ".join(out)


def signatures(obj, name):
    """The (parameters, result) of each overload in a pybind11 docstring."""
    doc = obj.__doc__ or ""
    found = re.findall(r"^(?:\d+\. )?" + re.escape(name) + r"\((.*)\) -> (.+)$", doc, re.M)
    if not found:
        raise SystemExit(f"make_stubs: no signature for {name}: {doc[:80]!r}")
    for params, result in found:
        if "::" in params or "::" in result:
            raise SystemExit(f"make_stubs: {name} names a C++ type: {params} -> {result}")
    return [(clean(params), clean(result)) for params, result in found]


def write_function(out, indent, name, obj, static=False):
    sigs = signatures(obj, name)
    for params, result in sigs:
        if len(sigs) > 1:
            out.append(f"{indent}@overload")
        if static:
            out.append(f"{indent}@staticmethod")
        out.append(f"{indent}def {name}({stub_params(params)}) -> {result}: ...")


def property_type(prop):
    doc = (prop.__doc__ or "").strip()
    if re.fullmatch(r"[\w\[\], |.]+", doc):
        return clean(doc)
    fget_doc = getattr(prop.fget, "__doc__", "") or ""
    m = re.search(r"\) -> (.+)$", fget_doc.splitlines()[0] if fget_doc else "")
    return clean(m.group(1)) if m else "Any"


def is_enum(cls):
    return "__members__" in dir(cls) and hasattr(cls, "__entries")


def write_class(out, cls):
    bases = [b.__name__ for b in cls.__bases__ if b.__module__ == ext.__name__]
    out.append(f"class {cls.__name__}({', '.join(bases)}):" if bases else f"class {cls.__name__}:")
    body = []
    if is_enum(cls):
        for member in cls.__members__:
            body.append(f"    {member}: ClassVar[{cls.__name__}]")
        body += [
            "    def __init__(self, value: int) -> None: ...",
            "    def __int__(self) -> int: ...",
            "    def __index__(self) -> int: ...",
            "    @property",
            "    def name(self) -> str: ...",
            "    @property",
            "    def value(self) -> int: ...",
        ]
    else:
        for name, member in cls.__dict__.items():
            if name in SKIPPED:
                continue
            if type(member).__name__ == "pybind11_static_property":
                body.append(f"    {name}: ClassVar[{type(getattr(cls, name)).__name__}]")
            elif isinstance(member, property):
                kind = property_type(member)
                if member.fset is None:
                    body += ["    @property", f"    def {name}(self) -> {kind}: ..."]
                else:
                    body.append(f"    {name}: {kind}")
            elif isinstance(member, staticmethod):
                write_function(body, "    ", name, member.__func__, static=True)
            elif type(member).__name__ in ("instancemethod", "builtin_function_or_method"):
                write_function(body, "    ", name, member)
            elif callable(member):
                continue  # a slot of pybind11's own, such as the __init__ of a class without one
            elif not name.startswith("_"):
                body.append(f"    {name}: ClassVar[{type(getattr(cls, name)).__name__}]")
        # Sequences iterate through __getitem__; type checkers want __iter__.
        if "__getitem__" in cls.__dict__ and "__iter__" not in cls.__dict__:
            item = signatures(cls.__dict__["__getitem__"], "__getitem__")[0][1]
            body.append(f"    def __iter__(self) -> Iterator[{item}]: ...")
    out += body or ["    ..."]
    out.append("")


def main(path):
    out = [HEADER]
    classes = [v for v in vars(ext).values() if isinstance(v, type) and v.__module__ == ext.__name__]
    for cls in classes:
        write_class(out, cls)
    for name, value in vars(ext).items():
        if name.startswith("_"):
            continue
        if isinstance(value, type):
            continue
        if callable(value):
            write_function(out, "", name, value)
        elif type(value).__module__ == ext.__name__:
            out.append(f"{name}: {type(value).__name__}")
    with open(path, "w", encoding="utf-8") as f:
        f.write("\n".join(out) + "\n")


if __name__ == "__main__":
    main(sys.argv[1])
