#!/usr/bin/env bash
# Makes refused.msi anew, the package of the checks: it refuses to be installed by a condition of its own, holds no file,
# and is signed by a certificate that nobody trusts and whose key is gone afterwards.
#
#   tests/windows_check/make_refused_package.sh
#
# The certificate is signed with SHA-1, since Wine 8 looks at no others. No signature comes out twice: the file is kept
# with the sources, and is made anew only when it must be another. Needs wixl, osslsigncode and openssl.
set -eu
folder=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

cat >package.wxs <<'END'
<?xml version="1.0" encoding="utf-8"?>
<Wix xmlns="http://schemas.microsoft.com/wix/2006/wi">
  <Product Id="5D1E7A90-3C42-4B68-9F07-A1B2C3D4E5F6" Name="ZUM windows check" Language="1033" Version="1.0.0"
           Manufacturer="Quorvanta" UpgradeCode="6E2F8BA1-4D53-4C79-8A18-B2C3D4E5F607">
    <Package InstallerVersion="200" Compressed="yes" Description="Refuses to be installed" Manufacturer="Quorvanta"/>
    <Condition Message="This package is for reading only.">0</Condition>
    <Directory Id="TARGETDIR" Name="SourceDir"/>
    <Feature Id="Main" Level="1"/>
  </Product>
</Wix>
END
wixl -o unsigned.msi package.wxs

cat >authority.cnf <<'END'
[ca]
default_ca = check
[check]
database = index
serial = serial
new_certs_dir = .
default_md = sha1
policy = subject
x509_extensions = leaf
[subject]
commonName = supplied
[leaf]
basicConstraints = critical,CA:false
keyUsage = critical,digitalSignature
extendedKeyUsage = codeSigning
END
touch index
printf '01\n' >serial
openssl req -new -newkey rsa:2048 -nodes -subj '/CN=Quorvanta windows check, trusted by nobody' -keyout key.pem \
    -out request.pem 2>/dev/null
openssl ca -batch -notext -config authority.cnf -selfsign -keyfile key.pem -in request.pem \
    -startdate 20100101000000Z -enddate 20490101000000Z -out certificate.pem 2>/dev/null
osslsigncode sign -h sha256 -certs certificate.pem -key key.pem -in unsigned.msi -out signed.msi
mv signed.msi "$folder/refused.msi"
