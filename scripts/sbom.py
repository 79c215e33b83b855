# SPDX-License-Identifier: LGPL-2.1-or-later
"""The software bill of materials of a source archive, as an SPDX 2.3 document."""

import dataclasses
import hashlib
import re
import subprocess
import uuid

LICENSE = "LGPL-2.1-or-later"
HOLDER = "liborvane maintainers"


class UnknownDependency(Exception):
    """What the table below lacks."""


@dataclasses.dataclass(frozen=True)
class Dependency:
    """What is linked, or for libraries that are headers alone, compiled in."""

    name: str
    license: str
    user: str
    soname: str = ""


# By the name in CMakeLists.txt.
DEPENDENCIES = {
    "glib-2.0": Dependency("GLib", LICENSE, "library", "libglib-2.0.so."),
    "blkid": Dependency("libblkid", LICENSE, "library", "libblkid.so."),
    "libcjson": Dependency("cJSON", "MIT", "library", "libcjson.so."),
    "libcrypto": Dependency("OpenSSL libcrypto", "Apache-2.0", "library", "libcrypto.so."),
    "gpgme": Dependency("GPGME", LICENSE, "library", "libgpgme.so."),
    "smartcols": Dependency("libsmartcols", LICENSE, "command"),
    "CLI11": Dependency("CLI11", "BSD-3-Clause", "command"),
    "nlohmann_json": Dependency("nlohmann-json", "MIT", "command"),
    "libelf": Dependency("libelf", "LGPL-3.0-or-later OR GPL-2.0-or-later", "command"),
}
# Those that the compiler links by itself.
IMPLICIT = (
    Dependency("GNU C Library", LICENSE, "library", "libc.so."),
    Dependency("libstdc++", "GPL-3.0-or-later WITH GCC-exception-3.1", "command"),
)
# They find the compiler's own, and pkg-config.
NO_DEPENDENCIES = {"PkgConfig", "Threads"}


def dependencies(root):
    """Those that CMakeLists.txt names, each with the least version or an empty text."""
    text = (root / "CMakeLists.txt").read_text(encoding="utf-8")
    form = r"^\s*(?:pkg_check_modules\(\w+|find_package\()(.*)\)"
    for words in re.findall(form, text, re.MULTILINE):
        names = [word for word in words.split() if word not in ("REQUIRED", "IMPORTED_TARGET")]
        for name, _, version in (word.partition(">=") for word in names):
            if name in NO_DEPENDENCIES:
                continue
            if name not in DEPENDENCIES:
                raise UnknownDependency(f"scripts/sbom.py does not know {name} of CMakeLists.txt")
            yield DEPENDENCIES[name], version
    for dependency in IMPLICIT:
        yield dependency, ""


def check_needed(root, library):
    """Whether the document names every shared library that the built one needs."""
    dynamic = subprocess.run(
        ["readelf", "--dynamic", "--wide", library], check=True, capture_output=True, text=True
    ).stdout
    known = tuple(
        dependency.soname for dependency, _ in dependencies(root) if dependency.user == "library"
    )
    for soname in re.findall(r"\(NEEDED\).*\[(.*)\]", dynamic):
        if not soname.startswith(known):
            raise UnknownDependency(f"scripts/sbom.py does not know {soname}, which is linked")


def facts_of_reuse(root):
    """The licenses and the holders of copyright of each file, as REUSE finds them."""
    output = subprocess.run(
        ["reuse", "--root", root, "spdx"], check=True, capture_output=True, text=True
    ).stdout
    for block in output.split("\n\n"):
        name = re.search(r"^FileName: \./(.*)$", block, re.MULTILINE)
        if name:
            licenses = re.findall(r"^LicenseInfoInFile: (\S+)$", block, re.MULTILINE)
            holders = re.search(r"^FileCopyrightText: <text>(.*)</text>", block, re.M | re.DOTALL)
            # A recorded output may name others, whose programs printed it.
            yield name[1], (sorted(set(licenses)), holders[1] if holders else "NOASSERTION")


def digest(algorithm, path):
    return hashlib.new(algorithm, path.read_bytes()).hexdigest()


def package_of(dependency, version):
    spdx_id = re.sub(r"[^A-Za-z0-9.-]", "-", dependency.name)
    package = {
        "SPDXID": f"SPDXRef-Package-{spdx_id}",
        "name": dependency.name,
        "downloadLocation": "NOASSERTION",
        "filesAnalyzed": False,
        "licenseConcluded": "NOASSERTION",
        "licenseDeclared": dependency.license,
        "copyrightText": "NOASSERTION",
        "primaryPackagePurpose": "LIBRARY",
        "comment": f"Used by the {dependency.user}.",
    }
    if version:
        package["versionInfo"] = f"{version} or later"
    return package


def document(root, version, archive, created):
    """The document about an archive, whose files are unpacked in root."""
    facts = dict(facts_of_reuse(root))
    files = []
    for path in sorted(root.rglob("*")):
        if path.is_symlink() or not path.is_file():
            continue
        name = path.relative_to(root).as_posix()
        licenses, holders = facts.get(name, (["NOASSERTION"], "NOASSERTION"))
        files.append(
            {
                "SPDXID": f"SPDXRef-File-{len(files) + 1}",
                "fileName": f"./{name}",
                "checksums": [
                    {"algorithm": "SHA1", "checksumValue": digest("sha1", path)},
                    {"algorithm": "SHA256", "checksumValue": digest("sha256", path)},
                ],
                "licenseConcluded": "NOASSERTION",
                "licenseInfoInFiles": licenses,
                "copyrightText": holders,
            }
        )
    sums = sorted(file["checksums"][0]["checksumValue"] for file in files)
    of_archive = digest("sha256", archive)
    own = {
        "SPDXID": "SPDXRef-Package-liborvane",
        "name": "liborvane",
        "versionInfo": version,
        "packageFileName": archive.name,
        "supplier": f"Organization: {HOLDER}",
        "downloadLocation": "NOASSERTION",
        "filesAnalyzed": True,
        "packageVerificationCode": {
            "packageVerificationCodeValue": hashlib.sha1("".join(sums).encode()).hexdigest()
        },
        "checksums": [{"algorithm": "SHA256", "checksumValue": of_archive}],
        "licenseConcluded": "NOASSERTION",
        "licenseDeclared": LICENSE,
        "licenseInfoFromFiles": sorted(
            {name for file in files for name in file["licenseInfoInFiles"]}
        ),
        "copyrightText": HOLDER,
        "primaryPackagePurpose": "SOURCE",
    }
    others = [package_of(*dependency) for dependency in dependencies(root)]

    def related(one, kind, other):
        return {
            "spdxElementId": one["SPDXID"],
            "relationshipType": kind,
            "relatedSpdxElement": other["SPDXID"],
        }

    whole = {
        "spdxVersion": "SPDX-2.3",
        "dataLicense": "CC0-1.0",
        "SPDXID": "SPDXRef-DOCUMENT",
        "name": f"liborvane-{version}",
        "documentNamespace": uuid.uuid5(uuid.NAMESPACE_OID, of_archive).urn,
        "creationInfo": {
            "created": created.strftime("%Y-%m-%dT%H:%M:%SZ"),
            "creators": [f"Organization: {HOLDER}", f"Tool: scripts/release-{version}"],
        },
        "packages": [own, *others],
        "files": files,
    }
    whole["relationships"] = [
        related(whole, "DESCRIBES", own),
        *(related(own, "DEPENDS_ON", other) for other in others),
        *(related(own, "CONTAINS", file) for file in files),
    ]
    return whole
