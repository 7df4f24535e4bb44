"""Packages for the installer, made on the spot."""

import re
import subprocess

import registry_rule

UPGRADE_CODE = "2F4E6D8C-1B3A-4957-8642-0A1B2C3D4E5F"
OLD = "7B3C1F62-9A54-4E0D-8C21-5D6E7F8091A2"
NEW = "8C4D2073-AB65-4F1E-9D32-6E7F8091A2B3"
# ALLUSERS stands as a property and not as an install scope: the package builder takes one of the two only.
SOURCE = """<?xml version="1.0" encoding="utf-8"?>
<Wix xmlns="http://schemas.microsoft.com/wix/2006/wi">
  <Product Id="{code}" Name="ZUM Workstation" Language="1033" Version="{version}" Manufacturer="Quorvanta"
           UpgradeCode="{upgrade_code}">
    <Package InstallerVersion="200" Compressed="yes" Description="ZUM Workstation" Manufacturer="Quorvanta"/>
    <Property Id="ALLUSERS" Value="1"/>
    <Media Id="1" Cabinet="zum.cab" EmbedCab="yes"/>
    <Directory Id="TARGETDIR" Name="SourceDir">
      <Directory Id="ProgramFilesFolder">
        <Directory Id="INSTALLFOLDER" Name="Quorvanta ZUM">
          <Component Id="ProductFile" Guid="{component}">
            <File Id="ProductText" Name="{file}" Source="content.txt" KeyPath="yes"/>
          </Component>
        </Directory>
      </Directory>
    </Directory>
    <Feature Id="Main" Level="1">
      <ComponentRef Id="ProductFile"/>
    </Feature>{upgrade}
  </Product>
</Wix>
"""
UPGRADE = """
    <Upgrade Id="{upgrade_code}">
      <UpgradeVersion Minimum="0.0.1" IncludeMinimum="yes" Maximum="2.0.0" IncludeMaximum="no" Property="OLDERFOUND"/>
    </Upgrade>
    <InstallExecuteSequence>
      <RemoveExistingProducts After="InstallInitialize"/>
    </InstallExecuteSequence>"""


def packed(code):
    """A product's code as the installer writes it in its keys: each of the first three groups backwards, each byte of
    the rest with its two digits swapped."""
    first, second, third, *rest = code.split("-")
    return first[::-1] + second[::-1] + third[::-1] + re.sub("(.)(.)", r"\2\1", "".join(rest))


def install_properties(code):
    return f"{registry_rule.USER_DATA}\\{packed(code)}\\InstallProperties"


def source_list(code):
    return f"{registry_rule.CLASSES}\\{packed(code)}\\SourceList"


def is_known(branch, code):
    """Whether the installer's records name the product, under either of the two roots."""
    name = packed(code).lower()
    return any(name in path.lower().split("\\") for path in branch
               if path.lower().startswith((registry_rule.USER_DATA.lower(), registry_rule.CLASSES.lower())))


def make(path, code=OLD, version="1.0.0", file="zum.txt", component="C0FFEE11-2233-4455-8677-8899AABBCCDD",
         upgrades=False):
    """Makes the package of a product with one file. With `upgrades` it removes the product's versions below 2."""
    source = path.with_suffix(".wxs")
    content = path.with_name("content.txt")
    upgrade = UPGRADE.format(upgrade_code=UPGRADE_CODE) if upgrades else ""
    source.write_text(SOURCE.format(code=code, version=version, file=file, component=component, upgrade=upgrade,
                                    upgrade_code=UPGRADE_CODE), encoding="utf-8")
    content.write_text(f"The file {file} of version {version}.\n", encoding="ascii")
    subprocess.run(["wixl", "-o", path, source.name], cwd=path.parent, check=True, capture_output=True)
    source.unlink()
    content.unlink()
