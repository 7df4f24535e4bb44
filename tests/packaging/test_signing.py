"""Signed packages, with certificates of a made-up world: by osslsigncode, and by the system's own check under Wine."""

import functools
import hashlib
import http.server
import os
import pathlib
import subprocess
import threading
import unittest
from unittest import mock

import machines
import signing
from package_files import BUILT, DIST, PROGRAMS, PROJECT, WIN32, WORK, digests_in_notes, run, unpacked

CHECK = f"{WIN32}-check"
TRUSTED, NO_SIGNATURE, UNTRUSTED_ROOT, BAD_DIGEST = "00000000", "800b0100", "800b0109", "80096010"
TIME_AUTHORITY = """
[tsa]
default_tsa = lab
[lab]
serial = {folder}/serial
signer_cert = {folder}/time.pem
signer_key = {lab}/leaf.key
certs = {lab}/trusted.pem
signer_digest = sha256
default_policy = 1.2.3.4
digests = sha256
"""


def package(name, *options, what="win32"):
    """Makes a package for Windows; the folder that it is in, and what was printed."""
    output = WORK / name
    return output, run(PROJECT / "scripts/package.sh", what, "--output", output, *options)


@functools.cache
def signed(signer="right", what="win32"):
    lab = signing.lab()
    chain = WORK / f"{signer}-chain.pem"
    chain.write_bytes((lab / f"{signer}.pem").read_bytes() + (lab / f"{signing.SIGNERS[signer][2]}.pem").read_bytes())
    output, printed = package(f"signed {what} {signer}", "--sign", chain, lab / "leaf.key", what=what)
    if "unsigned" in printed:
        raise AssertionError(printed)
    return unpacked({"win32": WIN32, "check": CHECK}[what], output)


class TimeAuthority:
    """A time-stamp service on this machine, for as long as it is needed."""

    def __init__(self, folder):
        lab = signing.lab()
        folder.mkdir()
        (folder / "serial").write_text("01\n", encoding="ascii")
        (folder / "extension").write_text("extendedKeyUsage = critical,timeStamping\n", encoding="ascii")
        config = folder / "tsa.cnf"
        config.write_text(TIME_AUTHORITY.format(folder=folder, lab=lab), encoding="ascii")
        run("openssl", "req", "-new", "-key", lab / "leaf.key", "-subj", "/CN=Time Lab", "-out", folder / "time.csr")
        run("openssl", "x509", "-req", "-in", folder / "time.csr", "-CA", lab / "trusted.pem", "-CAkey",
            lab / "trusted.key", "-CAcreateserial", "-CAserial", folder / "ca.serial", "-days", "3650", "-extfile",
            folder / "extension", "-out", folder / "time.pem")

        class Handler(http.server.BaseHTTPRequestHandler):
            def do_POST(self):
                query, reply = folder / "query", folder / "reply"
                query.write_bytes(self.rfile.read(int(self.headers["Content-Length"])))
                run("openssl", "ts", "-reply", "-config", config, "-section", "lab", "-queryfile", query, "-out", reply)
                self.send_response(200)
                self.send_header("Content-Type", "application/timestamp-reply")
                self.end_headers()
                self.wfile.write(reply.read_bytes())

            def log_message(self, *arguments):
                pass

        self.server = http.server.HTTPServer(("127.0.0.1", 0), Handler)
        self.url = f"http://127.0.0.1:{self.server.server_address[1]}/"

    def __enter__(self):
        threading.Thread(target=self.server.serve_forever, daemon=True).start()
        return self

    def __exit__(self, *arguments):
        self.server.shutdown()
        self.server.server_close()


class Signing(unittest.TestCase):
    def setUp(self):
        self.machine = machines.make_machine()
        self.addCleanup(self.machine.close)
        self.machine.helper("trustroot", machines.text_digits(self.machine.windows_path(signing.trusted_root())))

    def answer(self, file):
        """What the system says of a file's signature. Wine asks whether the certificates were valid when the file was
        written, and the package's time may lie before that of the test's root."""
        os.utime(file)
        return self.machine.helper("verifytrust", machines.text_digits(self.machine.windows_path(file)))

    def verify(self, file, *options):
        done = subprocess.run(["osslsigncode", "verify", "-CAfile", signing.lab() / "trusted.pem", *options, "-in",
                               file], capture_output=True, text=True, check=False)
        return done.returncode, done.stdout + done.stderr

    def testWithoutTheOptionTheProgramsAreUnsigned(self):
        for name in (WIN32, CHECK):
            for program in unpacked(name).glob("*.exe"):
                self.assertEqual(self.answer(program), [NO_SIGNATURE], program.name)

    def testABuildFolderWithOtherProgramsGivesTheSameBytes(self):
        """As after the tests' build, and after one of another day; and the output says that they aren't signed."""
        for folder in (BUILT, PROJECT / "build/windows/tests/windows_check"):
            for name in ("another.exe", "another.exe.debug", "another.dll"):
                self.addCleanup((folder / name).unlink)
                (folder / name).write_bytes(b"of another kind")
        for what, names in (("win32", [WIN32, f"{WIN32}-symbols"]), ("check", [CHECK])):
            output, printed = package("beside others", what=what)
            self.assertIn("   unsigned: the programs have no signature", printed)
            for name in names:
                self.assertTrue((output / f"{name}.zip").read_bytes() == (DIST / f"{name}.zip").read_bytes(), name)

    def testTheSystemTrustsASignedProgram(self):
        for name in PROGRAMS:
            self.assertEqual(self.answer(signed() / name), [TRUSTED])

    def testTheSystemRefusesAnUnknownRoot(self):
        self.assertEqual(self.answer(signed("stranger") / PROGRAMS[0]), [UNTRUSTED_ROOT])

    def testTheSystemRefusesAnAlteredProgram(self):
        altered = self.machine.folder / "altered.exe"
        data = bytearray((signed() / PROGRAMS[0]).read_bytes())
        data[data.index(b"DOS mode")] ^= 1
        altered.write_bytes(data)
        self.assertEqual(self.answer(altered), [BAD_DIGEST])
        self.assertNotEqual(self.verify(altered)[0], 0)

    def testTheSignatureIsOfSha256ByTheCertificateThatWasGiven(self):
        for name in PROGRAMS:
            status, printed = self.verify(signed() / name)
            self.assertEqual(status, 0, printed)
            self.assertIn("CN = QUORVANTA Lab", printed.replace("CN=", "CN = "))
            self.assertRegex(printed, r"(?i)message digest algorithm\s*: SHA256")
        self.assertNotEqual(self.verify(signed("stranger") / PROGRAMS[0])[0], 0)

    def testTheBuiltProgramWithTheSignatureIsTheSignedOne(self):
        """As the notes tell. (What is left when a signature is removed is longer than what was built, by the zeros that
        align the signature.)"""
        notes = (signed() / "REBUILD.txt").read_text(encoding="ascii")
        self.assertIn("osslsigncode attach-signature", notes)
        for name in PROGRAMS:
            built, signature = BUILT / name, self.machine.folder / "signature.pem"
            again = self.machine.folder / name
            run("osslsigncode", "extract-signature", "-pem", "-in", signed() / name, "-out", signature)
            run("osslsigncode", "attach-signature", "-CAfile", signing.lab() / "trusted.pem", "-sigin", signature,
                "-in", built, "-out", again)
            self.assertTrue(again.read_bytes() == (signed() / name).read_bytes(), name)
            self.assertEqual(digests_in_notes(signed())[name], hashlib.sha256(built.read_bytes()).hexdigest())
            signature.unlink()

    def testChecksumsAndBillAreOfTheSignedBytes(self):
        run("sha256sum", "-c", "SHA256SUMS", cwd=signed())
        bill = (signed() / "bill-of-materials.spdx.json").read_text(encoding="utf-8")
        for name in PROGRAMS:
            data = (signed() / name).read_bytes()
            self.assertIn(hashlib.sha256(data).hexdigest(), bill)
            self.assertNotEqual(data, (unpacked() / name).read_bytes())

    def testTheCheckPackageIsSignedToo(self):
        folder = signed(what="check")
        run("sha256sum", "-c", "SHA256SUMS", cwd=folder)
        programs = sorted(file.name for file in folder.glob("*.exe"))
        self.assertEqual(programs, sorted(file.name for file in unpacked(CHECK).glob("*.exe")))
        for name in programs:
            self.assertEqual(self.answer(folder / name), [TRUSTED], name)
            status, printed = self.verify(folder / name)
            self.assertEqual(status, 0, printed)
        self.assertEqual(digests_in_notes(folder), digests_in_notes(unpacked(CHECK)))
        self.assertIn("osslsigncode attach-signature", (folder / "REBUILD.txt").read_text(encoding="ascii"))

    def testTimeStamp(self):
        lab = signing.lab()
        with (TimeAuthority(self.machine.folder / "time") as authority,
              mock.patch.dict(os.environ, {"no_proxy": "127.0.0.1"})):
            output, _ = package("stamped", "--sign", lab / "right.pem", lab / "leaf.key", "--timestamp", authority.url)
        status, printed = self.verify(unpacked(WIN32, output) / PROGRAMS[0], "-TSA-CAfile", lab / "trusted.pem")
        self.assertEqual(status, 0, printed)
        self.assertRegex(printed, r"(?i)timestamp server signature verification: ok")

    def testAWrongKeyIsRefused(self):
        lab = signing.lab()
        done = subprocess.run([PROJECT / "scripts/package.sh", "win32", "--output", WORK / "wrong", "--sign",
                               lab / "right.pem", lab / "unknown.key"], capture_output=True, text=True, check=False)
        self.assertNotEqual(done.returncode, 0)
        self.assertIn("could not be signed", done.stderr)
        self.assertEqual(list(pathlib.Path(WORK / "wrong").iterdir()), [])
