#!/usr/bin/env python3
"""Packs the extension into arkivon.vsix, the form in which editors install one. Needs nothing beside Python.

Usage: vsix.py [FILE]
"""
import json
import pathlib
import sys
import zipfile
from xml.sax.saxutils import escape, quoteattr

SOURCE = pathlib.Path(__file__).resolve().parent / "vscode"

MANIFEST = """<?xml version="1.0" encoding="utf-8"?>
<PackageManifest Version="2.0.0" xmlns="http://schemas.microsoft.com/developer/vsx-schema/2011">
  <Metadata>
    <Identity Language="en-US" Id={name} Version={version} Publisher={publisher}/>
    <DisplayName>{title}</DisplayName>
    <Description xml:space="preserve">{description}</Description>
    <Categories>{categories}</Categories>
    <Properties><Property Id="Microsoft.VisualStudio.Code.Engine" Value={engine}/></Properties>
  </Metadata>
  <Installation><InstallationTarget Id="Microsoft.VisualStudio.Code"/></Installation>
  <Dependencies/>
  <Assets>
    <Asset Type="Microsoft.VisualStudio.Code.Manifest" Path="extension/package.json" Addressable="true"/>
  </Assets>
</PackageManifest>
"""

TYPES = """<?xml version="1.0" encoding="utf-8"?>
<Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types">
  <Default Extension=".json" ContentType="application/json"/>
  <Default Extension=".js" ContentType="application/javascript"/>
  <Default Extension=".txt" ContentType="text/plain"/>
  <Default Extension=".vsixmanifest" ContentType="text/xml"/>
</Types>
"""


def manifest():
    package = json.loads((SOURCE / "package.json").read_text(encoding="utf-8"))
    return MANIFEST.format(
        name=quoteattr(package["name"]), version=quoteattr(package["version"]),
        publisher=quoteattr(package["publisher"]), title=escape(package["displayName"]),
        description=escape(package["description"]), categories=escape(",".join(package["categories"])),
        engine=quoteattr(package["engines"]["vscode"]))


def main():
    target = sys.argv[1] if len(sys.argv) > 1 else "arkivon.vsix"
    with zipfile.ZipFile(target, "w", zipfile.ZIP_DEFLATED) as archive:
        archive.writestr("[Content_Types].xml", TYPES)
        archive.writestr("extension.vsixmanifest", manifest())
        for path in sorted(SOURCE.rglob("*")):
            if path.is_file():
                archive.write(path, "extension/" + path.relative_to(SOURCE).as_posix())
    print("wrote", target)


if __name__ == "__main__":
    main()
