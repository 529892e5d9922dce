#!/usr/bin/env python3
"""Holds the Mac recipe's three written forms to each other until a Mac runs them: README's
"Building on macOS", .github/workflows/macos.yml and CMakePresets.json name the same Homebrew
packages, the same QCoro release and presets that exist."""

import json
import re
import sys

root = sys.argv[1]
readme = open(f"{root}/README.md", encoding="utf-8").read()
workflow = open(f"{root}/.github/workflows/macos.yml", encoding="utf-8").read()
presets = json.load(open(f"{root}/CMakePresets.json", encoding="utf-8"))
problems = []

section = readme.split("## Building on macOS", 1)[1].split("\n## ", 1)[0]


def brew_packages(text, where):
    found = re.search(r"brew install ([^\n]+)", text)
    if not found:
        problems.append(f"{where} installs nothing with brew")
        return set()
    return set(found.group(1).split())


if brew_packages(section, "README") != brew_packages(workflow, "the workflow"):
    problems.append("README and the workflow install different Homebrew packages")
for needed in ("qt", "nlohmann-json", "libarchive", "googletest", "google-benchmark", "simdjson"):
    if needed not in brew_packages(section, "README"):
        problems.append(f"README does not install {needed}")

readme_qcoro = re.findall(r"qcoro/archive/refs/tags/v([0-9.]+)\.tar\.gz", section)
workflow_qcoro = re.findall(r"QCORO_VERSION: ([0-9.]+)", workflow)
if not readme_qcoro or readme_qcoro != [readme_qcoro[0]] * len(readme_qcoro):
    problems.append("README does not pin one QCoro release")
elif workflow_qcoro != readme_qcoro[:1]:
    problems.append(f"the workflow builds QCoro {workflow_qcoro}, README {readme_qcoro[0]}")

names = {kind: {p["name"] for p in presets.get(kind, [])}
         for kind in ("configurePresets", "buildPresets", "testPresets")}
for kind, name in re.findall(r"(cmake|cmake --build|ctest) --preset (\w+)", section + workflow):
    table = {"cmake": "configurePresets", "cmake --build": "buildPresets", "ctest": "testPresets"}[kind]
    if name not in names[table]:
        problems.append(f"'{kind} --preset {name}' names no preset in CMakePresets.json")
for system in ("linux", "macos"):
    for table in names.values():
        if system not in table:
            problems.append(f"CMakePresets.json has no {system} preset in every table")
            break

if "scripts/package-macos" not in workflow:
    problems.append("the workflow does not make the disk image")

for problem in problems:
    print(problem)
print(f"{len(problems)} problems")
sys.exit(1 if problems else 0)
