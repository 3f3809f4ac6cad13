#!/usr/bin/env python3
"""Prints each source file that is not as clang-format makes it, circles of includes, and dead includes.

A .cpp and its header are one module, and circles are those of modules. An include is dead if the file uses no name that
the header itself declares.
"""

import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).parent.parent
FILES = {str(path.relative_to(ROOT)): path.read_text() for path in sorted(ROOT.glob("*/**/*"))
         if path.suffix in (".cpp", ".h") and path.relative_to(ROOT).parts[0] not in ("build", "out")}
INCLUDE = re.compile(r'^#include "([^"]+)"', re.MULTILINE)
INCLUDES = {name: [each for each in INCLUDE.findall(text) if each in FILES] for name, text in FILES.items()}
DECLARED = re.compile(r"\b([A-Za-z_]\w*)\s*(?=[(=;{\[,:<}])|#define\s+(\w+)|\b(?:struct|enum|using)\s+(\w+)")
# Its macros are what the SDK's headers need.
ALWAYS_USED = {"platform/sdk/sdk.h"}


def code_of(name):
    return re.sub(r"//[^\n]*|#include[^\n]*", "", FILES[name])


def declared(name):
    text, before = code_of(name), None
    while text != before:
        text, before = re.sub(r"\([^()]+\)", "()", text), text
    return {word for groups in DECLARED.findall(text) for word in groups} - {"", "std", "namespace", "noexcept", "const", "int"}


def module_of(name):
    return name.rpartition(".")[0]


def complaints():
    run = subprocess.run(["clang-format", "--dry-run", "-Werror", *FILES], cwd=ROOT, capture_output=True, text=True)
    yield from sorted({line.split(":")[0] + ": not formatted" for line in run.stderr.splitlines() if ": error:" in line})
    modules = {}
    for name, includes in INCLUDES.items():
        modules.setdefault(module_of(name), set()).update(module_of(each) for each in includes)
    # Modules that include none of the rest, or that none of the rest includes, are in no circle.
    while safe := [each for each in modules if not modules[each] & (modules.keys() - {each})
                   or not any(each in modules[other] for other in modules.keys() - {each})]:
        for each in safe:
            del modules[each]
    yield from (f"{each}: in a circle of includes" for each in modules)
    for name, includes in INCLUDES.items():
        words = set(re.findall(r"\w+", code_of(name)))
        for each in includes:
            if module_of(each) != module_of(name) and each not in ALWAYS_USED and not words & declared(each):
                yield f"{name}: uses nothing of {each}"


found = list(complaints())
print("\n".join(found))
sys.exit(1 if found else 0)
