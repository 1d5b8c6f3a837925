"""Wine prefixes of nothing but what a machine has that has Wine, and commands in them."""
import functools
import os
import shutil
import subprocess
from pathlib import Path


def run(*command: str | Path, check: bool = True, **options) -> subprocess.CompletedProcess:
    done = subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True, text=True, **options)
    if check and done.returncode:
        raise AssertionError(f"{command} ended with {done.returncode}:\n{done.stdout}{done.stderr}")
    return done


def windows(path: Path) -> str:
    return "Z:" + str(path).replace("/", "\\")


ENVIRONMENT = {key: value for key, value in os.environ.items() if not key.startswith(("WINE", "ORVAN_SIM"))} | \
    {"WINEDEBUG": "-all", "WINEDLLOVERRIDES": "mscoree,mshtml,winedbg.exe="}


@functools.cache
def clean(folder: Path) -> Path:
    """A prefix that is made anew, once: to make one takes seconds, to copy it none."""
    prefix = Session(folder / "wine-clean")
    shutil.rmtree(prefix.folder, ignore_errors=True)
    prefix.folder.mkdir(parents=True)
    prefix.start()
    prefix.end()
    return prefix.folder


class Session:
    """The session in a Wine prefix."""

    def __init__(self, folder: Path):
        self.folder = folder
        self.environment = ENVIRONMENT | {"WINEPREFIX": str(folder)}

    def start(self) -> None:
        """A session, which takes none of the pipes of this process with it."""
        for command in (["wineserver", "-p"], ["wine", "wineboot"]):
            subprocess.run(command, env=self.environment, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                           stderr=subprocess.DEVNULL, check=True)

    def wine(self, *arguments: str | Path, check: bool = True, variables: dict | None = None) -> subprocess.CompletedProcess:
        return run("wine", *arguments, check=check, env=self.environment | (variables or {}))

    def end(self) -> None:
        """The registry is written then."""
        subprocess.run(["wineserver", "-k"], env=self.environment, check=False)
        subprocess.run(["wineserver", "-w"], env=self.environment, check=False)


class Prefix(Session):
    """A new Wine prefix and the session in it, of nothing but what a machine has that has Wine."""

    def __init__(self, folder: Path):
        super().__init__(folder)
        shutil.rmtree(folder, ignore_errors=True)
        shutil.copytree(clean(folder.parent), folder, symlinks=True)
        self.start()

    def values(self) -> str:
        """Every value below the maker's keys, and the service."""
        return "".join(self.wine("reg", "query", key, "/s", check=False).stdout for key in (
            r"HKLM\SOFTWARE\ORVAN", r"HKLM\System\CurrentControlSet\Services\OrvanDCB", r"HKCR\OrvanDCB.IoControl.1",
            r"HKCU\Software\Wine\AppDefaults"))
