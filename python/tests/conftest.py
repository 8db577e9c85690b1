"""Fixtures: a real sandbox server over TCP on 127.0.0.1, over a fresh copy of the sample data
(the sandbox fills an empty data directory with it), and clients logged in to it."""

import os
import subprocess

import pytest

import ostradb

SANDBOX = os.environ.get("OSTRADB_SANDBOX", "")


class Sandbox:
    def __init__(self, data_dir, *options):
        if not SANDBOX or not os.access(SANDBOX, os.X_OK):
            pytest.skip("no sandbox executable (set OSTRADB_SANDBOX, or run build/python/run-pytest)")
        self.data_dir = str(data_dir)
        self.process = subprocess.Popen(
            [SANDBOX, "--data", self.data_dir, "--port", "0", "--quiet", *options],
            stdout=subprocess.PIPE, stdin=subprocess.DEVNULL, stderr=subprocess.DEVNULL, text=True)
        line = self.process.stdout.readline()
        if not line.strip().isdigit():
            self.stop()
            raise RuntimeError(f"the sandbox did not start: {line!r}")
        self.port = int(line)

    def client(self, user="admin", password="admin"):
        p = ostradb.TOstraDbProtocol()
        p.SetHostPort("127.0.0.1", self.port)
        p.Login(user, password)
        return p

    def connect(self, user="admin", password="admin", **options):
        return ostradb.connect(**{"host": "127.0.0.1", "port": self.port, "user": user,
                                  "password": password, **options})

    def stop(self):
        self.process.terminate()
        self.process.wait(timeout=30)


@pytest.fixture(scope="session", autouse=True)
def isolated_settings(tmp_path_factory):
    """Connections see neither the developer's environment nor their settings files."""
    with pytest.MonkeyPatch.context() as patch:
        for name in [n for n in os.environ if n.startswith("OSTRADB_") and n != "OSTRADB_SANDBOX"]:
            patch.delenv(name)
        patch.setenv("OSTRADB_CONFIG_DIR", str(tmp_path_factory.mktemp("config")))
        yield


@pytest.fixture(scope="session")
def sandbox(tmp_path_factory):
    server = Sandbox(tmp_path_factory.mktemp("sandbox"))
    yield server
    server.stop()


@pytest.fixture(scope="session")
def paced_sandbox(tmp_path_factory):
    """Sends answers in small pieces with a pause between them: a download of a megabyte and a
    half takes over 20 s, so that an interrupt on a busy machine still finds it running."""
    server = Sandbox(tmp_path_factory.mktemp("paced"), "--fault-segment-bytes", "64")
    yield server
    server.stop()


@pytest.fixture(scope="session")
def slow_sandbox(tmp_path_factory):
    """Waits two seconds before every answer."""
    server = Sandbox(tmp_path_factory.mktemp("slow"), "--fault-delay-ms", "2000")
    yield server
    server.stop()


@pytest.fixture
def admin(sandbox):
    with sandbox.client() as p:
        yield p


@pytest.fixture
def client(sandbox):
    with sandbox.connect() as c:
        yield c


def catalog_files(p):
    """(database info, level file) of every file of every database, and the databases list
    that owns them."""
    dbs = ostradb.TDatabasesList()
    p.RequestDatabasesListEx(dbs, True)
    found = []
    for info in dbs.Items:
        files = ostradb.TLevelFilesList()
        p.RequestFiles(files, info.Id, [], {ostradb.rffInclFilePath})
        found += [(info, f) for f in files.Files]
    return dbs, found


def full_name(info, level_file):
    return info.ShortFileNameToFullFileName(level_file.Name, False)


def local_path(name):
    """Where the sandbox on this machine keeps the file of a full name."""
    return name.removeprefix("WSTP://").removeprefix("DIRECT:")
