"""Searching on a machine that starts no more threads."""
import os
import time

# Longer than a search takes that finds nothing.
PATIENCE = 3.5


def environment(failing):
    """Keeps the program from starting these of its threads. See tests/failures/failing_threads.cc."""
    # The address sanitizer wants to be loaded first, and does not need to be.
    options = [os.environ.get("ASAN_OPTIONS"), "detect_leaks=0", "verify_asan_link_order=0"]
    return {
        "LD_PRELOAD": os.environ["VELTRANA_FAILING_THREADS"],
        "FAILING_THREADS": failing,
        "ASAN_OPTIONS": ":".join(filter(None, options)),
    }


def search_without_a_thread(window, peers):
    """The dialog stays open, nobody is asked, and Cancel ends it."""
    asked = len(peers.asked("discovery"))
    dialog = window.begin_search()
    time.sleep(PATIENCE)
    assert [child.role for child in window.other_windows()] == ["dialog"]
    assert len(peers.asked("discovery")) == asked
    dialog.find("push button", "Cancel").press()
    window.wait_for_no_dialog()


def test_search_without_a_thread_stays_open_until_it_is_cancelled(
    open_network_page, start_scanners
):
    peers = start_scanners("[scanner Old]\n")
    window = open_network_page(environment=environment("124"))
    assert window.scanner_names() == ["Old"]
    peers.stop()
    peers = start_scanners("[scanner New]\naddress = 10.77.0.150\n")
    search_without_a_thread(window, peers)
    search_without_a_thread(window, peers)
    assert window.scanner_names() == ["Old"]
    window.run_search()
    assert window.scanner_names() == ["New"]
    search_without_a_thread(window, peers)
    assert window.scanner_names() == ["New"]
    window.run_search()
    assert window.scanner_names() == ["New"]
    assert len(peers.asked("discovery")) == 2
