"""Running dvx-probe in the lab."""
import os
import subprocess

PROGRAM = os.environ.get("VELTRANA_PROBE", "dvx-probe")


def run(*arguments, wrapper=(), environment=None, timeout=120):
    """Runs it to its end; gives the finished process with its texts."""
    return subprocess.run(
        [*wrapper, PROGRAM, *map(str, arguments)],
        stdin=subprocess.DEVNULL,
        capture_output=True,
        text=True,
        timeout=timeout,
        check=False,
        env={**os.environ, **(environment or {})},
    )


def results(*arguments, status=0, errors="", **keywords):
    """Its standard output; exit status and standard error must be these."""
    done = run(*arguments, **keywords)
    assert (done.returncode, done.stderr) == (status, errors), done
    return done.stdout
