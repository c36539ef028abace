"""Machines that fail, made for one program each, so that many of them can run side by side.

Every function here gives the words of a wrapper (see desktop_driver.program.Program). They can be
put one behind the other.
"""
from desktop_driver import program

OPEN_ERROR = "void CMainTabs::ReadFile(): Setting File open Error\n"
WRITE_ERROR = "CMainTabs::WriteFile() can't open file.\n"

OVER = 'mount --bind "$1" "$2" && shift 2 && exec "$@"'


def put_over(source, target):
    """Puts a file or folder in place of another one."""
    words = ["unshare", "--mount", "sh", "-ec", OVER, "sh", source, target]
    return [str(word) for word in words]


def home_at(folder, notes):
    """Makes that folder, which need not exist, the user's home; notes is a folder to write to."""
    users = notes / f"passwd-{len(list(notes.iterdir()))}"
    users.write_text(f"root:x:0:0:root:{folder}:/bin/sh\n")
    return put_over(users, "/etc/passwd")


def settings_in(folder):
    """Makes that folder the one that holds the settings file."""
    target = program.settings_file().parent
    target.mkdir(exist_ok=True)
    return put_over(folder, target)


def network(script):
    """A network of its own, which holds nothing but what the script makes; lo is up."""
    return ["unshare", "--net", "sh", "-ec", f'ip link set lo up\n{script}\nexec "$@"', "sh"]


# A shell cannot do this: only the system call takes every name from an ordinary user.
NAMED = """
import os, signal, socket, sys
socket.sethostname(bytes.fromhex(sys.argv[1]))
signal.signal(signal.SIGPIPE, signal.SIG_DFL)
os.execvp(sys.argv[2], sys.argv[2:])
"""


def computer_name(name):
    """The computer's name, as bytes."""
    return ["unshare", "--uts", "/usr/bin/python3", "-c", NAMED, name.hex()]
