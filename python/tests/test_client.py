"""The high-level client against the sandbox: from the databases to a file's bytes and back,
filters and search, the result objects, and the connection taken from the environment."""

import copy
import io
import os
import pickle
import threading
import xml.etree.ElementTree as ET
from pathlib import Path

import pytest

import ostradb
from conftest import local_path


def test_walk_from_databases_to_a_download(client, tmp_path):
    dbs = {db.name: db for db in client.databases(structures=True)}
    north = dbs["North Sea Demo"]
    assert [level.type for level in north.levels] == ["%field", "%well", "%survey"]
    assert client.structure("north sea demo") == client.structure(north.id) == north.levels
    assert north.to_dict()["levels"][1] == north.levels[1].to_dict() and "title" in repr(north)
    assert pickle.loads(pickle.dumps(north)) == copy.deepcopy(north) == north

    wells = client.levels(north, "Eastfield")
    assert {w.value for w in wells} == {"15-ST1", "33", "N1", "N2"}
    n1 = next(w for w in wells if w.value == "N1")
    files = client.files(north.name, "eastfield", n1.id)  # values by name in any case, or id
    folder = Path(north.path, "Eastfield", "N1")
    assert sorted(local_path(f.full_name) for f in files) == \
        sorted(str(p) for p in folder.rglob("*.ws"))
    assert all(f.path[:2] == ["Eastfield", "N1"] for f in files)
    row = files[0].to_dict()
    assert list(row) == list(ostradb.File._fields) and row["path"] == files[0].path

    # The largest file of the database, into a path, a file object and a bytearray.
    largest = max(client.files(north), key=lambda f: os.path.getsize(local_path(f.full_name)))
    expected = Path(local_path(largest.full_name)).read_bytes()
    reports, buffer, array = [], io.BytesIO(), bytearray()
    assert client.get(largest.full_name, tmp_path, progress=lambda *r: reports.append(r)) == \
        len(expected)
    client.get(largest.full_name, buffer)
    client.get(largest.full_name, array)
    saved = tmp_path / os.path.basename(largest.full_name)
    assert saved.read_bytes() == buffer.getvalue() == bytes(array) == expected
    assert reports[-1] == (len(expected), len(expected)) and len(reports) > 2
    assert [done for done, _ in reports] == sorted(done for done, _ in reports)
    assert os.listdir(tmp_path) == [saved.name]


def pipe_of(payload):
    """The read end of a pipe that a thread fills with payload."""
    read, write = os.pipe()

    def fill():
        with open(write, "wb") as out:
            out.write(payload)

    threading.Thread(target=fill, daemon=True).start()
    return open(read, "rb", buffering=0)


@pytest.mark.parametrize("make_source", [
    lambda payload, path: payload,
    lambda payload, path: memoryview(payload)[0:],
    lambda payload, path: bytearray(payload),
    lambda payload, path: path,
    lambda payload, path: str(path),
    lambda payload, path: open(path, "rb"),
    lambda payload, path: pipe_of(payload),
], ids=["bytes", "memoryview", "bytearray", "path", "str", "file", "pipe"])
def test_upload_sends_the_exact_bytes(client, tmp_path, make_source):
    payload = bytes(range(256)) * 1500 + b"\r\n\0end"  # not a multiple of a chunk
    path = tmp_path / "source.ws"
    path.write_bytes(payload)
    north = client.find_database("North Sea Demo")
    name = client.full_name(north, f"Eastfield/N2/upload-{os.getpid()}.ws")
    reports = []
    assert client.put(name, make_source(payload, path), progress=lambda *r: reports.append(r)) \
        == len(payload)
    assert Path(local_path(name)).read_bytes() == payload
    assert reports[-1] == (len(payload), len(payload))
    assert client.exists(name)
    [result] = client.remove(name)
    assert result.ok and result.file == name and not client.exists(name)


def sidecar_params(name):
    """The params the sandbox keeps beside a file (none for files uploaded here)."""
    sidecar = local_path(name) + ".xml"
    if not os.path.exists(sidecar):
        return {}
    return {p.get("key"): p.get("value") for p in ET.parse(sidecar).iter("param")}


def test_filters_and_search_select_the_files_their_conditions_name(client):
    north = client.find_database("North Sea Demo")
    chosen = client.files(north, filter="%well -> N1, N2", name="*_ext.ws")
    assert {f.path[1] for f in chosen} == {"N1", "N2"}
    assert chosen and all(f.name.endswith("_ext.ws") for f in chosen)
    assert client.files(north, filter=["%well -> N1, N2", "%survey -> Logging*"], name="*_ext.ws") \
        == [f for f in chosen if f.path[2].startswith("Logging")]

    every = [f for db in client.databases() for f in client.files(db)]
    party = sorted(f.full_name for f in every
                   if sidecar_params(f.full_name).get("Оператор") == "Партия 13")
    assert len(party) == 3
    assert sorted(client.search("all", "Оператор=Партия 13")) == party
    west = client.find_database("Западная Сибирь")
    assert sorted(client.search(west, "Оператор=Партия 13", "Дата=2019")) == \
        [n for n in party if sidecar_params(n)["Дата"] == "2019"]
    assert client.search(north.id, "Оператор=Партия 13") == []


def test_connection_comes_from_the_environment_and_the_password_file(sandbox, monkeypatch,
                                                                      tmp_path):
    passwords = tmp_path / "passwords"
    passwords.write_text(f"127.0.0.1:{sandbox.port}:viewer:viewer\n")
    passwords.chmod(0o600)
    for name, value in [("OSTRADB_HOST", "127.0.0.1"), ("OSTRADB_PORT", str(sandbox.port)),
                        ("OSTRADB_USER", "viewer"), ("OSTRADB_PASSFILE", str(passwords))]:
        monkeypatch.setenv(name, value)
    with ostradb.connect() as c:
        assert (c.user, c.port, c.timeout) == ("viewer", sandbox.port, 300)
        assert {db.name for db in c.databases()} >= {"North Sea Demo"}
        assert c.protocol.GetUserRights() == {ostradb.urView}
    assert c.closed and "closed" in repr(c)
    with pytest.raises(ostradb.Error, match="closed"):
        c.version()
    c.login()
    assert c.version().count(".") == 3
