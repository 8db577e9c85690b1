"""Failures come out as the classes of ostradb.errors (one translator serves the command catalog
and the high-level client alike), with the library's message, and a Python
error raised by a callback or a file object aborts the request and is what the call raises."""

import builtins
import io
import os
import socket

import pytest

import ostradb
from conftest import catalog_files, full_name


def closed_port():
    with socket.socket() as s:
        s.bind(("127.0.0.1", 0))
        return s.getsockname()[1]


def test_failures_map_to_the_error_classes(sandbox, slow_sandbox):
    with sandbox.client() as admin:
        _, files = catalog_files(admin)
    info, first = files[0]
    name = full_name(info, first)

    def impatient():
        p = ostradb.TOstraDbProtocol()
        p.SetHostPort("127.0.0.1", slow_sandbox.port)
        p.SetReadTimeout(0.05)
        p.Login("admin", "admin")

    nowhere = info.Path + "nowhere.ws"
    cases = [
        (lambda: sandbox.client("admin", "wrong"), ostradb.ServerError, ostradb.ecWrongPassword),
        (impatient, builtins.TimeoutError, None),
        (lambda: sandbox.connect(port=slow_sandbox.port, timeout=0.05), builtins.TimeoutError,
         None),
        (lambda: sandbox.connect().get(nowhere, io.BytesIO()),
         ostradb.ServerError, ostradb.ecFileNotFound),
        (lambda: sandbox.client("viewer", "viewer").PutFileContents(name, b"x"),
         ostradb.ServerError, ostradb.ecAccessDenied),
        (lambda: sandbox.connect().files("Восточная Сибирь"), ostradb.NotFoundError, None),
        (lambda: sandbox.connect().files(info.Id, filter="%well N1"), ostradb.ArgumentError,
         None),
        (lambda: sandbox.connect(password=None), ostradb.ArgumentError, None),
        (lambda: sandbox.connect(port=closed_port()), builtins.ConnectionError, None),
    ]
    for call, cls, code in cases:
        with pytest.raises(cls) as caught:
            call()
        error = caught.value
        assert isinstance(error, ostradb.Error) and error.text == str(error) != ""
        assert error.code == code
    assert isinstance(caught.value, ostradb.ConnectionError)
    with pytest.raises(ostradb.NotFoundError) as caught:
        sandbox.connect().levels(info.Name, "Нигде")
    assert (caught.value.kind, caught.value.name) == ("level_value", "Нигде")
    assert "Северное" in str(caught.value)


class Boom(Exception):
    pass


class FailingSink(io.RawIOBase):
    def writable(self):
        return True

    def write(self, data):
        raise Boom("disk full")


class Unseekable(io.RawIOBase):
    def readable(self):
        return True

    def readinto(self, buffer):
        return 0


def failing_handler(packet):
    raise Boom(packet["text"] + packet["percent"])


def test_python_errors_abort_the_request_and_leave_the_client_usable(admin, client, tmp_path):
    _, files = catalog_files(admin)
    name = full_name(*files[0])
    new_db = ostradb.TDatabaseInfo()
    new_db.Name = "Python failing handler"
    kept = tmp_path / "kept.ws"
    kept.write_bytes(b"old")

    def failing_progress(done, total):
        if done:
            raise Boom("stop")

    cases = [
        (lambda: admin.GetFileContents(name, FailingSink()), Boom),
        (lambda: admin.GetFileContents(name, open(tmp_path / "t.txt", "w")), TypeError),
        (lambda: admin.GetFileContents(name, 42), TypeError),
        (lambda: admin.PutFileContents(name + ".new", Unseekable()), ostradb.Error),
        (lambda: admin.AddDatabase(new_db, failing_handler), Boom),
        (lambda: admin.RequestFiles(["not", "a", "list"], 1, [], set()), TypeError),
        (lambda: admin.GetServOption("Привет ☃"), ostradb.EncodingError),
        (lambda: client.get(name, FailingSink()), Boom),
        (lambda: client.get(name, kept, progress=failing_progress), Boom),
        (lambda: client.get(name, 42), TypeError),
        (lambda: client.get(name, io.BytesIO(), progress=5), TypeError),
        (lambda: client.files(1, 2.5), TypeError),
        (lambda: client.add_database(ostradb.Database(name="Python failing progress"),
                                     progress=failing_handler), Boom),
        (lambda: client.put(name + ".new", tmp_path / "missing.ws"), ostradb.FileError),
        (lambda: client.option("Привет ☃"), ostradb.EncodingError),
        (lambda: ostradb.File(path="a"), TypeError),
    ]
    for call, cls in cases:
        with pytest.raises(cls):
            call()
        assert admin.FileExists(name) and client.exists(name)
    assert kept.read_bytes() == b"old" and sorted(os.listdir(tmp_path)) == ["kept.ws", "t.txt"]
