#!/usr/bin/env python3
"""Writes a package's bill of materials, as SPDX 2.3 in JSON.

    bill_of_materials.py VERSION BUILD FOLDER

FOLDER holds the package's files, and gets bill-of-materials.spdx.json; BUILD is the build folder of the programs.
SOURCE_DATE_EPOCH must be set.
"""

import hashlib
import json
import pathlib
import re
import sys
import uuid
from urllib.parse import quote

sys.dont_write_bytecode = True

import linked_in  # noqa: E402
from pieces import COMPONENTS, IDENTITY, PROJECT, commit, debian_copyright, debian_version, moment  # noqa: E402

NAME = "bill-of-materials.spdx.json"
KINDS = {".exe": ["BINARY", "APPLICATION"], ".html": ["DOCUMENTATION", "TEXT"], ".txt": ["DOCUMENTATION", "TEXT"],
         ".json": ["TEXT"]}
PRODUCT = "SPDXRef-Package"


def reference(kind, name):
    return f"SPDXRef-{kind}-{re.sub('[^A-Za-z0-9.]', '-', name)}"


def digest(algorithm, data):
    return hashlib.new(algorithm, data).hexdigest()


def describe_file(file):
    data = file.read_bytes()
    return {"SPDXID": reference("File", file.name), "fileName": f"./{file.name}", "fileTypes": KINDS[file.suffix],
            "checksums": [{"algorithm": "SHA1", "checksumValue": digest("sha1", data)},
                          {"algorithm": "SHA256", "checksumValue": digest("sha256", data)}],
            "licenseConcluded": "NOASSERTION", "copyrightText": "NOASSERTION"}


def describe_product(version, name, files):
    """The package itself. Its verification code is the digest of its files' digests, in their order."""
    digests = sorted(file["checksums"][0]["checksumValue"] for file in files)
    return {"SPDXID": PRODUCT, "name": "zum_setup_util", "versionInfo": version, "packageFileName": f"{name}.zip",
            "supplier": f"Organization: {IDENTITY['vendor']}", "downloadLocation": "NOASSERTION", "filesAnalyzed": True,
            "packageVerificationCode": {"packageVerificationCodeValue": digest("sha1", "".join(digests).encode()),
                                        "packageVerificationCodeExcludedFiles": [f"./{NAME}", "./SHA256SUMS"]},
            "primaryPackagePurpose": "APPLICATION", "sourceInfo": f"commit: {commit()}",
            "licenseConcluded": IDENTITY["licence"], "licenseDeclared": IDENTITY["licence"],
            "copyrightText": IDENTITY["copyright"]}


def describe_debian(name, package, licence, purpose):
    """Something of a Debian package, whose version tells the exact bytes."""
    version = debian_version(package)
    return {"SPDXID": reference("Component", name), "name": name, "versionInfo": version,
            "supplier": "Organization: Debian", "downloadLocation": "NOASSERTION", "filesAnalyzed": False, "primaryPackagePurpose": purpose,
            "licenseConcluded": "NOASSERTION", "licenseDeclared": licence, "copyrightText": "NOASSERTION",
            "sourceInfo": f"Debian 12, package {package}",
            "externalRefs": [{"referenceCategory": "PACKAGE-MANAGER", "referenceType": "purl",
                              "referenceLocator": f"pkg:deb/debian/{quote(package)}@{quote(version)}?distro=bookworm"}]}


def relate(element, kind, other):
    return {"spdxElementId": element, "relationshipType": kind, "relatedSpdxElement": other}


def licence_texts():
    """The licences that aren't on SPDX's list: the package's own, and those of the table."""
    own = (PROJECT / "packaging/licence.txt").read_text(encoding="utf-8")
    return [{"licenseId": IDENTITY["licence"], "name": "Licence of zum_setup_util", "extractedText": own}] + [
        {"licenseId": name, "name": f"Licences told by Debian's package {package}",
         "extractedText": debian_copyright(package)} for name, package in COMPONENTS["licence texts"].items()]


def linked(build, folder):
    """Program -> what is in it."""
    return {file.name: linked_in.components(build, file.name) for file in sorted(folder.glob("*.exe"))}


def bill(version, build, folder):
    files = [describe_file(file) for file in sorted(folder.iterdir()) if file.name not in (NAME, "SHA256SUMS")]
    product = describe_product(version, folder.name, files)
    contents = linked(build, folder)
    used = set().union(*contents.values())
    parts = [describe_debian(each["name"], each["debian"], each["licence"], "LIBRARY")
             for each in COMPONENTS["linked in"] if each["name"] in used]
    tools = [describe_debian(name, name, "NOASSERTION", "APPLICATION") for name in COMPONENTS["build tools"]]
    relations = [relate("SPDXRef-DOCUMENT", "DESCRIBES", PRODUCT)]
    relations += [relate(PRODUCT, "CONTAINS", file["SPDXID"]) for file in files]
    relations += [relate(reference("File", program), "STATIC_LINK", reference("Component", name))
                  for program, names in contents.items() for name in sorted(names)]
    relations += [relate(tool["SPDXID"], "BUILD_TOOL_OF", PRODUCT) for tool in tools]
    content = json.dumps([product, files, parts, tools], sort_keys=True)
    return {"spdxVersion": "SPDX-2.3", "dataLicense": "CC0-1.0", "SPDXID": "SPDXRef-DOCUMENT", "name": folder.name,
            # Another content is another document.
            "documentNamespace": f"urn:uuid:{uuid.uuid5(uuid.NAMESPACE_OID, content)}",
            "creationInfo": {"created": f"{moment():%Y-%m-%dT%H:%M:%SZ}",
                             "creators": [f"Organization: {IDENTITY['vendor']}",
                                          "Tool: packaging/bill_of_materials.py"]},
            "packages": [product, *parts, *tools], "files": files, "relationships": relations,
            "hasExtractedLicensingInfos": licence_texts()}


def main():
    if len(sys.argv) != 4:
        print(__doc__, file=sys.stderr)
        return 2
    version, build, folder = sys.argv[1], pathlib.Path(sys.argv[2]), pathlib.Path(sys.argv[3]).resolve()
    text = json.dumps(bill(version, build, folder), indent=2, ensure_ascii=False)
    (folder / NAME).write_text(text + "\n", encoding="utf-8")
    return 0


if __name__ == "__main__":
    sys.exit(main())
