"""Starts a program of another system inside the lab and prints the labels of its window.

usage: show_labels.py ROOT LANG COMMAND [ARGUMENT...]
"""
import pathlib
import subprocess
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "tools"))

from desktop_driver import main_window, program  # noqa: E402  (needs the line above)


def main():
    root, language, *command = sys.argv[1:]
    # The display, the buses and the home folder are the lab's.
    for folder in ("/tmp", "/proc", "/dev", str(program.home())):
        subprocess.run(["mount", "--rbind", folder, root + folder], check=True)
    environment = {"LANG": language, "LC_ALL": "C.UTF-8"}
    with program.Program(command[0], command[1:], environment, ("chroot", root)) as tool:
        window = main_window.MainWindow(tool)
        for label in window.general.all("label"):
            print(label.name)
        window.cancel.press()
        return tool.wait_for_end()


if __name__ == "__main__":
    sys.exit(main())
