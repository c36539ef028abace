"""What `cmake --install` puts where, what the uninstall target leaves, and the form of these files."""
import os
import pathlib
import re
import shutil
import subprocess

import pytest

TOP = pathlib.Path(__file__).resolve().parents[2]
BUILD = pathlib.Path(os.environ["VELTRANA_BUILD"])
LANGUAGES = (
    "cs csb_P da de en es fi fil_P fr hu it ja ko kok_I nb nl nn no pl pt pt_BR ru sv tr uk zh_CN"
    " zh_HK zh_MO zh_SG zh_TW"
).split()
SIZES = (16, 22, 24, 32, 48, 64, 128, 256)
ICONS = {f"share/icons/hicolor/{size}x{size}/apps/veltrana-dvx-tools.png" for size in SIZES}
PROBE_FILES = {
    "bin/dvx-probe",
    "share/man/man1/dvx-probe.1",
    "share/bash-completion/completions/dvx-probe",
    "share/dvx-probe/veltrana_registration.lua",
    "share/doc/dvx-probe/docs/dvx-probe.md",
    "share/doc/dvx-probe/docs/troubleshooting.md",
    "share/doc/dvx-probe/docs/wire-protocols.md",
}
PROGRAM_FILES = {
    "bin/VeltranaDVXTools",
    "share/man/man1/VeltranaDVXTools.1",
    "share/veltrana/scanner/bin/VeltranaDVXTools",
    *(f"share/veltrana/scanner/data/{name}/DVXTOOLS.RCT" for name in LANGUAGES),
}
DESKTOP_FILES = {
    "share/applications/com.veltrana.DVXTools.desktop",
    "share/metainfo/com.veltrana.DVXTools.metainfo.xml",
    "share/icons/hicolor/scalable/apps/veltrana-dvx-tools.svg",
    *ICONS,
}
DOCUMENTS = {
    f"share/doc/veltrana-dvx-tools/{name}"
    for name in (
        "README.md",
        "CHANGELOG.md",
        "SECURITY.md",
        "docs/accessibility.md",
        "docs/dvx-probe.md",
        "docs/troubleshooting.md",
        "docs/wire-protocols.md",
        "docs/images/general.png",
        "docs/images/network.png",
    )
}
EVERY_FILE = PROBE_FILES | PROGRAM_FILES | DESKTOP_FILES | DOCUMENTS


def run(*command, **environment):
    done = subprocess.run(
        [str(word) for word in command],
        capture_output=True,
        text=True,
        check=False,
        timeout=60,
        env={**os.environ, "LC_ALL": "C.UTF-8", **environment},
    )
    assert done.returncode == 0, f"{command}: {done.stdout}{done.stderr}"
    return done.stdout + done.stderr


@pytest.fixture(autouse=True)
def manifest():
    """The list of what is installed, for uninstalling: a real install's one comes back."""
    path = BUILD / "install_manifest.txt"
    kept = path.read_bytes() if path.exists() else None
    yield
    path.unlink(missing_ok=True)
    if kept is not None:
        path.write_bytes(kept)


def files_below(folder):
    return {str(path.relative_to(folder)) for path in folder.rglob("*") if not path.is_dir()}


def check_installed(prefix):
    assert files_below(prefix) == EVERY_FILE
    link = (prefix / "bin" / "VeltranaDVXTools").readlink()
    assert str(link) == "../share/veltrana/scanner/bin/VeltranaDVXTools"
    for name in ("VeltranaDVXTools", "dvx-probe"):
        assert os.access(prefix / "bin" / name, os.X_OK)


@pytest.mark.parametrize("prefix", ["/usr/local", "/opt/of our own"])
def test_destdir_gets_every_file_below_the_prefix(tmp_path, prefix):
    run("cmake", "--install", BUILD, "--prefix", prefix, DESTDIR=str(tmp_path))
    check_installed(pathlib.Path(f"{tmp_path}{prefix}"))


def test_a_prefix_alone_gets_every_file(tmp_path):
    run("cmake", "--install", BUILD, "--prefix", tmp_path / "prefix")
    check_installed(tmp_path / "prefix")


def test_uninstalling_leaves_what_others_put_there(tmp_path):
    run("cmake", "--install", BUILD, "--prefix", "/usr/local", DESTDIR=str(tmp_path))
    strange = tmp_path / "usr/local/share/veltrana/scanner/bin/VeltranaDVXTools.err"
    strange.touch()
    run("cmake", "--build", BUILD, "--target", "uninstall", DESTDIR=str(tmp_path))
    assert files_below(tmp_path) == {str(strange.relative_to(tmp_path))}
    for folder in ("doc/veltrana-dvx-tools", "veltrana/scanner/data", "doc/dvx-probe", "dvx-probe"):
        assert not (tmp_path / "usr/local/share" / folder).exists()


def test_uninstalling_what_was_never_installed_says_so():
    (BUILD / "install_manifest.txt").unlink(missing_ok=True)
    done = subprocess.run(
        [
            "cmake",
            "-D",
            f"MANIFEST={BUILD}/install_manifest.txt",
            "-P",
            TOP / "cmake/Uninstall.cmake",
        ],
        capture_output=True,
        text=True,
        check=False,
        timeout=60,
    )
    assert done.returncode != 0
    assert "nothing was installed from this build folder" in done.stderr.replace("\n ", "")


def test_documents_link_to_what_is_installed_with_them(tmp_path):
    run("cmake", "--install", BUILD, "--prefix", tmp_path)
    links = []
    for document in (tmp_path / "share/doc").rglob("*.md"):
        links += [
            (document, link)
            for link in re.findall(r"\]\(([^)#]+)", document.read_text())
            if ":" not in link
        ]
    assert len(links) > 5
    for document, link in links:
        assert (document.parent / link).exists(), f"{document.name}: {link}"


def with_what_it_requires(name):
    """A library and all that it requires by itself, as pkg-config names them."""
    required = run("pkg-config", "--print-requires", "--print-requires-private", name)
    names = {line.split()[0] for line in required.splitlines()}
    return {name}.union(*map(with_what_it_requires, names))


def test_the_companion_alone_asks_for_glib_only(tmp_path):
    # Of all libraries these are known.
    known = tmp_path / "known"
    known.mkdir()
    for name in with_what_it_requires("glib-2.0"):
        folder = run("pkg-config", "--variable", "pcfiledir", name).strip()
        shutil.copy(f"{folder}/{name}.pc", known)
    build = tmp_path / "build"
    run(
        "cmake",
        "-S",
        TOP,
        "-B",
        build,
        "-G",
        "Ninja",
        "-D",
        "BUILD_TESTING=OFF",
        "-D",
        "VELTRANA_GUI=OFF",
        "-D",
        "CMAKE_EXPORT_COMPILE_COMMANDS=ON",
        PKG_CONFIG_LIBDIR=str(known),
    )
    commands = (build / "compile_commands.json").read_text()
    assert "/dvx-probe/main.cc" in commands
    assert "gtk" not in commands
    (build / "dvx-probe" / "dvx-probe").touch(mode=0o755)
    run("cmake", "--install", build, "--prefix", tmp_path / "prefix")
    assert files_below(tmp_path / "prefix") == PROBE_FILES


def test_the_companion_alone_has_no_tests(tmp_path):
    done = subprocess.run(
        ["cmake", "-S", TOP, "-B", tmp_path, "-G", "Ninja", "-D", "VELTRANA_GUI=OFF"],
        capture_output=True,
        text=True,
        check=False,
        timeout=60,
    )
    assert done.returncode != 0
    assert "give -D BUILD_TESTING=OFF as well" in done.stderr


def test_desktop_entry_is_valid():
    entry = TOP / "data/desktop/com.veltrana.DVXTools.desktop"
    assert run("desktop-file-validate", "--warn-kde", entry) == ""


def test_metainfo_is_valid():
    metainfo = BUILD / "data/com.veltrana.DVXTools.metainfo.xml"
    assert "successful" in run("appstreamcli", "validate", "--no-net", metainfo)


def test_manual_page_of_the_program_is_clean():
    command = ("man", "--warnings", "--local-file", "--encoding=UTF-8", "--troff-device=utf8")
    page = TOP / "data/man/VeltranaDVXTools.1"
    text = run(*command, page, MANWIDTH="80", MANROFFSEQ="", GROFF_NO_SGR="1")
    text = re.sub(".\b", "", text)  # printed twice, for bold letters, or over a line
    assert "warning" not in text
    assert text.startswith("VELTRANADVXTOOLS(1)")


def test_changes_of_the_package_name_the_version_of_the_program():
    version = re.search(r"VERSION (\d+\.\d+\.\d+)", (TOP / "CMakeLists.txt").read_text())[1]
    assert f"\n## {version} " in (TOP / "CHANGELOG.md").read_text()
    newest = (TOP / "debian/changelog").read_text().splitlines()[0]
    assert newest.startswith(f"veltrana-dvx-tools ({version}-")
    assert (
        f'<release version="{version}"'
        in (BUILD / "data/com.veltrana.DVXTools.metainfo.xml").read_text()
    )
