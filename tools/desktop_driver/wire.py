"""The network traffic of the lab's desk, recorded here and read by tshark."""
import json
import pathlib
import socket
import struct
import subprocess
import tempfile
import time

ETH_P_ALL = 3
SOL_PACKET = 263
PACKET_STATISTICS = 6
ETHERNET = 1  # the link type in a pcap file
MOST_BYTES = 65536


class Capture:
    """Records all packets of an interface from its construction on.

    The kernel queues them on a raw socket, so none is missed at the start or at the end.
    """

    def __init__(self, interface="eth0"):
        self._socket = socket.socket(socket.AF_PACKET, socket.SOCK_RAW, 0)
        self._socket.bind((interface, ETH_P_ALL))
        self._packets = []

    def __enter__(self):
        return self

    def __exit__(self, *failure):
        self._socket.close()

    def take(self):
        """Reads what was queued; raises when the kernel had to drop packets."""
        while True:
            try:
                packet = self._socket.recv(MOST_BYTES, socket.MSG_DONTWAIT)
            except BlockingIOError:
                break
            self._packets.append(packet)
        counts = self._socket.getsockopt(SOL_PACKET, PACKET_STATISTICS, 8)
        _seen, dropped = struct.unpack("II", counts)
        if dropped:
            raise RuntimeError(f"{dropped} packets were not recorded")

    def save(self, path):
        """Writes everything recorded so far as a pcap file."""
        self.take()
        with open(path, "wb") as file:
            file.write(struct.pack("IHHiIII", 0xA1B2C3D4, 2, 4, 0, 0, MOST_BYTES, ETHERNET))
            seconds = int(time.time())
            for packet in self._packets:
                file.write(struct.pack("IIII", seconds, 0, len(packet), len(packet)) + packet)

    def read(self, display_filter, *fields):
        """What tshark makes of the packets that pass its filter.

        A list of dicts in the order of the packets, from each field to the list of its values.
        """
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder) / "packets.pcap"
            self.save(path)
            wanted = [word for field in fields for word in ("-e", field)]
            done = subprocess.run(
                ["tshark", "-n", "-r", path, "-Y", display_filter, "-T", "json", *wanted],
                capture_output=True,
                text=True,
                check=True,
            )
        layers = [packet["_source"]["layers"] for packet in json.loads(done.stdout)]
        return [{field: packet.get(field, []) for field in fields} for packet in layers]
