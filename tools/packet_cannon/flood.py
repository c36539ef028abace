"""Floods the desk of a lab, for as long as it runs: datagrams faster than anybody reads them.

Runs inside script/lab, so that it is the network of that lab alone which is flooded.
"""
import pathlib
import socket
import sys

TOP = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(TOP / "tools"))

from packet_cannon.office import Office, Send, address  # noqa: E402  (needs the line above)

SCANNERS = 1000
NOISE = bytes(range(256)) * 4


def main():
    if socket.gethostname() != "lab-desk":
        sys.exit("run this inside script/lab")
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as nobody, Office() as office:
        nobody.bind(("", 0))
        port = nobody.getsockname()[1]
        answers = [Send(NOISE, address(number)) for number in range(SCANNERS)]
        while True:
            office.send(port, answers, throttled=False)


main()
