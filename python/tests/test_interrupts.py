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


def catalog_session(sandbox, name):
    """The command catalog: (download into a file object, calls on the same client, terminate,
    a check that the file is there)."""
    p = sandbox.client()
    return (lambda sink: p.GetFileContents(name, sink),
            [lambda: p.FileExists(name), p.GetHost, p.Disconnect], p.Terminate,
            lambda: p.FileExists(name))


def client_session(sandbox, name):
    """The high-level client, whose catalog object is the same session."""
    c = sandbox.connect()
    return (lambda sink: c.get(name, sink, progress=lambda done, total: None),
            [lambda: c.exists(name), c.close, c.protocol.GetHost, lambda: c.set_trace(None)],
            c.terminate, lambda: c.exists(name))


@pytest.mark.parametrize("session", [catalog_session, client_session])
def test_second_thread_is_refused_and_terminate_stops_the_first(paced_sandbox, big_file,
                                                                session):
    name, size = big_file
    download, calls, terminate, exists = session(paced_sandbox, name)
    sink, outcome = Sink(), []

    def run():
        try:
            download(sink)
            outcome.append("finished")
        except ostradb.Error as e:
            outcome.append(e)

    worker = threading.Thread(target=run)
    worker.start()
    assert sink.receiving.wait(60)
    for call in calls:
        with pytest.raises(ostradb.BusyError):
            call()
    terminate()
    worker.join(60)
    assert isinstance(outcome[0], ostradb.InterruptedError)
    assert len(sink.getvalue()) < size
    assert exists()


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


# The high-level client saving into a path that holds an older file: after Ctrl-C the old file
# is there as it was, and no partial file beside it.
CHILD_INTO_PATH = """
import os, sys, ostradb
c = ostradb.connect(host="127.0.0.1", port=int(sys.argv[1]), user="admin", password="admin")
dest = sys.argv[3]
received = [0]

def announce(done, total):
    if done and not received[-1]:
        print("receiving", flush=True)
    received.append(done)

try:
    c.get(sys.argv[2], dest, progress=announce)
    print("finished", received[-1])
except KeyboardInterrupt:
    kept = open(dest).read() == "old" and os.listdir(os.path.dirname(dest)) == ["copy.ws"]
    print("interrupted", received[-1], kept and c.exists(sys.argv[2]))
"""


@pytest.mark.parametrize("script", [CHILD, CHILD_INTO_PATH], ids=["catalog", "client"])
def test_ctrl_c_stops_a_download_with_keyboard_interrupt(paced_sandbox, big_file, tmp_path,
                                                         script):
    name, size = big_file
    dest = tmp_path / "copy.ws"
    dest.write_text("old")
    child = subprocess.Popen([sys.executable, "-c", script, str(paced_sandbox.port), name,
                              str(dest)], stdout=subprocess.PIPE, text=True)
    try:
        assert child.stdout.readline().strip() == "receiving"
        child.send_signal(signal.SIGINT)
        out, _ = child.communicate(timeout=60)
    finally:
        child.kill()
    word, received, usable = out.split()
    assert (word, usable) == ("interrupted", "True")
    assert int(received) < size
