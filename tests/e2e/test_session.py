"""A session with the program from its start to its end, with everything that it can do."""
from desktop_driver import program
from desktop_driver.main_window import GENERAL, NETWORK
from desktop_driver.waiting import wait_until

SCANNERS = "[scanner Reception]\n[scanner Accounting]\n[scanner Archive]\ndelay.model = 800\n"
NAMES = ["Accounting", "Archive", "Reception"]


def names_listed_on(peers):
    """The names of this computer on the lists of the scanners."""
    return sorted(computer["name"] for listed in peers.lists().values() for computer in listed)


def search(window, peers):
    window.run_search()
    assert sorted(window.scanner_names()) == NAMES
    models = len(peers.asked("model"))
    dialog = window.begin_search()
    wait_until(lambda: len(peers.asked("model")) > models, "the search to ask for a model")
    dialog.find("push button", "Cancel").press()
    window.wait_for_no_dialog()
    assert sorted(window.scanner_names()) == NAMES


def register_and_unregister(window, peers):
    window.name_entry.type_over("front-desk")
    window.wait_for_apply()
    assert names_listed_on(peers) == ["front-desk"] * 3
    window.list_up.press()
    window.wait_for_apply()
    wait_until(lambda: names_listed_on(peers) == [], "the scanners to forget this computer")


def be_refused(window):
    window.show_page(GENERAL)
    window.scan_entry.type_over("/no/such/folder")
    window.apply.press()
    window.wait_for_dialog("alert").find("push button").press()
    window.wait_for_no_dialog()


def look_for_a_folder(window, folder):
    window.scan_entry.type_over(str(folder))
    window.scan_browse.press()
    chooser = window.wait_for_dialog()
    wait_until(lambda: chooser.find("toggle button", folder.name).checked, "the folder's name")
    chooser.find("push button", "Cancel").press()
    window.wait_for_no_dialog()


def test_session(open_network_page, start_scanners, tmp_path):
    peers = start_scanners(SCANNERS)
    window = open_network_page()
    assert sorted(window.scanner_names()) == NAMES
    search(window, peers)
    register_and_unregister(window, peers)
    be_refused(window)
    look_for_a_folder(window, tmp_path)
    window.show_page(NETWORK)
    window.ok.press()
    assert window.tool.wait_for_end(60) == 0
    assert program.settings_file().read_text() == (
        f'scanpath="{tmp_path}"\nocrpath=""\npcname="front-desk"\npcListUp="0"\n'
    )
