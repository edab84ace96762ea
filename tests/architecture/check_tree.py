#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Checks the source tree: who may include and link what, and words that no file may hold.

Usage: check_tree.py [ROOT]. Prints one line per finding and exits with 1 when there is any.
"""

import re
import subprocess
import sys
from pathlib import Path

# Folder -> (include prefixes of ours that it may use, third parties that it may use).
# The longest matching folder counts.
ARROWS = {
    "base": (["base/"], []),
    "engine": (["engine/", "base/"], ["stb", "onnxruntime", "exiv2", "hwy"]),
    "photos": (["photos/", "engine/picture.h", "engine/photograph.h", "engine/image_decoding.h",
                "base/"],
               ["exiv2", "heif", "jxl", "lcms2", "raw", "tiff", "webp", "zlib"]),
    "formats": (["formats/", "base/"], ["nlohmann", "webp", "zlib", "zstd"]),
    "render": (["render/", "formats/", "base/"], ["hwy"]),
    "render/pictures": (["render/", "base/"], ["jpeg", "png", "webp"]),
    "download": (["download/", "base/"], ["curl", "openssl"]),
    "batch": (["batch/", "engine/", "base/"], []),
    "batch/dialogs": (["batch/", "engine/", "ui/", "base/"], ["qt"]),
    "ui": (["ui/", "base/"], ["qt"]),
    "viewer": (["viewer/", "base/"], ["qt"]),
    "viewer/loader": (["viewer/web_view.h", "viewer/loader/"], ["qt", "qtwebengine"]),
    "shell/window": (["shell/window/", "batch/", "viewer/", "ui/", "download/", "engine/", "base/"],
                     ["qt"]),
    "shell/start": (["shell/", "batch/", "viewer/", "ui/", "download/", "engine/", "base/"],
                    ["qt", "xcb"]),
    "cli": (["cli/command.h", "cli/interrupts.h", "cli/long_step.h", "cli/long_work.h",
             "cli/output_check.h", "cli/photograph_check.h",
             "cli/chosen_model.h", "base/"], ["nlohmann"]),
    "cli/convert": (["cli/", "batch/", "photos/", "engine/", "formats/", "base/"], ["cli11"]),
    "cli/fetch": (["cli/", "download/", "engine/", "base/"], ["archive", "cli11", "nlohmann", "zlib"]),
    "cli/render": (["cli/", "render/", "formats/", "base/"], ["cli11"]),
    "cli/share": (["cli/", "render/", "formats/", "base/"], ["cli11"]),
    "cli/texts": (["cli/"], ["cli11"]),
    # Stands between the program and libcurl for pictures of a download.
    "tools": ([], ["curl"]),
    "tests": (["tests/", "base/", "engine/", "formats/", "photos/", "render/", "download/", "batch/", "viewer/", "ui/",
               "shell/", "cli/"],
              ["gtest", "gmock", "eigen", "stb", "hwy", "heif", "jxl", "qt", "curl", "onnxruntime",
               "zlib"]),
    "benchmarks": (["benchmarks/", "tests/support/", "base/", "engine/", "formats/", "photos/", "render/",
                    "batch/"],
                   ["benchmark", "eigen", "stb", "hwy", "heif", "jxl", "onnxruntime",
                    "tiff", "webp"]),
    # The program as a whole, driven by a user who answers at once.
    "benchmarks/responsiveness": (["benchmarks/responsiveness/", "base/text_encoding.h",
                                   "shell/start/program.h", "shell/window/window_dialogs.h",
                                   "ui/mailbox.h"],
                                  ["qt"]),
    # The program as a whole beside a window with nothing but the browser.
    "benchmarks/start_up": (["benchmarks/start_up/", "shell/start/program.h",
                             "viewer/web_view_loader.h"],
                            ["qt", "qtwebengine"]),
}

# Folder -> folders below a permitted one that it may not use after all.
EXCEPTIONS = {"shell/window": ["batch/dialogs/"], "cli/convert": ["batch/dialogs/"]}

# Nothing outside the folder itself includes what lies in it.
CLOSED_FOLDERS = ["viewer/loader"]

THIRD_PARTIES = {
    "stb": r"stb_\w+\.h",
    "onnxruntime": r"onnxruntime_\w+\.h",
    "exiv2": r"exiv2/.*",
    "hwy": r"hwy/.*",
    "eigen": r"Eigen/.*",
    "archive": r"archive(_entry)?\.h",
    "curl": r"curl/.*",
    "openssl": r"openssl/.*",
    "heif": r"libheif/.*",
    "jpeg": r"jpeglib\.h",
    "jxl": r"jxl/.*",
    "lcms2": r"lcms2\.h",
    "png": r"png\.h",
    "raw": r"libraw/.*",
    "tiff": r"tiff\w*\.h",
    "webp": r"webp/.*",
    "xcb": r"xcb/.*",
    "zlib": r"zlib\.h",
    "zstd": r"zstd\.h",
    "cli11": r"CLI/.*",
    "nlohmann": r"nlohmann/.*",
    "gtest": r"gtest/.*",
    "gmock": r"gmock/.*",
    "benchmark": r"benchmark/.*",
    "qtwebengine": r"Qt?WebEngine\w*(/.*)?",
    "qt": r"Q[A-Za-z]\w*(/.*)?",
}

# Folder -> third parties that exactly one file of it may include.
ONE_FILE_ONLY = {
    "engine": ["stb_image.h", "stb_image_resize2.h", "onnxruntime_cxx_api.h", "exiv2/exiv2.hpp"],
    "photos": ["exiv2/exiv2.hpp", "lcms2.h", "libheif/heif.h", "libraw/libraw.h", "tiffio.h",
               "webp/decode.h", "zlib.h"],
    "formats": ["webp/decode.h", "webp/encode.h", "zlib.h", "zstd.h",
                "zstd_errors.h"],
    "render": ["jpeglib.h", "png.h", "webp/encode.h"],
    "download": ["curl/curl.h", "openssl/evp.h"],
    "shell/start": ["xcb/xcb.h"],
    "cli": ["archive.h", "nlohmann/json.hpp", "zlib.h"],
}

# Folders whose headers show no third party.
SHOWS_NO_PARTY = ("engine", "formats", "photos", "render", "render/pictures", "download")

# CMake target -> what may stand behind it in target_link_libraries. Below tests/ and benchmarks/
# targets link what they please.
LINKS = {
    "vistrel_base": ["vistrel_warnings", "Threads::Threads"],
    "vistrel_engine": ["vistrel_warnings", "vistrel_base", "Threads::Threads", "Stb::stb",
                       "PkgConfig::exiv2", "PkgConfig::hwy", "OnnxRuntime::headers",
                       "${CMAKE_DL_LIBS}"],
    "vistrel_photo_samples": ["vistrel_warnings", "vistrel_base"],
    "vistrel_photos": ["vistrel_warnings", "vistrel_engine", "vistrel_photo_samples", "${CMAKE_DL_LIBS}",
                       "PkgConfig::exiv2", "PkgConfig::lcms2", "ZLIB::ZLIB"],
    "vistrel_${name}_decoder": ["vistrel_warnings", "vistrel_photo_samples", "${ARGN}"],
    "vistrel_photo_${name}": ["vistrel_warnings", "vistrel_${name}_decoder"],
    "vistrel_formats": ["vistrel_warnings", "vistrel_base", "nlohmann_json::nlohmann_json",
                        "PkgConfig::webp", "PkgConfig::zstd", "ZLIB::ZLIB"],
    "vistrel_render": ["vistrel_warnings", "vistrel_formats", "PkgConfig::hwy"],
    "vistrel_pictures": ["vistrel_warnings", "vistrel_render", "PkgConfig::jpeg",
                         "PkgConfig::png", "PkgConfig::webp"],
    "vistrel_resampler_avx2": ["vistrel_warnings", "Stb::stb"],
    "vistrel_http": ["vistrel_warnings", "CURL::libcurl"],
    "vistrel_download": ["vistrel_warnings", "vistrel_base", "${CMAKE_DL_LIBS}", "Threads::Threads"],
    "vistrel_resumable": ["vistrel_warnings", "vistrel_download", "OpenSSL::Crypto"],
    "vistrel_batch": ["vistrel_warnings", "vistrel_engine"],
    "vistrel_batch_dialogs": ["vistrel_warnings", "vistrel_batch", "vistrel_ui"],
    "vistrel_ui": ["vistrel_warnings", "vistrel_base", "Qt6::Widgets"],
    "vistrel_viewer": ["vistrel_warnings", "vistrel_base", "${CMAKE_DL_LIBS}", "Qt6::OpenGLWidgets",
                       "Qt6::Widgets"],
    "vistrel_loader": ["vistrel_warnings", "Qt6::WebEngineWidgets"],
    "vistrel_window": ["vistrel_warnings", "vistrel_download", "vistrel_engine", "vistrel_ui",
                       "vistrel_viewer"],
    "vistrel_resources": ["vistrel_warnings", "vistrel_base", "Qt6::Core"],
    "vistrel_program": ["vistrel_warnings", "vistrel_batch_dialogs", "vistrel_resources",
                        "vistrel_window", "PkgConfig::xcb", "Qt6::DBus"],
    "vistrel": ["vistrel_warnings", "vistrel_program"],
    "vistrel_cli": ["vistrel_warnings", "vistrel_base", "nlohmann_json::nlohmann_json"],
    "vistrel_convert_command": ["vistrel_warnings", "vistrel_batch", "vistrel_cli",
                                "vistrel_engine", "vistrel_formats", "vistrel_photos",
                                "CLI11::CLI11"],
    "vistrel-convert": ["vistrel_warnings", "vistrel_convert_command"],
    "vistrel_fetch_command": ["vistrel_warnings", "vistrel_cli", "vistrel_resumable",
                              "vistrel_engine", "CLI11::CLI11", "LibArchive::LibArchive", "ZLIB::ZLIB",
                              "${CMAKE_DL_LIBS}",
                              "nlohmann_json::nlohmann_json"],
    "vistrel-fetch": ["vistrel_warnings", "vistrel_fetch_command"],
    "vistrel_render_command": ["vistrel_warnings", "vistrel_cli", "vistrel_pictures",
                               "CLI11::CLI11"],
    "vistrel-render": ["vistrel_warnings", "vistrel_render_command"],
    "vistrel_share_command": ["vistrel_warnings", "vistrel_cli", "vistrel_pictures",
                              "CLI11::CLI11"],
    "vistrel-share": ["vistrel_warnings", "vistrel_share_command"],
    "vistrel_texts": ["vistrel_warnings", "CLI11::CLI11"],
    "write_command_texts": ["vistrel_warnings", "vistrel_convert_command", "vistrel_fetch_command",
                            "vistrel_render_command", "vistrel_share_command", "vistrel_texts"],
    "local_model": ["vistrel_warnings", "${CMAKE_DL_LIBS}"],
}

# Put together here so that this file does not hold them itself.
FORBIDDEN_WORDS = [re.compile(r"\bspec" + r"\.md\b"), re.compile(r"\bPart" + r"\s+[1-9]\.[1-9]\b")]

INCLUDE = re.compile(r'^\s*#\s*include\s*[<"]([^>"]+)[>"]', re.MULTILINE)
LINK = re.compile(r"target_link_libraries\s*\(\s*([^)]*)\)")
LICENCE = "SPDX-License-Identifier: GPL-3.0-or-later"
LICENSED_ENDINGS = {".h", ".cpp", ".js", ".py", ".css", ".cmake", ".sh"}
SOURCE_ENDINGS = {".h", ".hpp", ".cpp", ".cc", ".inc"}


def tracked_files(root):
    """Files under version control, and new ones that are not ignored."""
    listed = subprocess.run(
        ["git", "-C", str(root), "ls-files", "-z", "--cached", "--others", "--exclude-standard"],
        check=True, capture_output=True).stdout
    names = sorted({name.decode(errors="surrogateescape") for name in listed.split(b"\0") if name})
    return [name for name in names if (root / name).is_file()]


def folder_rule(name):
    matching = [folder for folder in ARROWS if name.startswith(folder + "/")]
    return max(matching, key=len, default=None)


def third_party(header):
    for party, pattern in THIRD_PARTIES.items():
        if re.fullmatch(pattern, header):
            return party
    return None


def check_include(name, header):
    folder = folder_rule(name)
    if folder is None:
        return None
    ours, parties = ARROWS[folder]
    party = third_party(header)
    if party is not None:
        if party not in parties:
            return f"{name}: {folder}/ may not use {party} ({header})"
        if name.endswith(".h") and folder in SHOWS_NO_PARTY and "-inl" not in name:
            return f"{name}: a header of {folder}/ shows {party}"
        return None
    for closed in CLOSED_FOLDERS:
        if header.startswith(closed + "/") and not name.startswith(closed + "/"):
            return f"{name}: nothing outside {closed}/ includes {header}"
    allowed = any(header.startswith(prefix) for prefix in ours) and not any(
        header.startswith(prefix) for prefix in EXCEPTIONS.get(folder, []))
    if folder_rule(header) is None or allowed:
        return None
    return f"{name}: {folder}/ may not include {header}"


def check_includes(root, names):
    findings = []
    users = {}
    for name in names:
        if Path(name).suffix not in SOURCE_ENDINGS:
            continue
        if folder_rule(name) is None:
            findings.append(f"{name}: no rule says what this folder may include")
        for header in INCLUDE.findall((root / name).read_text(errors="replace")):
            finding = check_include(name, header)
            if finding:
                findings.append(finding)
            users.setdefault(header, set()).add(name)
    for folder, headers in ONE_FILE_ONLY.items():
        for header in headers:
            files = sorted(name for name in users.get(header, ()) if name.startswith(folder + "/"))
            if len(files) > 1:
                findings.append(f"{header} is included by more than one file: {', '.join(files)}")
    return findings


def check_links(root, names):
    findings = []
    for name in names:
        if Path(name).name != "CMakeLists.txt" or name.startswith(("tests/", "benchmarks/")):
            continue
        for arguments in LINK.findall((root / name).read_text()):
            target, *libraries = arguments.split()
            if target not in LINKS:
                findings.append(f"{name}: no rule says what {target} may link")
                continue
            for library in libraries:
                if library not in ("PUBLIC", "PRIVATE", "INTERFACE", *LINKS[target]):
                    findings.append(f"{name}: {target} may not link {library}")
    return findings


def check_words(root, names):
    findings = []
    for name in names:
        text = name + "\n" + (root / name).read_text(errors="replace")
        for pattern in FORBIDDEN_WORDS:
            if pattern.search(text):
                findings.append(f"{name}: holds a word that matches {pattern.pattern}")
    return findings


def check_licence(root, names):
    """Each source file names its licence in its first lines; behind "#!" in the second."""
    findings = []
    for name in names:
        path = root / name
        if path.suffix not in LICENSED_ENDINGS and path.name != "CMakeLists.txt":
            continue
        lines = path.read_text(errors="replace").splitlines()[:2]
        if not any(LICENCE in line for line in lines):
            findings.append(f"{name}: does not name its licence")
    return findings


def check_tree(root):
    names = tracked_files(root)
    checks = (check_includes, check_links, check_words, check_licence)
    return [finding for check in checks for finding in check(root, names)]


def main():
    root = Path(sys.argv[1]) if len(sys.argv) > 1 else Path(__file__).resolve().parents[2]
    findings = check_tree(root)
    print("\n".join(findings) or "The tree keeps its rules.")
    return 1 if findings else 0


if __name__ == "__main__":
    sys.exit(main())
