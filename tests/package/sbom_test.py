"""The software bill of materials of slabtool, and the page of dependencies: complete, and about the same libraries."""

import json
import os
import re
import subprocess
import unittest
from pathlib import Path

TREE = Path(os.environ["PNGSLAB_SOURCE_DIR"])
SLABTOOL = os.environ["PNGSLAB_SLABTOOL"]
DOCUMENT = json.loads((Path(os.environ["PNGSLAB_BUILD_DIR"]) / "slabtool.spdx.json").read_text())
PAGE = (TREE / "docs/dependencies.md").read_text()

# The package of each shared library, and of each library that the build looks for.
PACKAGE_OF_LIBRARY = {"libpng16": "libpng", "libz": "zlib", "libchafa": "libchafa", "libglib-2.0": "glib",
                      "libstdc++": "libstdcxx", "libgcc_s": "libstdcxx", "libm": "glibc", "libc": "glibc",
                      "ld-linux": "glibc", "libc++": "libstdcxx", "libpthread": "glibc"}
PACKAGE_OF_SEARCH = {"PNG": "libpng", "CLI11": "CLI11", "nlohmann_json": "nlohmann-json", "CHAFA": "libchafa",
                     "xxhash.h": "xxHash"}
NOT_A_LIBRARY = {"Threads", "PkgConfig"}


def relations(kind):
    return {relation["relatedSpdxElement"].removeprefix("SPDXRef-") for relation in DOCUMENT["relationships"]
            if relation["relationshipType"] == kind and relation["spdxElementId"] == "SPDXRef-slabtool"}


class BillOfMaterials(unittest.TestCase):
    def test_has_the_fields_that_spdx_requires(self):
        self.assertEqual("SPDX-2.3", DOCUMENT["spdxVersion"])
        self.assertEqual("CC0-1.0", DOCUMENT["dataLicense"])
        self.assertEqual("SPDXRef-DOCUMENT", DOCUMENT["SPDXID"])
        self.assertRegex(DOCUMENT["documentNamespace"], r"^https://[^#]+$")
        self.assertRegex(DOCUMENT["creationInfo"]["created"], r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ$")
        self.assertTrue(DOCUMENT["creationInfo"]["creators"])
        for package in DOCUMENT["packages"]:
            self.assertRegex(package["SPDXID"], r"^SPDXRef-[A-Za-z0-9.-]+$")
            for field in ("name", "versionInfo", "downloadLocation", "licenseConcluded", "licenseDeclared",
                          "copyrightText"):
                self.assertTrue(package[field], (package["name"], field))

    def test_relates_every_library_to_slabtool(self):
        elements = {package["SPDXID"] for package in DOCUMENT["packages"]}
        self.assertEqual(len(elements), len(DOCUMENT["packages"]), "an identifier is used twice")
        related = relations("DYNAMIC_LINK") | relations("CONTAINS")
        self.assertEqual(elements, {f"SPDXRef-{name}" for name in related} | {"SPDXRef-slabtool"})

    def test_lists_every_library_that_the_program_loads(self):
        dynamic = subprocess.run(["readelf", "--dynamic", "--wide", SLABTOOL], check=True, capture_output=True,
                                 text=True).stdout
        loaded = {re.sub(r"\.so.*", "", name) for name in re.findall(r"Shared library: \[(.*)\]", dynamic)}
        loaded = {re.sub(r"^ld-linux-.*", "ld-linux", name) for name in loaded}  # named by the processor
        self.assertTrue(loaded)
        self.assertLessEqual({PACKAGE_OF_LIBRARY[name] for name in loaded}, relations("DYNAMIC_LINK"))

    def test_lists_every_library_that_the_build_looks_for(self):
        build = (TREE / "tools/slabtool/CMakeLists.txt").read_text()
        searches = set(re.findall(r"(?:find_package|pkg_check_modules)\((\w+)", build)) - NOT_A_LIBRARY
        searches |= set(re.findall(r"find_path\(\w+ (\S+)", build))
        self.assertEqual({PACKAGE_OF_SEARCH[search] for search in searches} - relations("CONTAINS"),
                         {"libpng", "libchafa"})
        self.assertLessEqual({PACKAGE_OF_SEARCH[search] for search in searches},
                             relations("CONTAINS") | relations("DYNAMIC_LINK"))

    def test_has_the_versions_of_this_build(self):
        versions = {package["name"]: package["versionInfo"] for package in DOCUMENT["packages"]}
        for name, module in (("libpng", "libpng"), ("libchafa", "chafa"), ("glib", "glib-2.0"), ("zlib", "zlib")):
            found = subprocess.run(["pkg-config", "--modversion", module], check=True, capture_output=True, text=True)
            self.assertEqual(found.stdout.strip(), versions[name])


class PageOfDependencies(unittest.TestCase):
    def test_has_every_library_of_slabtool_with_its_license(self):
        table = {row[0].lower(): row[1] for row in re.findall(r"^\| (\S+) \| (\S+) \|", PAGE, re.MULTILINE)}
        for package in DOCUMENT["packages"]:
            if package["name"] not in ("slabtool", "libstdcxx", "glibc"):
                self.assertEqual(package["licenseDeclared"], table.get(package["name"].lower()), package["name"])

    def test_has_every_library_of_the_web_page(self):
        libraries = json.loads((TREE / "web/package.json").read_text())
        for name in libraries["dependencies"] | libraries["devDependencies"]:
            self.assertIn(name, PAGE)


if __name__ == "__main__":
    unittest.main()
