"""The Debian package: how it is built, installed, upgraded and taken away, and started from the menu.

Works on a small Debian system in build/package/root, which is made once. Needs root.
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
ROOT = OUTPUT / "root"
NAME = "veltrana-dvx-tools"
PROGRAM = "usr/local/share/veltrana/scanner/bin/VeltranaDVXTools"
# What a GTK program needs to show its texts to the tests.
TOOLS = ("libgail-common", "libatk-adaptor", "at-spi2-core", "fonts-dejavu-core", "man-db")
# What installing any package changes.
BOOKKEEPING = ("var/lib/dpkg", "var/lib/apt", "var/log", "var/cache", "tmp", "proc", "run")


def run(*command, **options):
    done = subprocess.run(
        [str(word) for word in command], capture_output=True, text=True, check=False, **options
    )
    assert done.returncode == 0, f"{command}: {done.stdout}{done.stderr}"
    return done.stdout


def in_root(*command):
    """Runs a command on the small system."""
    script = 'mount -t proc proc "$0/proc" && exec chroot "$0" "$@"'
    environment = {"PATH": "/usr/sbin:/usr/bin:/sbin:/bin", "DEBIAN_FRONTEND": "noninteractive"}
    return run("unshare", "--mount", "--pid", "--fork", "sh", "-c", script, ROOT, *command,
               env=environment)


def build(checkout, output):
    """Builds the packages of a checkout and gives the Debian one."""
    run(checkout / "script" / "package", "--output", output)
    (package,) = output.glob("*.deb")
    return package


def files_of(root):
    """{path: kind and mode} of all that is there besides the package manager's books."""
    found = {}
    for path in root.rglob("*"):
        name = str(path.relative_to(root))
        if not name.startswith(BOOKKEEPING):
            status = path.lstat()
            found[name] = (stat.filemode(status.st_mode), status.st_uid, status.st_gid)
    return found


def install(package):
    shutil.copy(package, ROOT / "tmp")
    in_root("dpkg", "--install", f"/tmp/{package.name}")


@pytest.fixture(scope="session")
def package():
    for old in OUTPUT.glob("*.deb"):
        old.unlink()
    return build(TOP, OUTPUT)


@pytest.fixture(scope="session")
def small_system(package):
    """A Debian system with what the package depends on, but not the package."""
    ready = OUTPUT / "root-is-ready"
    if not ready.exists():
        shutil.rmtree(ROOT, ignore_errors=True)
        run("debootstrap", "--variant=minbase", "bookworm", ROOT)
        ready.touch()
    shutil.copy(package, ROOT / "tmp")
    in_root("apt-get", "-qq", "update")
    in_root("apt-get", "-qq", "install", "--no-install-recommends", *TOOLS, f"/tmp/{package.name}")
    in_root("dpkg", "--purge", NAME)


@pytest.fixture
def installed(small_system, package):
    install(package)
    yield
    in_root("dpkg", "--purge", NAME)


def test_two_builds_are_the_same_byte_for_byte(package, tmp_path):
    run("git", "clone", "-q", TOP, tmp_path / "somewhere" / "else")
    again = build(tmp_path / "somewhere" / "else", tmp_path / "again")
    assert again.name == package.name
    assert again.read_bytes() == package.read_bytes()
    (sources,) = (tmp_path / "again").glob("*.tar.gz")
    assert sources.read_bytes() == (OUTPUT / sources.name).read_bytes()


def test_lintian_finds_nothing(package):
    assert run("lintian", "--allow-root", "--fail-on=error,warning", package) == ""


def test_the_source_archive_holds_what_is_committed(package, tmp_path):
    (sources,) = OUTPUT.glob("*.tar.gz")
    run("tar", "-x", "-C", tmp_path, "-f", sources)
    (folder,) = tmp_path.iterdir()
    found = {str(path.relative_to(folder)) for path in folder.rglob("*") if not path.is_dir()}
    committed = run("git", "-C", TOP, "ls-files", "-z").split("\0")
    assert found == {name for name in committed if name}


def test_depends_on_the_libraries_of_the_program(package):
    depends = run("dpkg-deb", "--field", package, "Depends")
    for library in ("libgtk2.0-0", "libglib2.0-0", "libgdk-pixbuf-2.0-0", "libstdc++6", "libc6"):
        assert library in depends


def test_installs_program_link_texts_icons_and_manuals(installed):
    assert (ROOT / "usr/local/bin/VeltranaDVXTools").readlink() == pathlib.Path(
        "../share/veltrana/scanner/bin/VeltranaDVXTools"
    )
    assert (ROOT / PROGRAM).stat().st_mode & 0o777 == 0o755
    assert (ROOT / "usr/local/share/veltrana/scanner/data/de/DVXTOOLS.RCT").is_file()
    for size in ("16x16", "22x22", "24x24", "32x32", "48x48", "64x64", "128x128", "256x256"):
        icon = f"usr/local/share/icons/hicolor/{size}/apps/veltrana-dvx-tools.png"
        assert f"PNG image data, {size.replace('x', ' x ')}" in run("file", ROOT / icon)
    icons = ROOT / "usr/local/share/icons/hicolor/scalable/apps"
    assert (icons / "veltrana-dvx-tools.svg").is_file()
    assert "get this computer ready" in in_root("man", "--pager=cat", "VeltranaDVXTools")
    assert (ROOT / f"usr/share/doc/{NAME}/README.md").is_file()


def test_purging_leaves_nothing_but_what_people_made(small_system, package):
    settings = ROOT / "root" / ".VeltranaDVX" / "dvxtools.conf"
    settings.parent.mkdir(exist_ok=True)
    settings.write_text("HOST_NAME=desk\n")
    before = files_of(ROOT)
    install(package)
    assert files_of(ROOT) != before
    in_root("dpkg", "--remove", NAME)
    assert files_of(ROOT) == before
    in_root("dpkg", "--purge", NAME)
    assert files_of(ROOT) == before
    shutil.rmtree(settings.parent)


def test_removing_leaves_an_administrators_own_files(installed):
    switch = (ROOT / PROGRAM).with_suffix(".err")
    switch.touch()
    in_root("dpkg", "--remove", NAME)
    assert switch.exists()
    assert not (ROOT / PROGRAM).exists()
    shutil.rmtree(ROOT / "usr/local/share/veltrana")


def test_upgrading_takes_old_files_away_and_keeps_settings(small_system, package, tmp_path):
    older = tmp_path / "older"
    run("dpkg-deb", "--raw-extract", package, older)
    control = older / "DEBIAN" / "control"
    control.write_text(control.read_text().replace("Version: 1.", "Version: 0."))
    (older / "usr/local/share/veltrana/scanner/data/old-file").touch()
    run("dpkg-deb", "--build", "--root-owner-group", older, tmp_path / "older.deb")
    install(tmp_path / "older.deb")
    old_file = ROOT / "usr/local/share/veltrana/scanner/data/old-file"
    assert old_file.exists()
    install(package)
    assert not old_file.exists()
    assert (ROOT / PROGRAM).exists()
    in_root("dpkg", "--purge", NAME)


@pytest.mark.parametrize(
    "language, save_to", [("de_AT.UTF-8", "Speichern in:"), ("xx_XX.UTF-8", "Save to:")]
)
def test_menu_entry_starts_the_program_with_the_texts_of(installed, language, save_to):
    entry = configparser.ConfigParser(interpolation=None, strict=False)
    entry.optionxform = str
    entry.read(ROOT / "usr/local/share/applications/com.veltrana.DVXTools.desktop")
    command = shlex.split(entry["Desktop Entry"]["Exec"])
    texts = run(
        TOP / "script" / "lab", "--accessibility", "--",
        "/usr/bin/python3", TOP / "tests" / "package" / "show_labels.py", ROOT, language, *command,
    )
    assert save_to in texts.splitlines()
