"""A desktop of its own for tests that use the real mouse and the real keys, and the browser on it."""
import ctypes
import hashlib
import os
import select
import shutil
import signal
import subprocess
import sys
import tempfile
import time
from pathlib import Path

LIMIT = 30  # seconds that anything may take


class Failure(Exception):
    pass


def wait_for(what, condition, limit=LIMIT, pause=0.1):
    """Asks until it gets an answer."""
    end = time.monotonic() + limit
    while True:
        answer = condition()
        if answer:
            return answer
        if time.monotonic() > end:
            raise Failure(f"waited {limit} s in vain for {what}")
        time.sleep(pause)


class Program:
    """A started program and the lines it writes."""

    def __init__(self, desktop, arguments):
        self.name = Path(arguments[0]).name
        self.log = desktop.top / f"{self.name}.log"
        with open(self.log, "ab") as log:
            self.process = subprocess.Popen(
                arguments, env=desktop.environment, cwd=desktop.home, stdin=subprocess.DEVNULL,
                stdout=subprocess.PIPE, stderr=log)
        self.waiting = b""
        self.lines = []

    def line(self, *beginnings, limit=LIMIT):
        """The next line that begins with one of the words; those before it are passed over."""
        end = time.monotonic() + limit
        while True:
            while b"\n" not in self.waiting:
                left = end - time.monotonic()
                if left <= 0 or not select.select([self.process.stdout], [], [], left)[0]:
                    raise Failure(f"{self.name} did not say {' or '.join(beginnings)} within {limit} s, but {self.lines}")
                data = os.read(self.process.stdout.fileno(), 4096)
                if not data:
                    raise Failure(f"{self.name} has ended ({self.process.wait()}), having said {self.lines}")
                self.waiting += data
            line, self.waiting = self.waiting.split(b"\n", 1)
            text = line.decode()
            self.lines.append(text)
            if text.split(" ")[0] in beginnings:
                return text

    def end(self):
        """Ends it, and fails when it has ended by itself."""
        expect(self.process.poll(), None)
        self.process.terminate()
        self.process.wait(timeout=LIMIT)

    def silent_for(self, seconds):
        """Fails when anything is said in that time."""
        if self.waiting or select.select([self.process.stdout], [], [], seconds)[0]:
            data = self.waiting + os.read(self.process.stdout.fileno(), 4096)
            if not data:
                raise Failure(f"{self.name} has ended ({self.process.wait()})")
            raise Failure(f"{self.name} went on: {data}")


class Desktop:
    """A display, a D-Bus and a home folder, and who is to be tested there."""

    def __init__(self, top, pictures, program):
        self.program = program
        self.pictures = pictures
        self.top = top
        self.home = self.top / "home"
        run = self.top / "run"
        for folder in (self.home, run):
            folder.mkdir(mode=0o700)
        self.environment = {
            "PATH": os.environ["PATH"],
            "HOME": str(self.home),
            "XDG_RUNTIME_DIR": str(run),
            "LC_ALL": "C.UTF-8",
            "QT_QPA_PLATFORM": "xcb",
            "GDK_BACKEND": "x11",
            # The GTK programs start no services of their own for these.
            "NO_AT_BRIDGE": "1",
            "GSETTINGS_BACKEND": "memory",
            # No process is left to serve the next program.
            "KDE_FORK_SLAVES": "1",
        }
        for key, value in os.environ.items():
            if key.endswith("SAN_OPTIONS"):
                self.environment[key] = value
        # The libraries that draw keep what they have until the end.
        self.environment["ASAN_OPTIONS"] = self.environment.get("ASAN_OPTIONS", "") + ":detect_leaks=0"
        self.start_display()
        bus = subprocess.Popen(["dbus-daemon", "--session", "--nofork", "--print-address=1"], env=self.environment,
                               stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        self.environment["DBUS_SESSION_BUS_ADDRESS"] = bus.stdout.readline().decode().strip()

    def start_display(self):
        """The display server looks for a free number itself."""
        end, server_end = os.pipe()
        with open(self.top / "display.log", "wb") as log:
            subprocess.Popen(["Xvfb", "-displayfd", str(server_end), "-screen", "0", "1280x800x24", "-nolisten", "tcp",
                              "-noreset"],
                             pass_fds=[server_end], stdin=subprocess.DEVNULL, stdout=log, stderr=log)
        os.close(server_end)
        if not select.select([end], [], [], LIMIT)[0]:
            raise Failure("the display did not start")
        number = b""
        while not number.endswith(b"\n"):
            data = os.read(end, 16)
            if not data:
                raise Failure("the display did not start: " + (self.top / "display.log").read_text())
            number += data
        os.close(end)
        self.environment["DISPLAY"] = ":" + number.decode().strip()

    def start(self, *arguments):
        return Program(self, [str(argument) for argument in arguments])

    def probe(self, *options):
        """The window to drag out of, ready, and the places in it."""
        program = self.start(self.program, *options)
        program.places = {}
        while (words := program.line("at", "ready").split())[0] == "at":
            program.places[words[1]] = (int(words[2]), int(words[3]))
        self.picture_stands_still()
        return program

    def xdotool(self, *arguments):
        done = subprocess.run(["xdotool", *[str(a) for a in arguments]], env=self.environment, capture_output=True,
                              text=True, timeout=LIMIT)
        return done.stdout.strip() if done.returncode == 0 else ""

    def window(self, kind):
        """Puts the program's window on the right half of the display and waits until it has painted itself there."""
        found = wait_for(f"a window of {kind}", lambda: self.xdotool("search", "--onlyvisible", "--class", kind))
        window = found.split()[-1]
        self.xdotool("windowsize", window, 700, 600)
        self.xdotool("windowmove", window, 500, 50)

        def placed():
            shape = dict(line.split("=") for line in self.xdotool("getwindowgeometry", "--shell", window).split() or [])
            return (shape.get("X"), shape.get("Y"), shape.get("WIDTH")) == ("500", "50", "700")
        wait_for("the window's place", placed)
        self.picture_stands_still()
        return window

    def picture(self):
        return subprocess.run(["import", "-silent", "-window", "root", "-depth", "8", "rgb:-"], env=self.environment,
                              stdout=subprocess.PIPE, timeout=LIMIT, check=True).stdout

    def picture_stands_still(self):
        """Waits until the display has not changed for a second."""
        last, since = None, time.monotonic()

        def unchanged():
            nonlocal last, since
            now = hashlib.sha1(self.picture()).digest()
            if now != last:
                last, since = now, time.monotonic()
            return time.monotonic() - since >= 1
        wait_for("the display to stand still", unchanged, pause=0.2)

    def save_picture(self, name):
        if self.pictures:
            subprocess.run(["import", "-silent", "-window", "root", str(self.pictures / f"{name}.png")],
                           env=self.environment, timeout=LIMIT, check=False)

    def move(self, x, y):
        self.xdotool("mousemove", x, y)

    def drag(self, start, end, release=True):
        """Like a hand: a click that becomes a drag, a way, a moment's rest above the target."""
        (x, y), (to_x, to_y) = start, end
        self.move(x, y)
        time.sleep(0.2)
        self.xdotool("mousedown", 1)
        time.sleep(0.2)
        for i in range(1, 6):
            self.move(x + 4 * i, y + 2 * i)
            time.sleep(0.04)
        x, y = x + 20, y + 10
        for i in range(1, 13):
            self.move(x + (to_x - x) * i // 12, y + (to_y - y) * i // 12)
            time.sleep(0.04)
        self.move(to_x + 1, to_y)
        time.sleep(0.5)
        self.save_picture("hover")
        if release:
            self.xdotool("mouseup", 1)


def adopt_orphans():
    """What a started program leaves behind becomes this process's child, so that it can be ended."""
    ctypes.CDLL(None, use_errno=True).prctl(36, 1, 0, 0, 0)  # PR_SET_CHILD_SUBREAPER


def descendants():
    parents = {}
    for entry in Path("/proc").iterdir():
        if entry.name.isdigit():
            try:
                fields = (entry / "stat").read_text().rsplit(")", 1)[1].split()
            except OSError:
                continue
            if fields[0] != "Z":
                parents[int(entry.name)] = int(fields[1])
    found, wave = set(), {os.getpid()}
    while wave:
        wave = {pid for pid, parent in parents.items() if parent in wave} - found
        found |= wave
    return found


def end_descendants():
    """Ends every process that came of this one, the adopted ones included."""
    for number in (signal.SIGTERM, signal.SIGKILL):
        deadline = time.monotonic() + 2
        while (children := descendants()) and time.monotonic() < deadline:
            for pid in children:
                try:
                    os.kill(pid, number)
                except ProcessLookupError:
                    pass
            time.sleep(0.1)
            reap()


def reap():
    try:
        while os.waitpid(-1, os.WNOHANG)[0]:
            pass
    except ChildProcessError:
        pass


def expect(got, wanted):
    if got != wanted:
        raise Failure(f'"{got}" instead of "{wanted}"')


SELECTED = bytes((0xcf, 0xe9, 0xfa))  # the colour of a selected row
ROW_HEIGHT = 22
BROWSER_SIZE = (480, 700)


class Browser:
    """The program on the left half of the display, showing a phone with these contents."""

    def __init__(self, desktop, fill):
        self.desktop = desktop
        self.phone = desktop.top / "phone" / "Phone"
        self.card = desktop.top / "phone" / "Card"
        self.phone.mkdir(parents=True)
        self.card.mkdir()
        fill(self.phone)
        desktop.environment["MTPBROWSER_VIRTUAL_PHONE"] = "always"
        desktop.environment["MTPBROWSER_VIRTUAL_PHONE_FOLDER"] = str(desktop.top / "phone")
        self.program = desktop.start(desktop.program)
        self.window = wait_for("the phone", lambda: self.find("^Virtual Phone$"))
        desktop.xdotool("windowmove", self.window, 0, 0)
        desktop.xdotool("windowsize", self.window, *BROWSER_SIZE)
        desktop.picture_stands_still()
        self.key("Home")
        self.first_row = wait_for("a selected row", self.selected_row)

    def find(self, title):
        return self.desktop.xdotool("search", "--onlyvisible", "--name", title)

    def key(self, key):
        self.desktop.xdotool("windowfocus", "--sync", self.window)
        self.desktop.xdotool("key", key)

    def selected_row(self):
        """The middle of the uppermost selected row."""
        picture, line = self.desktop.picture(), 1280 * 3
        rows = [y for y in range(800) if SELECTED * 20 in picture[y * line:y * line + BROWSER_SIZE[0] * 3]]
        return (100, rows[0] + ROW_HEIGHT // 2) if rows else None

    def row(self, number):
        return (self.first_row[0], self.first_row[1] + number * ROW_HEIGHT)

    def empty(self):
        return self.row(12)

    def trash(self):
        """Where the trash appears while rows are dragged."""
        return (BROWSER_SIZE[0] // 2, BROWSER_SIZE[1] - 44)

    def is_idle(self):
        return bool(self.find("^Virtual Phone$"))  # no percentage in the title

    def end(self):
        expect(self.program.process.poll(), None)


def tree_of(folder):
    """What a folder holds: paths, contents, and the seconds of the files' dates."""
    found = {}
    for path in sorted(folder.rglob("*")):
        name = str(path.relative_to(folder))
        found[name] = None if path.is_dir() else (hashlib.sha1(path.read_bytes()).hexdigest(), int(path.stat().st_mtime))
    return found


def main(scenarios, description):
    """Runs the scenario that the command line names: PROGRAM SCENARIO [FOLDER FOR PICTURES]."""
    scenario = scenarios.get(sys.argv[2].replace("-", "_")) if len(sys.argv) in (3, 4) else None
    if not scenario:
        sys.exit(description)
    pictures = Path(sys.argv[3]) if len(sys.argv) == 4 else None
    if pictures:
        pictures.mkdir(parents=True, exist_ok=True)
    adopt_orphans()
    top = Path(tempfile.mkdtemp(prefix="desktop-test-"))
    desktop = None
    try:
        desktop = Desktop(top, pictures, os.path.abspath(sys.argv[1]))
        scenario(desktop)
    except (Failure, subprocess.SubprocessError) as failure:
        print(f"{sys.argv[2]}: {failure}", file=sys.stderr)
        if desktop:
            desktop.save_picture("failed")
        for log in sorted(top.glob("*.log")):
            print(f"--- {log.name}\n{log.read_text(errors='replace')[-3000:]}", file=sys.stderr)
        sys.exit(1)
    finally:
        end_descendants()
        shutil.rmtree(top, ignore_errors=True)
