"""Threads and Ctrl-C: a client in a request refuses other threads, and Terminate or SIGINT
stop a long transfer at once, leaving the client usable."""

import io
import os
import signal
import subprocess
import sys
import threading

import pytest

import ostradb
from conftest import catalog_files, full_name, local_path


@pytest.fixture(scope="module")
def big_file(paced_sandbox):
    with paced_sandbox.client() as p:
        _, files = catalog_files(p)
    name = max((full_name(*f) for f in files), key=lambda n: os.path.getsize(local_path(n)))
    return name, os.path.getsize(local_path(name))


class Sink(io.BytesIO):
    """Tells when the first bytes arrive."""

    def __init__(self):
        super().__init__()
        self.receiving = threading.Event()

    def write(self, data):
        self.receiving.set()
        return super().write(data)


def test_second_thread_is_refused_and_terminate_stops_the_first(paced_sandbox, big_file):
    name, size = big_file
    p = paced_sandbox.client()
    sink, outcome = Sink(), []

    def download():
        try:
            p.GetFileContents(name, sink)
            outcome.append("finished")
        except ostradb.Error as e:
            outcome.append(e)

    worker = threading.Thread(target=download)
    worker.start()
    assert sink.receiving.wait(60)
    for call in (lambda: p.FileExists(name), p.GetHost, p.Disconnect):
        with pytest.raises(ostradb.BusyError):
            call()
    p.Terminate()
    worker.join(60)
    assert isinstance(outcome[0], ostradb.InterruptedError)
    assert len(sink.getvalue()) < size
    assert p.FileExists(name)


# The download goes into a bytearray, which runs no Python code that could notice the signal
# on its own; a second thread tells when the first bytes have come.
CHILD = """
import sys, threading, time, ostradb
p = ostradb.TOstraDbProtocol()
p.SetHostPort("127.0.0.1", int(sys.argv[1]))
p.Login("admin", "admin")
data = bytearray()

def announce():
    while not data:
        time.sleep(0.005)
    print("receiving", flush=True)

threading.Thread(target=announce, daemon=True).start()
try:
    p.GetFileContents(sys.argv[2], data)
    print("finished", len(data))
except KeyboardInterrupt:
    print("interrupted", len(data), p.FileExists(sys.argv[2]))
"""


def test_ctrl_c_stops_a_download_with_keyboard_interrupt(paced_sandbox, big_file):
    name, size = big_file
    child = subprocess.Popen([sys.executable, "-c", CHILD, str(paced_sandbox.port), name],
                             stdout=subprocess.PIPE, text=True)
    try:
        assert child.stdout.readline().strip() == "receiving"
        child.send_signal(signal.SIGINT)
        out, _ = child.communicate(timeout=60)
    finally:
        child.kill()
    word, received, usable = out.split()
    assert (word, usable) == ("interrupted", "True")
    assert int(received) < size
