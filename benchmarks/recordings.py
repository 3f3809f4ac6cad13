#!/usr/bin/env python3
"""Measures recordings of the program on an Xvfb, and the same ones made by ffmpeg.

    recordings.py PROGRAM CONTENT_CLIENT OUT_FOLDER compare|start|memory|idle [quick]

compare: the same content recorded by both, in turns; prints a table and one line for each aim, and
         writes OUT_FOLDER/side_by_side.svg
start:   from the start to the tray icon, and from the release of the mouse to the first sample
memory:  over a take of five minutes, and over 40 takes
idle:    wake-ups, system calls and processor time of the program that nobody uses; each is to be 0

All figures are read from outside: the processes' accounts in /proc, and the finished files. The X
server and the content are not part of the cost.
"""

import contextlib
import os
import pathlib
import signal
import statistics
import subprocess
import sys
import tempfile
import time

RATE = 30
MARGIN = 40  # of the screen around the region, for the red frame
NOTES = 400  # more on the right, where the program's own notices open
CELLS, CELL_SIDE = 24, 16  # the time code of content_client
TICKS = os.sysconf("SC_CLK_TCK")


def await_condition(what, condition, seconds=60):
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        if result := condition():
            return result
        time.sleep(0.001)
    # A notice has its text for a title.
    shown = user("search", "--onlyvisible", "--class", "quorvel", "getwindowname", "%@").split("\n")
    raise SystemExit(f"waited in vain for {what}; shown: {', '.join(filter(None, shown))}")


@contextlib.contextmanager
def running(command, **options):
    process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                               stderr=subprocess.DEVNULL, **options)
    try:
        yield process
    finally:
        if process.poll() is None:
            process.kill()
        process.wait()


@contextlib.contextmanager
def display(width, height):
    read, write = os.pipe()
    screen = f"{width}x{height}x24"
    with running(["Xvfb", "-displayfd", str(write), "-screen", "0", screen, "-nolisten", "tcp",
                  "-noreset"], pass_fds=[write]):
        os.close(write)
        with os.fdopen(read) as answer:
            os.environ["DISPLAY"] = ":" + answer.readline().strip()
        yield


def user(*words):
    """What the user does or sees, by xdotool."""
    return subprocess.run(["xdotool", *map(str, words)], capture_output=True, text=True).stdout


def cpu_seconds(process):
    fields = pathlib.Path(f"/proc/{process.pid}/stat").read_text().rpartition(")")[2].split()
    return (int(fields[11]) + int(fields[12])) / TICKS


def megabytes(process, field):
    """VmHWM, the peak, or VmRSS."""
    for line in pathlib.Path(f"/proc/{process.pid}/status").read_text().splitlines():
        if line.startswith(field + ":"):
            return int(line.split()[1]) / 1024
    raise SystemExit("no " + field)


class Take:
    """One recording: what it cost, and where its file is."""

    def __init__(self, process, seconds):
        before = cpu_seconds(process)
        time.sleep(seconds)
        self.peak = megabytes(process, "VmHWM")
        self.before, self.began = before, time.monotonic()

    def end(self, seconds, cpu, file):
        self.cpu = (cpu - self.before) / seconds
        self.finish = (time.monotonic() - self.began) * 1000
        self.file = file
        return self


class Program:
    """The program in a folder of its own, and what its user does."""

    def __init__(self, command, folder, keeps_bus=False):
        for name in ("HOME", "XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_RUNTIME_DIR"):
            os.environ[name] = str(folder)
        if not keeps_bus:
            os.environ.pop("DBUS_SESSION_BUS_ADDRESS", None)
        self.command = command
        self.recordings = folder / "Quorvel Desk Clip" / "Recordings"

    @staticmethod
    def windows():
        return user("search", "--onlyvisible", "--class", "quorvel").split()

    def is_writing(self):
        return any(clip.stat().st_size > 1000 for clip in self.recordings.glob("*.partial.mp4"))

    def clips(self):
        return {clip for clip in self.recordings.glob("clip-*.mp4") if len(clip.name) == 45}

    def begin(self, width, height):
        """Returns the seconds from the release of the mouse to the first sample in the file."""
        open_before = len(self.windows())

        def sheet():
            user("key", "ctrl+shift+7")
            return len(self.windows()) > open_before
        user("mousemove", MARGIN, MARGIN)
        await_condition("the sheet", sheet)
        user("mousemove", MARGIN, MARGIN, "mousedown", 1, "mousemove", MARGIN + width // 2, MARGIN,
             "mousemove", MARGIN + width, MARGIN + height, "mouseup", 1)
        released = time.monotonic()
        await_condition("the first sample", self.is_writing)
        return time.monotonic() - released

    def end(self):
        before = self.clips()
        user("key", "Escape")
        return await_condition("the clip", lambda: self.clips() - before).pop()


def record_with_program(program, width, height, seconds, folder):
    recorder = Program(program, folder)
    with running([program]) as process:
        recorder.begin(width, height)
        take = Take(process, seconds)
        clip = recorder.end()
        return take.end(seconds, cpu_seconds(process), clip)


def record_with_ffmpeg(width, height, seconds, folder):
    file = folder / "take.mp4"
    with running(["ffmpeg", "-nostdin", "-f", "x11grab", "-draw_mouse", "0", "-framerate", str(RATE),
                  "-video_size", f"{width}x{height}", "-i", f"{os.environ['DISPLAY']}+{MARGIN},{MARGIN}",
                  "-c:v", "libx264", "-preset", "ultrafast", "-b:v", "12M", "-pix_fmt", "yuv420p",
                  str(file)]) as process:
        await_condition("ffmpeg's first sample",
                        lambda: file.exists() and file.stat().st_size > 40)
        take = Take(process, seconds)
        process.send_signal(signal.SIGINT)
        usage = os.wait4(process.pid, 0)[2]
        process.returncode = 0
        return take.end(seconds, usage.ru_utime + usage.ru_stime, file)


def output_of(*command):
    return subprocess.run(command, check=True, capture_output=True).stdout


def codes_of(file):
    """The time code in each frame, in milliseconds."""
    strip = f"crop={CELLS * CELL_SIDE}:{CELL_SIDE}:0:0,scale={CELLS}:1:flags=area,format=gray"
    cells = output_of("ffmpeg", "-v", "error", "-i", str(file), "-vf", strip, "-fps_mode",
                      "passthrough", "-f", "rawvideo", "-")
    frames = (cells[at:at + CELLS] for at in range(0, len(cells), CELLS))
    return [int("".join("1" if cell > 128 else "0" for cell in frame), 2) for frame in frames]


def judge(take, moves):
    """Adds what the file shows: slots filled, slots missed, and how far frames are from their times."""
    times = output_of("ffprobe", "-v", "error", "-select_streams", "v", "-show_entries",
                      "packet=pts_time", "-of", "csv=p=0", str(take.file)).decode().split()
    times = sorted(float(line.strip(",")) for line in times)
    slots = {round((pts - times[0]) * RATE) for pts in times}
    total = max(slots) + 1
    take.late = total - len(slots)
    take.filled = 100 * len(slots) / total
    take.p50 = take.p99 = None
    if moves:
        codes = codes_of(take.file)
        take.filled = 100 * min(len(slots), len(set(codes))) / total
        ages = [pts * 1000 - code for pts, code in zip(times, codes)]
        middle = statistics.median(ages)
        errors = sorted(abs(age - middle) for age in ages)
        take.p50, take.p99 = errors[len(errors) // 2], errors[len(errors) * 99 // 100]


def compare(program, client, size, content, seconds, root):
    width, height = size
    with display(width + 2 * MARGIN + NOTES, height + 2 * MARGIN), \
            running([client, content, str(MARGIN), str(MARGIN), str(width), str(height)]):
        takes = []
        for name in ("program", "ffmpeg"):
            folder = root / f"{name}-{height}-{content}"
            folder.mkdir()
            take = (record_with_program(program, width, height, seconds, folder)
                    if name == "program" else record_with_ffmpeg(width, height, seconds, folder))
            judge(take, content in ("scrolling", "noise"))
            takes.append(take)
        return takes


COLUMNS = (("filled %", "filled", "{:.2f}"), ("late", "late", "{}"), ("p50 ms", "p50", "{:.1f}"),
           ("p99 ms", "p99", "{:.1f}"), ("CPU s/s", "cpu", "{:.3f}"), ("peak MB", "peak", "{:.0f}"),
           ("end ms", "finish", "{:.0f}"))


def print_row(size, content, ours, theirs):
    def cell(column):
        _, field, form = column
        values = [getattr(take, field) for take in (ours, theirs)]
        if None in values:
            return "-"
        text = " / ".join(form.format(value) for value in values)
        return text + (f" = {values[0] / values[1]:.2f}" if field in ("cpu", "peak", "finish") else "")
    print(f"{size[1]}p {content:<10}" + "".join(f"{cell(column):>24}" for column in COLUMNS), flush=True)


def aims(results):
    """(what, limit, value, met) for each aim whose recording was made."""
    def aim(what, key, value, limit, at_least=False):
        if key in results:
            found = value(*results[key])
            met = found >= limit if at_least else found <= limit
            yield f"{what}: {found:.2f}, wanted {'at least' if at_least else 'at most'} {limit}", met
    cpu = lambda ours, theirs: ours.cpu / theirs.cpu
    for height in (1080, 2160):
        name = f"{height}p"
        yield from aim(f"{name} scrolling, CPU ratio", (height, "scrolling"), cpu,
                       0.75 if height == 1080 else 0.65)
        for content in ("still", "typed"):
            yield from aim(f"{name} {content}, CPU ratio", (height, content), cpu, 0.6)
        yield from aim(f"{name} scrolling, slots filled in %", (height, "scrolling"),
                       lambda ours, _: ours.filled, 99.5 if height == 1080 else 99, True)
        yield from aim(f"{name} scrolling, milliseconds from the end to the file",
                       (height, "scrolling"), lambda ours, _: ours.finish,
                       60 if height == 1080 else 120)
        for content in ("still", "typed", "scrolling", "noise"):
            yield from aim(f"{name} {content}, memory ratio", (height, content),
                           lambda ours, theirs: ours.peak / theirs.peak, 0.8)
    yield from aim("2160p noise, slots filled in %", (2160, "noise"), lambda ours, _: ours.filled, 95,
                   True)


def draw(results, out):
    """CPU seconds a second of both, as bars."""
    rows = "\n".join(f'"{height}p {content}" {ours.cpu} {theirs.cpu}'
                     for (height, content), (ours, theirs) in results.items())
    script = f"""set terminal svg size 900,420 font "sans,13"
set output "{out / 'side_by_side.svg'}"
set style data histograms
set style histogram clustered gap 1
set style fill solid noborder
set yrange [0:*]
set ylabel "CPU seconds per recorded second"
set key top left
set grid ytics
$rows << END
{rows}
END
plot $rows using 2:xtic(1) title "Quorvel Desk Clip" lc rgb "#2a7f4f", \
     "" using 3 title "ffmpeg x11grab" lc rgb "#b0b0b0"
"""
    subprocess.run(["gnuplot"], input=script, text=True, check=True)


def compare_all(program, client, out, quick, root):
    seconds = 5 if quick else 15
    sizes = {1080: (1920, 1080), 2160: (3840, 2160)}
    contents = ("still", "scrolling") if quick else ("still", "typed", "scrolling", "noise")
    print(f"Recordings of {seconds} s, ours / ffmpeg's (= the ratio)")
    print(" " * 16 + "".join(f"{column[0]:>24}" for column in COLUMNS))
    results = {}
    for height, size in sizes.items():
        for content in contents:
            results[height, content] = compare(program, client, size, content, seconds, root)
            print_row(size, content, *results[height, content])
    draw(results, out)
    for line, met in aims(results):
        print(("met      " if met else "NOT MET  ") + line)


def measure_start(program, client, _out, _quick, root):
    with display(1920, 1080), running(["trayer", "--expand", "false"]):
        await_condition("the tray", lambda: user("search", "--class", "trayer"))
        recorder = Program(program, root)
        begun = time.monotonic()
        with running([program]):
            await_condition("the tray icon", recorder.windows)
            print(f"From the start to the tray icon: {(time.monotonic() - begun) * 1000:.0f} ms")
            first = recorder.begin(1280, 720)
            recorder.end()
            print(f"From the release of the mouse to the first sample: {first * 1000:.0f} ms")


def measure_memory(program, client, _out, quick, root):
    minutes, takes = (0.5, 10) if quick else (5, 40)
    recorder = Program(program, root)
    with display(1920 + 2 * MARGIN + NOTES, 1080 + 2 * MARGIN), \
            running([client, "scrolling", str(MARGIN), str(MARGIN), "1920", "1080"]), \
            running([program]) as process:
        recorder.begin(1920, 1080)
        found = []
        for _ in range(5):
            time.sleep(minutes * 60 / 5)
            found.append(megabytes(process, "VmRSS"))
        begun = time.monotonic()
        clip = recorder.end()
        print(f"A take of {minutes} minutes, MB after each fifth: " +
              ", ".join(f"{each:.0f}" for each in found) +
              f"; from the end to the file {(time.monotonic() - begun) * 1000:.0f} ms")
        length = output_of("ffprobe", "-v", "error", "-show_entries", "format=duration", "-of",
                           "csv=p=0", str(clip)).decode().strip()
        print(f"Its clip lasts {float(length):.1f} s and is {clip.stat().st_size / 1e6:.1f} MB")
        found = []
        for _ in range(takes):
            recorder.begin(1280, 720)
            recorder.end()
            found.append(megabytes(process, "VmRSS"))
        print(f"{takes} takes more, MB after each quarter: " +
              ", ".join(f"{each:.0f}" for each in found[takes // 4 - 1::takes // 4]))


def wake_ups(process):
    total = 0
    for status in pathlib.Path(f"/proc/{process.pid}/task").glob("*/status"):
        for line in status.read_text().splitlines():
            if line.startswith("voluntary_ctxt_switches:"):
                total += int(line.split()[1])
    return total


@contextlib.contextmanager
def notification_service(wanted):
    if not wanted:
        yield
        return
    read, write = os.pipe()
    with running(["dbus-daemon", "--session", "--nofork", f"--print-address={write}"], pass_fds=[write]):
        os.close(write)
        with os.fdopen(read) as answer:
            os.environ["DBUS_SESSION_BUS_ADDRESS"] = answer.readline().strip()
        with running(["dunst"]):
            await_condition("the notification service", lambda: subprocess.run(
                ["dbus-send", "--session", "--print-reply", "--dest=org.freedesktop.Notifications",
                 "/org/freedesktop/Notifications", "org.freedesktop.Notifications.GetServerInformation"],
                capture_output=True).returncode == 0)
            yield
        os.environ.pop("DBUS_SESSION_BUS_ADDRESS")


def measure_idle(program, client, _out, quick, root):
    seconds = 5 if quick else 60
    print(f"Doing nothing for {seconds} s       wake-ups  system calls  CPU seconds")
    for name, records, service in (("after the start", False, False), ("after a clip, with notices", True, True),
                                   ("after a clip, without notices", True, False)):
        folder = root / name
        folder.mkdir()
        with display(1920, 1080), notification_service(service):
            recorder = Program(program, folder, keeps_bus=service)
            with running([program]) as process:
                await_condition("the settings file", (recorder.recordings.parent / "config.ini").exists)
                if records:
                    recorder.begin(1280, 720)
                    time.sleep(1)
                    recorder.end()
                time.sleep(8)  # until the last notice has closed
                calls = folder / "calls"
                tracer = subprocess.Popen(["strace", "-f", "-qq", "-o", str(calls), "-p", str(process.pid)])
                time.sleep(2)  # Attaching wakes every thread.
                before = wake_ups(process), calls.stat().st_size, cpu_seconds(process)
                time.sleep(seconds)
                after = wake_ups(process), calls.stat().st_size, cpu_seconds(process)
                with calls.open() as log:
                    log.seek(before[1])
                    made = sum(1 for _ in log)
                tracer.send_signal(signal.SIGINT)
                tracer.wait()
                print(f"  {name:<32}{after[0] - before[0]:>6}{made:>14}{after[2] - before[2]:>13.2f}")


def main():
    program, client, out, section = sys.argv[1:5]
    out = pathlib.Path(out)
    out.mkdir(exist_ok=True)
    sections = {"compare": compare_all, "start": measure_start, "memory": measure_memory,
                "idle": measure_idle}
    with tempfile.TemporaryDirectory() as root:
        sections[section](program, client, out, "quick" in sys.argv[5:], pathlib.Path(root))


main()
