"""Answers to the search for scanners that are wrong, repeated, or from something else."""
import pathlib

import pytest

SCENARIOS = pathlib.Path(__file__).resolve().parents[2] / "tools" / "scanner-sim" / "scenarios"


def listed(window):
    return sorted(window.scanner_names())


def test_scanner_that_answers_twice_is_listed_and_asked_twice(open_window, start_scanners):
    peers = start_scanners("[scanner Twice]\ncopies.discovery = 2\n")
    rows = open_window().devices.rows()
    assert rows == [["Veltrana T55", "Twice", "10.77.0.101"]] * 2
    assert [len(peers.asked(question)) for question in ("model", "vendor", "name")] == [2, 2, 2]


def test_scanner_that_lacks_an_object_is_not_listed(open_window, start_scanners):
    start_scanners(
        """
        [scanner Complete]
        [scanner Without-Model]
        object.1.3.6.1.4.1.731.1.2.1.2.0 = none
        [scanner Without-Vendor]
        object.1.3.6.1.4.1.731.1.2.1.1.0 = none
        [scanner Without-Name]
        object.1.3.6.1.2.1.1.5.0 = none
        [scanner General-Error]
        error_status.name = 5
        error_index.name = 0
        """
    )
    assert listed(open_window()) == ["Complete"]


def test_index_of_an_error_without_an_error_does_not_matter(open_window, start_scanners):
    start_scanners("[scanner Odd]\nerror_index = 1\n")
    assert listed(open_window()) == ["Odd"]


def test_other_agent_that_answers_the_search_with_an_error_is_asked_once(
    open_window, start_scanners
):
    peers = start_scanners(
        """
        [scanner Router]
        error_status.discovery = 2
        object.1.3.6.1.4.1.731.1.2.1.2.0 = none
        object.1.3.6.1.4.1.731.1.2.1.1.0 = none
        [scanner Complete]
        """
    )
    assert listed(open_window()) == ["Complete"]
    received = peers.log(scanner="Router", direction="received")
    assert [entry["understood"]["question"] for entry in received] == ["model"]


def test_error_in_the_answer_to_the_search_itself_does_not_matter(open_window, start_scanners):
    start_scanners("[scanner Odd]\nerror_status.discovery = 5\n")
    assert listed(open_window()) == ["Odd"]


@pytest.mark.parametrize("question, asked", [("discovery", 0), ("name", 1)])
def test_answers_with_a_long_length_are_dropped(open_window, start_scanners, question, asked):
    forms = ["long1", "long2", "long3", "long4", "byte80"]
    groups = [f"[scanner {form}]\nlength_form.{question} = message:{form}\n" for form in forms]
    peers = start_scanners("".join(groups) + "[scanner Short]\n")
    assert listed(open_window()) == ["Short"]
    assert [len(peers.asked("model", form)) for form in forms] == [asked] * 5


def test_text_that_needs_a_long_length_hides_the_scanner(open_window, start_scanners):
    start_scanners(
        f"""
        [scanner Long]
        name = {"N" * 90}
        length_form.name = minimal
        [scanner Short]
        """
    )
    assert listed(open_window()) == ["Short"]


def test_length_of_five_bytes_is_read_from_its_first(open_window, start_scanners):
    start_scanners("[scanner Five]\nlength_form = message:left5\n")
    assert listed(open_window()) == ["Five"]


def test_answer_of_a_later_protocol_version_is_dropped(open_window, start_scanners):
    peers = start_scanners(
        """
        [scanner Search-In-Version-Two]
        answer_version.discovery = 1
        [scanner Model-In-Version-Two]
        answer_version.model = 1
        [scanner Version-One]
        """
    )
    assert listed(open_window()) == ["Version-One"]
    assert peers.asked("model", "Search-In-Version-Two") == []
    assert len(peers.asked("model", "Model-In-Version-Two")) == 1


def test_request_id_community_and_tag_of_an_answer_do_not_matter(open_window, start_scanners):
    start_scanners(
        """
        [scanner Other-Id]
        answer_request_id = wrong
        [scanner Other-Community]
        answer_community = private
        [scanner Other-Tag]
        answer_pdu = A0
        """
    )
    assert listed(open_window()) == ["Other-Community", "Other-Id", "Other-Tag"]


def test_bytes_behind_an_answer_do_not_matter(open_window, start_scanners):
    start_scanners("[scanner Chatty]\nappend = 00 FF 30 82\n")
    assert listed(open_window()) == ["Chatty"]


def test_scanner_is_asked_at_the_address_that_its_answer_came_from(open_window, start_scanners):
    peers = start_scanners(
        """
        [scanner Front]
        answer_from.discovery = 10.77.0.102
        [scanner Behind]
        silent.discovery = yes
        """
    )
    assert open_window().devices.rows() == [["Veltrana T55", "Behind", "10.77.0.102"]]
    assert peers.asked("model", "Front") == []


def test_texts_that_are_no_utf8_are_shown_readably(open_window, start_scanners):
    start_scanners(
        """
        [scanner Latin-1]
        object.1.3.6.1.2.1.1.5.0 = hex:42 FC 72 6F
        [scanner Control-Characters]
        object.1.3.6.1.2.1.1.5.0 = hex:41 1B 5B 42
        """
    )
    rows = open_window().devices.rows()
    assert sorted(address for _model, _name, address in rows) == ["10.77.0.101", "10.77.0.102"]
    (latin,) = (name for _model, name, address in rows if address == "10.77.0.101")
    assert latin.startswith("B") and latin.endswith("ro"), latin


def test_value_that_is_no_text_reads_as_an_empty_one(open_window, start_scanners):
    start_scanners(
        """
        [scanner Number]
        object.1.3.6.1.2.1.1.5.0 = int:-129
        [scanner Nothing]
        object.1.3.6.1.2.1.1.5.0 = null
        [scanner Text]
        """
    )
    assert listed(open_window()) == ["", "", "Text"]


def test_hostile_scanners_do_not_hide_the_honest_one(open_window, start_scanners):
    start_scanners(SCENARIOS / "hostile.conf")
    window = open_window()
    rows = window.devices.rows()
    assert ["Veltrana T55", "Honest", "10.77.0.101"] in rows
    window.cancel.press()
    assert window.tool.wait_for_end() == 0


@pytest.mark.parametrize("seed", [1, 2, 3])
def test_random_and_damaged_answers_do_no_harm(open_window, start_scanners, seed):
    start_scanners(
        """
        [scanner Honest]
        [scanner Random]
        count = 20
        random_answer = 1-200
        [scanner Cut]
        count = 20
        cut = random
        [scanner Corrupt]
        count = 20
        corrupt = 3
        """,
        "--seed",
        seed,
    )
    assert "Honest" in listed(open_window())
