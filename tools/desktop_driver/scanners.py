"""Simulated scanners in the lab's office: starting them, their lists, what they saw on the wire."""
import json
import pathlib
import signal
import subprocess
import tempfile

from .waiting import wait_until

# Scanners are machines of their own. They answer within the second that a survey waits for them,
# however busy the machine is that they are simulated on.
AT_ONCE = ("nice", "-n", "-20")


class Scanners:
    """A run of the simulator. Use it in a with statement: it never outlives the block.

    The arguments are the simulator's own, see scanner-sim --help.
    """

    def __init__(self, path, *arguments, output=subprocess.DEVNULL):
        self._folder = tempfile.TemporaryDirectory()
        folder = pathlib.Path(self._folder.name)
        self._log = folder / "log"
        self._lists = folder / "lists"
        ready = folder / "ready"
        self._errors = tempfile.TemporaryFile()
        self.process = subprocess.Popen(
            [*AT_ONCE, "lab-office", str(path), "--log", self._log, "--lists", self._lists]
            + ["--ready-file", ready, *map(str, arguments)],
            stdin=subprocess.DEVNULL,
            stdout=output,
            stderr=self._errors,
        )
        wait_until(lambda: ready.exists() or self.process.poll() is not None, "the scanners")
        if self.process.poll() is not None:
            raise RuntimeError(f"scanner-sim did not start: {self.errors}")

    def __enter__(self):
        return self

    def __exit__(self, *failure):
        self.stop()
        self._errors.close()
        self._folder.cleanup()

    @property
    def errors(self):
        self._errors.seek(0)
        return self._errors.read().decode()

    def stop(self):
        """Ends the simulator and gives its exit status."""
        if self.process.poll() is None:
            self.process.send_signal(signal.SIGTERM)
        return self.process.wait()

    def all(self):
        """Every scanner with its list: dicts with address, scanner, name, model, lists."""
        return json.loads(self._lists.read_text())["scanners"]

    def lists(self):
        """The computers on each scanner's list: {address: [{name, address, mac}, ...]}."""
        return {scanner["address"]: scanner["lists"] for scanner in self.all()}

    def log(self, **wanted):
        """The datagrams so far whose fields have the wanted values, oldest first."""
        lines = self._log.read_text().splitlines()
        entries = [json.loads(line) for line in lines if line.endswith("}")]
        return [e for e in entries if all(e.get(key) == value for key, value in wanted.items())]

    def asked(self, question, scanner=None):
        """The SNMP requests and commands of one kind (discovery, model, register, ...)."""
        received = self.log(direction="received")
        return [
            entry
            for entry in received
            if question_of(entry) == question and (scanner is None or entry["scanner"] == scanner)
        ]


def question_of(entry):
    understood = entry["understood"] or {}
    return understood.get("question") or understood.get("meaning")
