"""The Debian packages: how they are built, installed, upgraded and taken away, and started from the
menu.

Works on a small Debian system in build/roots/, of the same release as this one, which is made once.
Needs root.
"""
import configparser
import pathlib
import shlex
import shutil
import stat
import subprocess

import pytest

TOP = pathlib.Path(__file__).resolve().parents[2]
OUTPUT = TOP / "build" / "package"
SYSTEMS = TOP / "tests" / "support" / "debian_root"
WINDOW = "veltrana-dvx-tools"
PROBE = "dvx-probe"
SCANNER = "usr/local/share/veltrana/scanner"
PROGRAM = f"{SCANNER}/bin/VeltranaDVXTools"
# What a GTK program needs to show its texts to the tests.
TOOLS = ("libgail-common", "libatk-adaptor", "at-spi2-core", "fonts-dejavu-core", "man-db")
# What installing any package changes.
BOOKKEEPING = ("var/lib/dpkg", "var/lib/apt", "var/log", "var/cache", "tmp", "proc", "run")
# Version 1.0.0-1 was a single package, with these files and what its postrm did.
OLD_FILES = (
    "usr/local/bin/VeltranaDVXTools",
    "usr/local/bin/dvx-probe",
    PROGRAM,
    f"{SCANNER}/bin/dvx-probe",
    f"{SCANNER}/data/en/DVXTOOLS.RCT",
    f"{SCANNER}/data/old/DVXTOOLS.RCT",
    f"{SCANNER}/wireshark/veltrana_registration.lua",
    "usr/share/applications/com.veltrana.DVXTools.desktop",
    "usr/local/share/bash-completion/completions/dvx-probe",
    "usr/local/share/icons/hicolor/scalable/apps/veltrana-dvx-tools.svg",
    "usr/local/share/man/man1/VeltranaDVXTools.1.gz",
    "usr/local/share/man/man1/dvx-probe.1.gz",
    "usr/local/share/metainfo/com.veltrana.DVXTools.metainfo.xml",
    "usr/share/doc/veltrana-dvx-tools/README.md",
    "usr/share/doc/veltrana-dvx-tools/docs/dvx-probe.md",
)
OLD_POSTRM = """#!/bin/sh
set -e
if [ "$1" = remove ] || [ "$1" = purge ]; then
  for folder in bin share share/man; do
    [ -e "/usr/local/$folder" ] || mkdir "/usr/local/$folder"
  done
fi
"""


def run(*command, **options):
    done = subprocess.run(
        [str(word) for word in command], capture_output=True, text=True, check=False, **options
    )
    assert done.returncode == 0, f"{command}: {done.stdout}{done.stderr}"
    return done.stdout


def release():
    """The code name of this Debian."""
    lines = pathlib.Path("/etc/os-release").read_text().splitlines()
    (name,) = [line.split("=")[1] for line in lines if line.startswith("VERSION_CODENAME=")]
    return name


ROOT = TOP / "build" / "roots" / f"package-{release()}"
# Runs a command on the small system.
ENTER = (SYSTEMS, "run", ROOT)


def in_root(*command):
    return run(*ENTER, *command)


def build(checkout, output):
    """Builds the packages of a checkout and gives them by their names."""
    run(checkout / "script" / "package", "--output", output)
    return {name: next(output.glob(f"{name}_*.deb")) for name in (WINDOW, PROBE)}


def files_of(root):
    """{path: kind and mode} of all that is there besides the package manager's books."""
    found = {}
    for path in root.rglob("*"):
        name = str(path.relative_to(root))
        if not name.startswith(BOOKKEEPING):
            status = path.lstat()
            found[name] = (stat.filemode(status.st_mode), status.st_uid, status.st_gid)
    return found


def install(*packages):
    for package in packages:
        shutil.copy(package, ROOT / "tmp")
    in_root("dpkg", "--install", *(f"/tmp/{package.name}" for package in packages))


def purge():
    in_root("dpkg", "--purge", WINDOW, PROBE)


def version_of(name):
    """The version that is installed on the small system, with the state it is in."""
    show = "--showformat=${db:Status-Status} ${Version}"
    return in_root("dpkg-query", "--show", show, name)


@pytest.fixture(scope="session")
def packages():
    for pattern in ("*.deb", "*.dsc", "*.tar.xz", "*.changes", "*.buildinfo"):
        for old in OUTPUT.glob(pattern):
            old.unlink()
    return build(TOP, OUTPUT)


@pytest.fixture(scope="session")
def small_system(packages):
    """A Debian system with what the packages depend on, but not the packages."""
    run(SYSTEMS, "make", ROOT, release())
    files = [shutil.copy(package, ROOT / "tmp") for package in packages.values()]
    names = [f"/tmp/{pathlib.Path(file).name}" for file in files]
    in_root("apt-get", "-qq", "update")
    in_root("apt-get", "-qq", "install", "--no-install-recommends", *TOOLS, *names)
    purge()


@pytest.fixture
def installed(small_system, packages):
    install(*packages.values())
    yield
    purge()


@pytest.fixture
def single_package(small_system, tmp_path):
    """Version 1.0.0-1 on the small system."""
    tree = tmp_path / "single"
    for name in OLD_FILES:
        (tree / name).parent.mkdir(parents=True, exist_ok=True)
        (tree / name).write_text("of version 1.0.0-1\n")
    (tree / "DEBIAN").mkdir()
    (tree / "DEBIAN/control").write_text(
        f"Package: {WINDOW}\nVersion: 1.0.0-1\n"
        f"Architecture: {run('dpkg', '--print-architecture').strip()}\nRecommends: xdg-utils\n"
        "Maintainer: somebody <somebody@veltrana.example>\nDescription: the single package\n"
    )
    (tree / "DEBIAN/postrm").write_text(OLD_POSTRM)
    (tree / "DEBIAN/postrm").chmod(0o755)
    run("dpkg-deb", "--build", "--root-owner-group", tree, tmp_path / "single.deb")
    before = files_of(ROOT)
    install(tmp_path / "single.deb")
    yield before
    purge()


def test_two_builds_are_the_same_byte_for_byte(packages, tmp_path):
    run("git", "clone", "-q", TOP, tmp_path / "somewhere" / "else")
    again = tmp_path / "again"
    build(tmp_path / "somewhere" / "else", again)
    # The two others tell when and on what machine.
    made = {path.name for path in again.iterdir() if path.suffix not in (".changes", ".buildinfo")}
    assert len([name for name in made if name.endswith(".deb")]) == 4
    assert len(made) == 7
    for name in made:
        assert (again / name).read_bytes() == (OUTPUT / name).read_bytes(), name


def test_lintian_finds_nothing(packages):
    (changes,) = OUTPUT.glob("*.changes")
    # Each Debian knows another version of its policy, and an override that one of them does not need
    # is a finding too.
    command = ("lintian", "--allow-root", "--display-info", "--pedantic", "--suppress-tags")
    assert run(*command, "out-of-date-standards-version,newer-standards-version", changes) == ""


def test_the_source_package_holds_what_is_committed(packages, tmp_path):
    (description,) = OUTPUT.glob("*.dsc")
    folder = tmp_path / "source"
    run("dpkg-source", "--no-check", "--extract", description, folder)
    found = {str(path.relative_to(folder)) for path in folder.rglob("*") if not path.is_dir()}
    # What dpkg-source itself notes of patches, of which there are none.
    found = {name for name in found if not name.startswith(".pc/")}
    committed = run("git", "-C", TOP, "ls-files", "-z").split("\0")
    assert found == {name for name in committed if name}


def names_in(field):
    return {word.split()[0].removesuffix("t64") for word in field.split(",")}


def test_the_window_depends_on_gtk_and_recommends_the_companion(packages):
    depends = names_in(run("dpkg-deb", "--field", packages[WINDOW], "Depends"))
    assert {"libgtk2.0-0", "libglib2.0-0", "libgdk-pixbuf-2.0-0", "libc6"} <= depends
    assert PROBE in names_in(run("dpkg-deb", "--field", packages[WINDOW], "Recommends"))


def test_the_companion_needs_neither_gtk_nor_x(packages):
    depends = names_in(run("dpkg-deb", "--field", packages[PROBE], "Depends"))
    assert depends == {"libc6", "libgcc-s1", "libglib2.0-0", "libstdc++6"}
    assert run("dpkg-deb", "--field", packages[PROBE], "Recommends").strip() == ""


def test_installs_program_link_texts_icons_and_manuals(installed):
    assert (ROOT / "usr/bin/VeltranaDVXTools").readlink() == pathlib.Path(
        "../local/share/veltrana/scanner/bin/VeltranaDVXTools"
    )
    assert (ROOT / PROGRAM).stat().st_mode & 0o777 == 0o755
    assert (ROOT / SCANNER / "data/de/DVXTOOLS.RCT").is_file()
    for size in ("16x16", "22x22", "24x24", "32x32", "48x48", "64x64", "128x128", "256x256"):
        icon = f"usr/share/icons/hicolor/{size}/apps/veltrana-dvx-tools.png"
        assert f"PNG image data, {size.replace('x', ' x ')}" in run("file", ROOT / icon)
    icons = ROOT / "usr/share/icons/hicolor/scalable/apps"
    assert (icons / "veltrana-dvx-tools.svg").is_file()
    assert "get this computer ready" in in_root("man", "--pager=cat", "VeltranaDVXTools")
    assert "dvx-probe explain" in in_root("man", "--pager=cat", "dvx-probe")
    assert (ROOT / f"usr/share/doc/{WINDOW}/README.md").is_file()


def test_the_companion_works_alone(small_system, packages):
    before = files_of(ROOT)
    install(packages[PROBE])
    assert in_root("dvx-probe", "--version").startswith("dvx-probe 1.")
    assert (ROOT / "usr/share/bash-completion/completions/dvx-probe").is_file()
    (dissector,) = (ROOT / "usr/lib").glob("*/wireshark/plugins/veltrana_registration.lua")
    assert dissector.is_file()
    assert not (ROOT / "usr/local/share/veltrana").exists()
    purge()
    assert files_of(ROOT) == before


def test_purging_leaves_nothing_but_what_people_made(small_system, packages):
    settings = ROOT / "root" / ".VeltranaDVX" / "dvxtools.conf"
    settings.parent.mkdir(exist_ok=True)
    settings.write_text("HOST_NAME=desk\n")
    before = files_of(ROOT)
    install(*packages.values())
    assert files_of(ROOT) != before
    in_root("dpkg", "--remove", WINDOW, PROBE)
    assert files_of(ROOT) == before
    purge()
    assert files_of(ROOT) == before
    shutil.rmtree(settings.parent)


def test_the_switch_files_go_with_purging_only(small_system, packages):
    before = files_of(ROOT)
    install(*packages.values())
    for name in ("VeltranaDVXTools.err", "VeltranaDVXTools.log"):
        (ROOT / SCANNER / "bin" / name).touch()
    in_root("dpkg", "--remove", WINDOW, PROBE)
    left = set(files_of(ROOT)) - set(before)
    assert f"{SCANNER}/bin/VeltranaDVXTools.err" in left
    assert PROGRAM not in left
    purge()
    assert files_of(ROOT) == before


def test_upgrading_the_single_package_gives_both(single_package, packages):
    settings = ROOT / "root" / ".VeltranaDVX" / "dvxtools.conf"
    settings.parent.mkdir(exist_ok=True)
    settings.write_text("HOST_NAME=desk\n")
    switch = ROOT / SCANNER / "bin" / "VeltranaDVXTools.err"
    switch.touch()
    offer = ROOT / "tmp" / "offer"
    offer.mkdir(exist_ok=True)
    for package in packages.values():
        shutil.copy(package, offer)
    (offer / "Packages").write_text(run("dpkg-scanpackages", "--multiversion", ".", cwd=offer))
    (offer / "list").write_text("deb [trusted=yes] file:/tmp/offer ./\n")
    apt = ("apt", "-o", "Dir::Etc::SourceList=/tmp/offer/list", "-o", "Dir::Etc::SourceParts=-")
    in_root(*apt, "update")
    in_root(*apt, "--yes", "upgrade")

    version = run("dpkg-deb", "--field", packages[WINDOW], "Version").strip()
    assert version_of(WINDOW) == version_of(PROBE) == f"installed {version}"
    for name in OLD_FILES:
        path = ROOT / name
        assert not path.exists() or b"1.0.0-1" not in path.read_bytes(), name
    assert in_root("sh", "-c", "command -v VeltranaDVXTools").strip() == "/usr/bin/VeltranaDVXTools"
    assert in_root("sh", "-c", "command -v dvx-probe").strip() == "/usr/bin/dvx-probe"
    assert in_root("dvx-probe", "--version").startswith("dvx-probe 1.")
    assert settings.read_text() == "HOST_NAME=desk\n"
    assert switch.exists()
    # Folders of the machine, which had nothing else in them.
    for name in ("usr/local/bin", "usr/local/share/man"):
        assert files_of(ROOT)[name] == single_package[name]
    shutil.rmtree(settings.parent)
    purge()
    shutil.rmtree(offer)
    assert files_of(ROOT) == single_package


def test_the_companion_does_not_go_beside_the_single_package(single_package, packages):
    shutil.copy(packages[PROBE], ROOT / "tmp")
    done = subprocess.run(
        [*ENTER, "dpkg", "--install", f"/tmp/{packages[PROBE].name}"],
        capture_output=True,
        text=True,
        check=False,
    )
    assert done.returncode != 0
    assert f"{PROBE} breaks {WINDOW}" in done.stderr


@pytest.mark.parametrize(
    "language, save_to", [("de_AT.UTF-8", "Speichern in:"), ("xx_XX.UTF-8", "Save to:")]
)
def test_menu_entry_starts_the_program_with_the_texts_of(installed, language, save_to):
    entry = configparser.ConfigParser(interpolation=None, strict=False)
    entry.optionxform = str
    entry.read(ROOT / "usr/share/applications/com.veltrana.DVXTools.desktop")
    command = shlex.split(entry["Desktop Entry"]["Exec"])
    texts = run(
        TOP / "script" / "lab",
        "--accessibility",
        "--",
        "/usr/bin/python3",
        TOP / "tests" / "package" / "show_labels.py",
        ROOT,
        language,
        *command,
    )
    assert save_to in texts.splitlines()
