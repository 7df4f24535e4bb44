"""Certificates of a made-up world, and what is signed with them.

The leaf certificates are signed with SHA-1: with SHA-256 Wine's trust check skips its policy, and a certificate that is
expired or hangs on an unknown root would pass there.
"""

import os
import pathlib
import shutil
import subprocess
import tempfile

VALID = ("20100101000000Z", "20490101000000Z")
# Name -> (subject, validity, root)
SIGNERS = {
    "right": ("/CN=QUORVANTA Lab", VALID, "trusted"),
    "inside": ("/CN=Subquorvantas Werkzeuge", VALID, "trusted"),
    "other": ("/CN=Probe Signer GmbH", VALID, "trusted"),
    "nameless": ("/C=DE", VALID, "trusted"),
    "expired": ("/CN=QUORVANTA Lab", ("20100101000000Z", "20110101000000Z"), "trusted"),
    "early": ("/CN=QUORVANTA Lab", ("20480101000000Z", "20490101000000Z"), "trusted"),
    "stranger": ("/CN=QUORVANTA Lab", VALID, "unknown"),
}
AUTHORITY = """
[ca]
default_ca = lab
[lab]
database = {root}.index
serial = {root}.serial
new_certs_dir = .
default_md = sha1
policy = subject
unique_subject = no
x509_extensions = leaf
[subject]
countryName = optional
commonName = optional
[leaf]
basicConstraints = critical,CA:false
keyUsage = critical,digitalSignature
extendedKeyUsage = codeSigning
"""


def command(folder, *words):
    done = subprocess.run([str(word) for word in words], cwd=folder, stdin=subprocess.DEVNULL, capture_output=True,
                          check=False)
    if done.returncode != 0:
        raise RuntimeError(f"{words[0]} {words[1]} ended with {done.returncode}: {(done.stderr + done.stdout).decode()}")


def make_root(folder, root):
    command(folder, "openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-sha256", "-days", "3650", "-subj",
            f"/CN=ZUM test root, {root}", "-addext", "keyUsage=critical,keyCertSign", "-keyout", f"{root}.key", "-out",
            f"{root}.pem")
    command(folder, "openssl", "x509", "-in", f"{root}.pem", "-outform", "DER", "-out", f"{root}.der")
    (folder / f"{root}.index").touch()
    (folder / f"{root}.serial").write_text("01\n", encoding="ascii")
    (folder / f"{root}.cnf").write_text(AUTHORITY.format(root=root), encoding="ascii")


def make_lab(folder):
    for root in ("trusted", "unknown"):
        make_root(folder, root)
    command(folder, "openssl", "req", "-new", "-newkey", "rsa:2048", "-nodes", "-subj", "/CN=x", "-keyout", "leaf.key",
            "-out", "leaf.csr")
    for name, (subject, (first, last), root) in SIGNERS.items():
        command(folder, "openssl", "ca", "-batch", "-notext", "-config", f"{root}.cnf", "-cert", f"{root}.pem",
                "-keyfile", f"{root}.key", "-in", "leaf.csr", "-subj", subject, "-startdate", first, "-enddate", last,
                "-out", f"{name}.pem")


def lab():
    """The folder with the certificates; made by the first test of a build folder, for all of them."""
    folder = pathlib.Path(os.environ["ZUM_HELPERS"]) / "signing"
    if not folder.exists():
        made = pathlib.Path(tempfile.mkdtemp(prefix="signing-", dir=folder.parent))
        make_lab(made)
        try:
            made.rename(folder)
        except OSError:  # another test was first
            shutil.rmtree(made)
    return folder


def trusted_root():
    return lab() / "trusted.der"


def sign(file, signer):
    """Puts a signature into a package or a program, in place. The root goes along: with the leaf alone Wine passes
    everything."""
    unsigned = file.with_name("unsigned-" + file.name)
    file.rename(unsigned)
    command(lab(), "osslsigncode", "sign", "-h", "sha256", "-certs", f"{signer}.pem", "-ac",
            f"{SIGNERS[signer][2]}.pem", "-key", "leaf.key", "-in", unsigned, "-out", file)
    unsigned.unlink()


def damage_signature(file):
    """Changes a byte of the signer's own value, the last one in the signature."""
    extracted = file.with_name("signature.der")
    command(lab(), "osslsigncode", "extract-signature", "-in", file, "-out", extracted)
    value = extracted.read_bytes()[-48:]
    extracted.unlink()
    data = file.read_bytes()
    if data.count(value) != 1:
        raise RuntimeError("the end of the signature isn't found in the file")
    file.write_bytes(data.replace(value, value[:10] + bytes([value[10] ^ 1]) + value[11:]))
