"""Shows the program's main job: scanners found and listed, this computer registered on them.

Runs inside script/lab. With --desktop a person uses the window and this prints what the scanners
see; without, it uses the window itself through its accessibility tree, saves a picture of each
step, and ends with status 0 only if everything was seen to happen.
"""
import argparse
import os
import pathlib
import sys

TOP = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(TOP / "tools"))

from desktop_driver import program, scanners  # noqa: E402
from desktop_driver.waiting import NotInTime, wait_until  # noqa: E402

NEW_NAME = "front-desk"
MOST_SCANNERS = 154  # addresses from 10.77.0.101 up to 10.77.0.254
# A theme with visible buttons and frames; a desktop brings its own.
THEME = {"GTK2_RC_FILES": "/usr/share/themes/Clearlooks/gtk-2.0/gtkrc"}


class NotSeen(Exception):
    """Something that the demonstration promises did not happen."""


def expect(condition, promise):
    if not condition:
        raise NotSeen(promise)


def simulator_arguments(count):
    """The usual scanners, the second slow and the last one busy at first."""
    arguments = ["--scanners", count, "--network", "10.77.0.0/24"]
    arguments += ["--set", f"{min(2, count)}:delay=600"]
    arguments += ["--set", f"{count}:reply_codes=D4 D4 C4"]
    return arguments


def listed_as(scanner):
    """The row by which the program lists a scanner: model without suffixes, name, address."""
    model = scanner["model"]
    while "_" in model:
        cut = model.index("_")
        model = model[:cut] + model[cut + 2 :]
    return [f"Veltrana {model}", scanner["name"], scanner["address"]]


class Demonstration:
    """The window, the scanners, and the pictures taken so far."""

    def __init__(self, tool, peers, output):
        from desktop_driver import screen  # needs an X server

        self.screen = screen
        self.tool = tool
        self.peers = peers
        self.output = output
        self.window = tool.main_window()
        self.pictures = []

    def picture(self, name):
        path = self.output / f"{len(self.pictures) + 1}-{name}.png"
        self.screen.save_picture(program.TITLE, path)
        self.pictures.append(path)

    def show_all(self):
        self.show_start()
        self.show_list("found at start")
        self.show_search()
        self.show_registration()
        self.show_removal()
        self.show_end()

    def show_start(self):
        expect(self.window.find("label", "Save to:"), "the General tab is shown")
        self.picture("general")
        self.window.find("page tab list").select_page(1)

    def show_list(self, moment):
        expected = sorted(listed_as(scanner) for scanner in self.peers.all())
        rows = self.window.find("table").rows()
        expect(sorted(rows) == expected, f"all scanners {moment}: listed are {rows}")
        print(f"{len(rows)} of {len(expected)} scanners {moment}:")
        for model, name, address in rows:
            print(f"  {address:15} {name:20} {model}")
        self.picture("network")

    def show_search(self):
        self.window.find("push button", "Search").press()
        application = self.tool.application()
        application.find("label", "Searching online devices...")
        self.picture("searching")
        wait_until(
            lambda: not application.peek("label", "Searching online devices..."),
            "the search to end",
            60,
        )
        self.show_list("found by Search")

    def apply(self, picture):
        button = self.window.find("push button", "Apply")
        self.picture(f"{picture}-edited")
        button.press()
        wait_until(lambda: not button.sensitive, "Apply to be done", 120)
        self.picture(f"{picture}-applied")

    def show_registration(self):
        self.window.find("page tab", "Network").find("text").type_over(NEW_NAME)
        self.apply("name")
        lists = self.peers.lists()
        for address, computers in sorted(lists.items()):
            names = [computer["name"] for computer in computers]
            expect(names == [NEW_NAME], f"{address} lists this computer: its list is {names}")
        print(f'{len(lists)} of {len(lists)} scanners list this computer as "{NEW_NAME}".')

    def show_removal(self):
        self.window.find("check box", "PC name list up on device").press()
        self.apply("unlisted")
        wait_until(lambda: not any(self.peers.lists().values()), "all lists to be empty")
        print("After clearing the check box none of them lists it any more.")

    def show_end(self):
        self.window.find("push button", "OK").press()
        status = self.tool.wait_for_end()
        expect(status == 0, f"the program ends with status 0, not {status}")
        text = program.settings_file().read_text()
        expect(f'pcname="{NEW_NAME}"\n' in text, f"the name is kept in the settings: {text}")


def show_by_itself(paths, count, output):
    output.mkdir(parents=True, exist_ok=True)
    for old in output.glob("*.png"):
        old.unlink()
    with scanners.Scanners(paths.simulator, *simulator_arguments(count)) as peers:
        with program.Program(paths.program, environment=THEME) as tool:
            demonstration = Demonstration(tool, peers, output)
            demonstration.show_all()
    print(f"{len(demonstration.pictures)} pictures are in {output.relative_to(TOP)}/.")


def show_to_a_person(paths, count):
    print("A window opens. What the scanners see of it stands below; close it to end.", flush=True)
    arguments = simulator_arguments(count) + ["--human"]
    with scanners.Scanners(paths.simulator, *arguments, output=None):
        with program.Program(paths.program) as tool:
            tool.process.wait()


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--program", required=True)
    parser.add_argument("--simulator", required=True)
    parser.add_argument("--scanners", type=int, default=6)
    parser.add_argument("--output", type=pathlib.Path, default=TOP / "demo-output")
    parser.add_argument("--desktop", action="store_true")
    options = parser.parse_args()
    if not 1 <= options.scanners <= MOST_SCANNERS:
        parser.error(f"--scanners {options.scanners}: must be from 1 to {MOST_SCANNERS}")
    try:
        if options.desktop:
            show_to_a_person(options, options.scanners)
        else:
            show_by_itself(options, options.scanners, options.output)
    except (NotSeen, NotInTime) as failure:
        print(f"demo: this was not seen: {failure}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    # A person who presses Ctrl-C wants no traceback.
    try:
        sys.exit(main())
    except KeyboardInterrupt:
        os._exit(130)
