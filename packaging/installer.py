#!/usr/bin/env python3
"""Makes the installer of what the downloads hold: equal files give an equal installer.

usage: installer.py --stage DIR --version V --output FILE.msi

DIR has the folders Runtime, Development and Simulator, as they are installed. installer.wxs says what is registered. wixl
makes the database; what it cannot write is added afterwards, by msibuild:

- the version of each file: without it Windows keeps an older file that has one,
- features that cannot be advertised, and one that cannot be left out,
- conditions: what another installation has registered stays as it is,
- the search path.
"""
import argparse
import hashlib
import os
import re
import struct
import subprocess
import sys
import uuid
import xml.etree.ElementTree as Xml
from pathlib import Path

HERE = Path(__file__).resolve().parent
FIXED = HERE / "installer.wxs"
FEATURES = {"Runtime": "Agent", "Development": "Sdk", "Simulator": "Simulator"}
NAMESPACE = "http://schemas.microsoft.com/wix/2006/wi"
NAMES = uuid.UUID("6C6DB3C2-2B1C-4B2E-8E0B-6B54DC0C1100")  # of components and versions
ROOT = "INSTALLDIR"
KNOWN_FOLDERS = {"": ROOT, "bin": "BinDir"}
# Set by fixed dates: a cabinet has its files' dates.
EARLIEST = 315532800

NO_ADVERTISING, NEVER_ABSENT = 8, 16


def key(path: str) -> str:
    """The identifier of a file or folder in the database."""
    name = re.sub(r"[^A-Za-z0-9_.]", "_", path)
    return name if len(name) < 56 and name == path.replace("/", "_") else f"{name[-48:]}_{hashlib.sha256(path.encode()).hexdigest()[:8]}"


def guid(name: str) -> str:
    return str(uuid.uuid5(NAMES, name)).upper()


class Files:
    """The files that installer.wxs does not name itself, as components in their folders."""

    def __init__(self, stage: Path):
        self.wix = Xml.Element("Wix", xmlns=NAMESPACE)
        self.fragment = Xml.SubElement(self.wix, "Fragment")
        self.folders = {}
        named = set(re.findall(r'Source="([^"]+)"', FIXED.read_text()))
        for part in FEATURES:
            group = Xml.Element("ComponentGroup", Id=f"{part}Files")
            for file in sorted(path for path in (stage / part).rglob("*") if path.is_file()):
                path = file.relative_to(stage / part).as_posix()
                if f"{part}/{path}" not in named:
                    Xml.SubElement(group, "ComponentRef", Id=self.component(part, path))
            self.fragment.append(group)

    def folder(self, path: str) -> Xml.Element:
        if path not in self.folders:
            if path in KNOWN_FOLDERS:
                self.folders[path] = Xml.SubElement(self.fragment, "DirectoryRef", Id=KNOWN_FOLDERS[path])
            else:
                above, _, name = path.rpartition("/")
                self.folders[path] = Xml.SubElement(self.folder(above), "Directory", Id=f"D_{key(path)}", Name=name)
        return self.folders[path]

    def component(self, part: str, path: str) -> str:
        folder, _, name = path.rpartition("/")
        component = Xml.SubElement(self.folder(folder), "Component", Id=f"C_{key(path)}", Guid=guid(path), Win64="yes")
        Xml.SubElement(component, "File", Id=f"F_{key(path)}", Name=name, Source=f"{part}/{path}", KeyPath="yes")
        return component.get("Id")

    def write(self, file: Path) -> None:
        file.write_bytes(Xml.tostring(self.wix, encoding="utf-8", xml_declaration=True))


def version_of(file: Path) -> str | None:
    data = file.read_bytes()
    at = data.find(struct.pack("<I", 0xFEEF04BD))  # VS_FIXEDFILEINFO
    if at < 0 or data[:2] != b"MZ":
        return None
    high, low = struct.unpack_from("<II", data, at + 8)
    return f"{high >> 16}.{high & 0xFFFF}.{low >> 16}.{low & 0xFFFF}"


class Database:
    def __init__(self, file: Path):
        self.file = file
        self.queries = []

    def rows(self, table: str) -> list[list[str]]:
        text = subprocess.run(["msiinfo", "export", self.file, table], check=True, capture_output=True, text=True).stdout
        return [line.split("\t") for line in text.replace("\r", "").split("\n")[3:] if line]

    def ask(self, query: str) -> None:
        self.queries.append(query)

    def insert(self, table: str, **values: str | int) -> None:
        columns = ", ".join(f"`{name}`" for name in values)
        texts = ", ".join(str(value) if isinstance(value, int) else f"'{value}'" for value in values.values())
        self.ask(f"INSERT INTO `{table}` ({columns}) VALUES ({texts})")

    def write(self) -> None:
        for query in self.queries:
            subprocess.run(["msibuild", self.file, "-q", query], check=True)


# The property set of [MS-OLEPS] that tells of the whole file, and its properties.
SUMMARY = b"\xe0\x85\x9f\xf2\xf9\x4f\x68\x10\xab\x91\x08\x00\x2b\x27\xb3\xd9"
REVISION, CREATED, SAVED = 9, 12, 13
EARLIEST_FILETIME = (EARLIEST + 11644473600) * 10_000_000


def name_by_content(file: Path) -> None:
    """Gives the package, instead of the moment and a drawn number, a fixed date and a number made of what is in it."""
    data = bytearray(file.read_bytes())
    header = data.index(SUMMARY)
    section = header - 28 + struct.unpack_from("<I", data, header + 16)[0]
    count = struct.unpack_from("<I", data, section + 4)[0]
    places = dict(struct.unpack_from("<II", data, section + 8 + 8 * entry) for entry in range(count))
    for property_ in (CREATED, SAVED):
        struct.pack_into("<Q", data, section + places[property_] + 4, EARLIEST_FILETIME)
    number = section + places[REVISION] + 8
    data[number:number + 38] = b"{00000000-0000-0000-0000-000000000000}"
    content = hashlib.sha256(data).hexdigest()
    data[number:number + 38] = b"{%s}" % guid(content).encode()
    file.write_bytes(data)


def finish(database: Database, stage: Path) -> None:
    sources = {path.name: path for path in stage.rglob("*") if path.is_file()}
    for row in database.rows("File"):
        version = version_of(sources[row[2].split("|")[-1]])
        if version:
            database.ask(f"UPDATE `File` SET `Version`='{version}', `Language`='1033' WHERE `File`='{row[0]}'")
            database.ask(f"DELETE FROM `MsiFileHash` WHERE `File_`='{row[0]}'")
    for feature in ("Agent", "Path", "Sdk", "Simulator"):
        attributes = NO_ADVERTISING | (NEVER_ABSENT if feature == "Agent" else 0)
        database.ask(f"UPDATE `Feature` SET `Attributes`={attributes} WHERE `Feature`='{feature}'")

    # What was there before stays; what this product wrote is its own, at repairs and upgrades, too.
    conditions = {"SuiteDir": "NOT SUITE_DIR OR OWN_DIR", "SuiteFcoe": "NOT SUITE_FCOE OR OWN_FCOE"}
    for feature, component in database.rows("FeatureComponents"):
        if feature == "Simulator":
            conditions[component] = "NOT CORE_AGENT OR OWN_SIMULATOR"
    for component, condition in conditions.items():
        database.ask(f"UPDATE `Component` SET `Condition`='{condition}' WHERE `Component`='{component}'")

    # What the agent and simctl write by themselves goes with the product ("-": the whole key, when it is removed).
    for name, path, component in (("RemoveDcbKey", r"SOFTWARE\ORVAN\Network_Services\QEL2\DCB", "SuiteDir"),
                                  ("RemoveSimulatorKey", r"SOFTWARE\ORVAN\Simulator", "SimulatedCoreAgent")):
        database.insert("Registry", Registry=name, Root=2, Key=path, Name="-", Component_=component)

    database.ask("CREATE TABLE `Environment` (`Environment` CHAR(72) NOT NULL, `Name` CHAR(255) NOT NULL LOCALIZABLE,"
                 " `Value` CHAR(255) LOCALIZABLE, `Component_` CHAR(72) NOT NULL PRIMARY KEY `Environment`)")
    database.insert("Environment", Environment="Path", Name="=-*PATH", Value="[~];[BinDir]", Component_="PathEntry")
    database.insert("InstallExecuteSequence", Action="RemoveEnvironmentStrings", Condition="", Sequence=3300)
    database.insert("InstallExecuteSequence", Action="WriteEnvironmentStrings", Condition="", Sequence=5200)
    # Properties that a caller may set reach the elevated half of an installation.
    secure = next(row[1] for row in database.rows("Property") if row[0] == "SecureCustomProperties")
    database.ask(f"UPDATE `Property` SET `Value`='{secure};INSTALLDIR' WHERE `Property`='SecureCustomProperties'")


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--stage", type=Path, required=True)
    parser.add_argument("--version", required=True)
    parser.add_argument("--output", type=Path, required=True)
    options = parser.parse_args()
    stage, output = options.stage.resolve(), options.output.resolve()
    for path in stage.rglob("*"):
        os.utime(path, (EARLIEST, EARLIEST))
    generated = stage / "files.wxs"
    Files(stage).write(generated)
    # Names of files are relative to where wixl runs.
    subprocess.run(["wixl", "--arch", "x64", "-D", f"Version={options.version}", "-D", f"ProductCode={guid(options.version)}",
                    "--output", output, FIXED, generated], check=True, cwd=stage)
    generated.unlink()
    database = Database(output)
    finish(database, stage)
    database.write()
    name_by_content(output)
    return 0


if __name__ == "__main__":
    sys.exit(main())
