#!/usr/bin/env python3
"""The Mac app's bundle files, read back as a Mac would read them.

    mac_bundle_tests.py BUILD_DIR SOURCE_DIR VERSION TEST
"""

import plistlib
import struct
import subprocess
import sys
import tempfile
import zlib
from pathlib import Path

# The pictures a Mac asks of an app icon, by type: 16 to 512 points at one and two pixels a point.
ICNS_SIZES = {
    b"icp4": 16, b"ic11": 32, b"icp5": 32, b"ic12": 64, b"ic07": 128,
    b"ic13": 256, b"ic08": 256, b"ic14": 512, b"ic09": 512, b"ic10": 1024,
}
PNG_SIGNATURE = b"\x89PNG\r\n\x1a\n"


def fail(message):
    print("FAIL:", message)
    sys.exit(1)


def check(condition, message):
    if not condition:
        fail(message)


def write_plist(source, out, **values):
    arguments = ["cmake", f"-DTEMPLATE={source}/dist/macos/Info.plist.in", f"-DOUTPUT={out}"]
    arguments += [f"-D{key}={value}" for key, value in values.items()]
    arguments += ["-P", f"{source}/dist/macos/info_plist.cmake"]
    subprocess.run(arguments, check=True)


def info_plist_holds_the_bundle_keys(build, source, version):
    with open(Path(build) / "macos" / "Info.plist", "rb") as file:
        plist = plistlib.load(file)  # raises on anything that is not a property list
    expected = {
        "CFBundleIdentifier": "app.brightloom.Brightloom",
        "CFBundleName": "Brightloom",
        "CFBundleDisplayName": "Brightloom",
        "CFBundleShortVersionString": version,
        "CFBundleVersion": version,
        "CFBundleExecutable": "Brightloom",
        "CFBundleIconFile": "AppIcon",
        "CFBundlePackageType": "APPL",
        "LSMinimumSystemVersion": "12.0",
        "NSHighResolutionCapable": True,
        "LSApplicationCategoryType": "public.app-category.developer-tools",
    }
    for key, value in expected.items():
        check(plist.get(key) == value, f"{key} is {plist.get(key)!r}, not {value!r}")
    types = plist.get("CFBundleURLTypes")
    check(isinstance(types, list) and len(types) == 1, f"CFBundleURLTypes is {types!r}")
    check(types[0].get("CFBundleURLSchemes") == ["brightloom"], f"the schemes are {types[0]!r}")


def info_plist_values_are_escaped(build, source, version):
    with tempfile.TemporaryDirectory() as folder:
        out = Path(folder) / "Info.plist"
        hostile = "A & B </string><key>LSUIElement</key><true/><string>"
        write_plist(source, out, BUNDLE_NAME=hostile, BUNDLE_EXECUTABLE="Brightloom",
                    BUNDLE_IDENTIFIER="app.brightloom.Brightloom", BUNDLE_VERSION="1.0",
                    BUNDLE_SCHEME="brightloom", BUNDLE_MINIMUM_SYSTEM="12.0")
        with open(out, "rb") as file:
            plist = plistlib.load(file)
        check(plist["CFBundleName"] == hostile, f"the name read back as {plist['CFBundleName']!r}")
        check("LSUIElement" not in plist, "a value added a key")


def icon_holds_every_mac_size(build, source, version):
    data = (Path(build) / "macos" / "AppIcon.icns").read_bytes()
    check(data[:4] == b"icns", "the file does not start with icns")
    check(struct.unpack(">I", data[4:8])[0] == len(data), "the stated length is not the file's")
    seen = {}
    at = 8
    while at < len(data):
        kind, length = data[at:at + 4], struct.unpack(">I", data[at + 4:at + 8])[0]
        check(length > 8 and at + length <= len(data), f"entry {kind!r} runs past the end")
        seen[kind] = data[at + 8:at + length]
        at += length
    check(set(seen) == set(ICNS_SIZES), f"the entries are {sorted(seen)}")
    for kind, png in seen.items():
        side = ICNS_SIZES[kind]
        width, height = decoded_size(png, kind)
        check((width, height) == (side, side), f"{kind!r} is {width}x{height}, not {side}x{side}")


def decoded_size(png, kind):
    """The size of a PNG whose every chunk is whole and whose image data inflates to its rows."""
    check(png.startswith(PNG_SIGNATURE), f"{kind!r} is not a PNG")
    at = len(PNG_SIGNATURE)
    header = None
    compressed = b""
    while at < len(png):
        length, chunk = struct.unpack(">I4s", png[at:at + 8])
        body = png[at + 8:at + 8 + length]
        crc = struct.unpack(">I", png[at + 8 + length:at + 12 + length])[0]
        check(zlib.crc32(chunk + body) == crc, f"{kind!r}: chunk {chunk!r} fails its check")
        if chunk == b"IHDR":
            header = struct.unpack(">IIBBBBB", body)
        elif chunk == b"IDAT":
            compressed += body
        at += 12 + length
    check(header is not None, f"{kind!r} has no header")
    width, height, depth, colour = header[:4]
    channels = {0: 1, 2: 3, 3: 1, 4: 2, 6: 4}[colour]
    row = 1 + (width * channels * depth + 7) // 8
    check(len(zlib.decompress(compressed)) == height * row, f"{kind!r}: the image data is not its rows")
    return width, height


TESTS = {
    "InfoPlistHoldsTheBundleKeysAndTheUrlScheme": info_plist_holds_the_bundle_keys,
    "InfoPlistValuesAreEscapedForXml": info_plist_values_are_escaped,
    "IconHoldsEveryMacSizeEachAPngOfItsStatedSize": icon_holds_every_mac_size,
}

if __name__ == "__main__":
    build_dir, source_dir, project_version, name = sys.argv[1:5]
    TESTS[name](build_dir, source_dir, project_version)
    print("ok")
