#!/usr/bin/python3 -B
# SPDX-License-Identifier: LGPL-2.1-or-later
"""Holds a bill of materials against the form of SPDX 2.3 and against the archive that it describes.

Usage: sbom.py DOCUMENT ARCHIVE NAME... The names are those of the packages that it has to have.
"""

import hashlib
import json
import sys
import tarfile

import jsonschema

ID = {"type": "string", "pattern": r"^SPDXRef-[A-Za-z0-9.\-]+$"}
TEXT = {"type": "string", "minLength": 1}
LICENSES = {"type": "array", "items": TEXT, "minItems": 1, "uniqueItems": True}


def fields(required, **others):
    return {
        "type": "object",
        "properties": {**required, **others},
        "required": list(required),
        "additionalProperties": False,
    }


def checksum(algorithm, digits):
    return fields(
        {
            "algorithm": {"const": algorithm},
            "checksumValue": {"type": "string", "pattern": f"^[0-9a-f]{{{digits}}}$"},
        }
    )


SHA1, SHA256 = checksum("SHA1", 40), checksum("SHA256", 64)
FILE = fields(
    {
        "SPDXID": ID,
        "fileName": {"type": "string", "pattern": r"^\./[^/]"},
        "checksums": {"type": "array", "items": [SHA1, SHA256], "minItems": 2, "maxItems": 2},
        "licenseConcluded": TEXT,
        "licenseInfoInFiles": LICENSES,
        "copyrightText": TEXT,
    }
)
PACKAGE = fields(
    {
        "SPDXID": ID,
        "name": TEXT,
        "downloadLocation": TEXT,
        "filesAnalyzed": {"type": "boolean"},
        "licenseConcluded": TEXT,
        "licenseDeclared": TEXT,
        "copyrightText": TEXT,
    },
    versionInfo=TEXT,
    comment=TEXT,
    packageFileName=TEXT,
    supplier={"type": "string", "pattern": "^(Person|Organization): .|^NOASSERTION$"},
    packageVerificationCode=fields(
        {"packageVerificationCodeValue": {"type": "string", "pattern": "^[0-9a-f]{40}$"}}
    ),
    checksums={"type": "array", "items": SHA256, "minItems": 1},
    licenseInfoFromFiles=LICENSES,
    primaryPackagePurpose={"enum": ["LIBRARY", "SOURCE"]},
)
RELATIONSHIP = fields(
    {
        "spdxElementId": ID,
        "relationshipType": {"enum": ["DESCRIBES", "DEPENDS_ON", "CONTAINS"]},
        "relatedSpdxElement": ID,
    }
)
DOCUMENT = fields(
    {
        "spdxVersion": {"const": "SPDX-2.3"},
        "dataLicense": {"const": "CC0-1.0"},
        "SPDXID": {"const": "SPDXRef-DOCUMENT"},
        "name": TEXT,
        "documentNamespace": {"type": "string", "pattern": "^[a-z]+:[^#]+$"},
        "creationInfo": fields(
            {
                "created": {
                    "type": "string",
                    "pattern": r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ$",
                },
                "creators": {
                    "type": "array",
                    "items": {"type": "string", "pattern": "^(Person|Organization|Tool): ."},
                    "minItems": 1,
                },
            }
        ),
        "packages": {"type": "array", "items": PACKAGE, "minItems": 1},
        "files": {"type": "array", "items": FILE, "minItems": 1},
        "relationships": {"type": "array", "items": RELATIONSHIP, "minItems": 1},
    }
)


def files_of(archive):
    """The digests of the archive's regular files, by the name that the document gives them."""
    with tarfile.open(archive) as tar:
        for member in tar:
            if member.isfile():
                content = tar.extractfile(member).read()
                name = "./" + member.name.split("/", maxsplit=1)[1]
                yield name, [hashlib.sha1(content).hexdigest(), hashlib.sha256(content).hexdigest()]


def same(what, found, expected):
    if found != expected:
        sys.exit(f"sbom.py: {what}: {found}, and not {expected}")


def main(path, archive, *names):
    with open(path, encoding="utf-8") as file:
        document = json.load(file)
    jsonschema.Draft7Validator(DOCUMENT).validate(document)

    elements = [document, *document["packages"], *document["files"]]
    ids = [element["SPDXID"] for element in elements]
    same("the number of different ids", len(set(ids)), len(ids))
    own, others = document["packages"][0], document["packages"][1:]
    related = {tuple(relationship.values()) for relationship in document["relationships"]}
    expected = {(document["SPDXID"], "DESCRIBES", own["SPDXID"])}
    expected |= {(own["SPDXID"], "DEPENDS_ON", other["SPDXID"]) for other in others}
    expected |= {(own["SPDXID"], "CONTAINS", file["SPDXID"]) for file in document["files"]}
    same("what is related", sorted(related ^ expected), [])
    same(
        "the packages that are missing", sorted(set(names) - {each["name"] for each in others}), []
    )

    listed = {
        file["fileName"]: [checksum["checksumValue"] for checksum in file["checksums"]]
        for file in document["files"]
    }
    held = dict(files_of(archive))
    wrong = sorted(name for name in {*listed, *held} if listed.get(name) != held.get(name))
    same("the files that differ", wrong, [])
    code = hashlib.sha1("".join(sorted(sha1 for sha1, _ in held.values())).encode()).hexdigest()
    same(
        "the verification code",
        own["packageVerificationCode"]["packageVerificationCodeValue"],
        code,
    )
    with open(archive, "rb") as file:
        same(
            "the digest of the archive",
            own["checksums"][0]["checksumValue"],
            hashlib.sha256(file.read()).hexdigest(),
        )


if __name__ == "__main__":
    main(*sys.argv[1:])
