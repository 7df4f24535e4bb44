"""The bill of materials: its form, that it fits the package, and that what it lists is what is linked in."""

import copy
import functools
import hashlib
import json
import re
import unittest

import jsonschema
import license_expression
from package_files import IDENTITY, PROGRAMS, PROJECT, VERSION, WIN32, run, unpacked

SCHEMA = json.loads((PROJECT / "tests/packaging/spdx-2.3.schema.json").read_text(encoding="utf-8"))
NAME = "bill-of-materials.spdx.json"
BUILD = PROJECT / "build/windows"
LICENSING = license_expression.get_spdx_licensing()


@functools.cache
def bill_text():
    return (unpacked() / NAME).read_text(encoding="utf-8")


def licence_offences(document):
    own = {each["licenseId"] for each in document["hasExtractedLicensingInfos"]}
    for each in document["packages"]:
        for field in ("licenseConcluded", "licenseDeclared"):
            text = each[field]
            if text == "NOASSERTION":
                continue
            # An own licence that is told further on counts as one that everybody knows.
            known = re.sub("LicenseRef-[A-Za-z0-9.-]+", lambda found: "MIT" if found[0] in own else found[0], text)
            try:
                LICENSING.parse(known, validate=True, strict=True)
            except (license_expression.ExpressionError, license_expression.ParseError) as error:
                yield f"{each['name']}: {field} {text!r}: {error}"


def reference_offences(document):
    """Each element has a name of its own; each relationship has two ends, and each element has one."""
    names = [document["SPDXID"]] + [each["SPDXID"] for each in document["packages"] + document["files"]]
    yield from (f"{name} stands twice" for name in set(names) if names.count(name) > 1)
    ends = [end for each in document["relationships"] for end in (each["spdxElementId"], each["relatedSpdxElement"])]
    yield from (f"{end} isn't there" for end in set(ends) - set(names))
    yield from (f"{name} hangs in the air" for name in set(names) - set(ends))


def offences(document):
    for error in jsonschema.Draft201909Validator(SCHEMA).iter_errors(document):
        yield f"{list(error.absolute_path)}: {error.message}"
        return
    yield from licence_offences(document)
    yield from reference_offences(document)


class Bill(unittest.TestCase):
    def setUp(self):
        self.bill = json.loads(bill_text())

    def related(self, kind, element):
        return {each["relatedSpdxElement"] for each in self.bill["relationships"]
                if each["relationshipType"] == kind and each["spdxElementId"] == element}

    def package(self, name):
        return next(each for each in self.bill["packages"] if each["name"] == name)

    def parts_of(self, program):
        """The entries of what is linked into a program."""
        file = next(each["SPDXID"] for each in self.bill["files"] if each["fileName"] == f"./{program}")
        found = self.related("STATIC_LINK", file)
        return [each for each in self.bill["packages"] if each["SPDXID"] in found]

    def testHasTheFormOfSpdx(self):
        jsonschema.Draft201909Validator.check_schema(SCHEMA)
        self.assertEqual(list(offences(self.bill)), [])

    def testPlantedOffencesAreFound(self):
        def plant(change):
            planted = copy.deepcopy(self.bill)
            change(planted)
            return list(offences(planted))

        self.assertTrue(plant(lambda bill: bill.pop("creationInfo")))
        self.assertTrue(plant(lambda bill: bill["packages"][0].pop("downloadLocation")))
        self.assertTrue(plant(lambda bill: bill["packages"][0].pop("packageVerificationCode")))
        self.assertTrue(plant(lambda bill: bill["packages"][1].update(planted="")))
        self.assertTrue(plant(lambda bill: bill["packages"][1].update(licenseDeclared="Planted-1.0")))
        self.assertTrue(plant(lambda bill: bill["packages"][1].update(licenseDeclared="MIT AND")))
        self.assertTrue(plant(lambda bill: bill["packages"][1].update(SPDXID="SPDXRef-Planted")))
        self.assertTrue(plant(lambda bill: bill["files"][0]["checksums"][0].update(checksumValue="0")))
        self.assertTrue(plant(lambda bill: bill["files"][0]["checksums"].pop(0)))
        self.assertTrue(plant(lambda bill: bill["files"].append(bill["files"][0])))
        self.assertTrue(plant(lambda bill: bill["relationships"].pop()))
        self.assertTrue(plant(lambda bill: bill["hasExtractedLicensingInfos"].pop()))

    def testDescribesThePackage(self):
        product = self.package("zum_setup_util")
        self.assertEqual(self.related("DESCRIBES", "SPDXRef-DOCUMENT"), {product["SPDXID"]})
        self.assertEqual((product["versionInfo"], product["packageFileName"]), (VERSION, f"{WIN32}.zip"))
        self.assertEqual(product["licenseDeclared"], IDENTITY["licence"])
        self.assertEqual(self.related("CONTAINS", product["SPDXID"]), {each["SPDXID"] for each in self.bill["files"]})

    def testListsEveryFileWithItsDigests(self):
        found = {file.name: file.read_bytes() for file in unpacked().iterdir() if file.name not in (NAME, "SHA256SUMS")}
        listed = {each["fileName"]: {one["algorithm"]: one["checksumValue"] for one in each["checksums"]}
                  for each in self.bill["files"]}
        self.assertEqual(listed, {
            f"./{name}": {"SHA1": hashlib.sha1(data).hexdigest(), "SHA256": hashlib.sha256(data).hexdigest()}
            for name, data in found.items()})
        whole = "".join(sorted(hashlib.sha1(data).hexdigest() for data in found.values()))
        self.assertEqual(self.package("zum_setup_util")["packageVerificationCode"],
                         {"packageVerificationCodeValue": hashlib.sha1(whole.encode()).hexdigest(),
                          "packageVerificationCodeExcludedFiles": [f"./{NAME}", "./SHA256SUMS"]})

    def testListsWhatIsInEachProgram(self):
        runtime = {"libstdc++", "libgcc", "winpthreads", "mingw-w64 runtime"}
        self.assertEqual({each["name"] for each in self.parts_of("zum_setup_util.exe")}, runtime)
        self.assertEqual({each["name"] for each in self.parts_of("zum_rehearse.exe")},
                         runtime | {"CLI11", "nlohmann-json"})

    def testEveryArchiveOfTheLinkerIsOfAListedPackageAtItsVersion(self):
        """The linker's own list of what it took, held against what the system says of these files."""
        for program in PROGRAMS:
            text = (BUILD / f"bin/{program}.map").read_text(encoding="utf-8", errors="replace")
            paths = set(re.findall(r"(?m)^(/usr/\S+?\.a)\(\S+\)|^LOAD (/usr/\S+\.o)$", text))
            paths = {archive or start_up for archive, start_up in paths}
            self.assertGreater(len(paths), 8)
            owned = run("dpkg", "-S", *run("realpath", "-s", *paths).split())
            owners = {line.split(":")[0] for line in owned.splitlines()}
            listed = {each["sourceInfo"].rpartition(" ")[2]: each for each in self.parts_of(program)}
            self.assertLessEqual(owners, set(listed), program)
            for name, each in listed.items():
                version = run("dpkg-query", "-W", "-f", "${Version}", name)
                self.assertEqual(each["versionInfo"], version)
                self.assertIn(f"pkg:deb/debian/{name}@{version}?".replace("+", "%2B"),
                              each["externalRefs"][0]["referenceLocator"])

    def testHeadersAloneAreListedBecauseTheirCodeIsInTheProgram(self):
        """Names of each library's types stand in the program that lists it, and in that one only."""
        texts = {"CLI11": b"N3CLI13RequiredErrorE", "nlohmann-json": b"N8nlohmann"}
        for name, text in texts.items():
            for program in PROGRAMS:
                is_listed = name in {each["name"] for each in self.parts_of(program)}
                self.assertEqual(text in (unpacked() / program).read_bytes(), is_listed, (name, program))
