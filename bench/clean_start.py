"""Measures a clean start on the private machine itself; see bench/clean-start."""

import statistics
import subprocess
import time

LAUNCHER = "/Applications/Quillmore.app/Contents/MacOS/Quillmore"
TOOLS = "/Library/Application Support/Quillmore/"
PIPELINES = [
    "ps ax -o comm | fgrep 'QuillmoreCore' | grep -v grep | grep -v relaunchqm > /dev/null",
    "ps ax -o comm | grep 'Quillmore Mac' | grep -v grep >/dev/null",
    "ps ax -o comm | grep 'QuillmoreCore' | grep -v grep >/dev/null",
]
RUNS = 30


def stop_core():
    subprocess.run(["pkill", "-TERM", "-x", "QuillmoreCore"], check=False)
    while subprocess.run(["pgrep", "-x", "QuillmoreCore"], stdout=subprocess.DEVNULL).returncode == 0:
        time.sleep(0.005)


def median_of(work, after=lambda: None):
    seconds = []
    for _ in range(RUNS):
        start = time.perf_counter()
        work()
        seconds.append(time.perf_counter() - start)
        after()
    return statistics.median(seconds) * 1000


def launch():
    subprocess.run([LAUNCHER], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, check=True)


def unavoidable():
    for pipeline in PIPELINES:
        subprocess.run(["/bin/sh", "-c", pipeline], check=False)
    for tool in ("updateqm", "qmstatus", "finderoverlaytool"):
        subprocess.run([TOOLS + tool], stdout=subprocess.DEVNULL, check=False)


subprocess.run([LAUNCHER], input=b"\n", stdout=subprocess.DEVNULL, check=True)  # installs everything
stop_core()
clean = median_of(launch, stop_core)
needed = median_of(unavoidable)
print(f"clean start            {clean:7.1f} ms")
print(f"pipelines and tools    {needed:7.1f} ms (started one by one from here)")
print(f"difference             {clean - needed:7.1f} ms")
