"""Failures come out as the classes of ostradb.errors, with the library's message, and a Python
error raised by a callback or a file object aborts the request and is what the call raises."""

import builtins
import io
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

    def offline():
        p = ostradb.TOstraDbProtocol()
        p.SetHostPort("127.0.0.1", closed_port())
        p.Connect()

    def impatient():
        p = ostradb.TOstraDbProtocol()
        p.SetHostPort("127.0.0.1", slow_sandbox.port)
        p.SetReadTimeout(0.05)
        p.Login("admin", "admin")

    cases = [
        (lambda: sandbox.client("admin", "wrong"), ostradb.ServerError, ostradb.ecWrongPassword),
        (impatient, builtins.TimeoutError, None),
        (lambda: sandbox.client().GetFileContents(info.Path + "nowhere.ws", io.BytesIO()),
         ostradb.ServerError, ostradb.ecFileNotFound),
        (lambda: sandbox.client("viewer", "viewer").PutFileContents(name, b"x"),
         ostradb.ServerError, ostradb.ecAccessDenied),
        (offline, builtins.ConnectionError, None),
    ]
    for call, cls, code in cases:
        with pytest.raises(cls) as caught:
            call()
        error = caught.value
        assert isinstance(error, ostradb.Error) and error.text == str(error) != ""
        assert error.code == code
    assert isinstance(caught.value, ostradb.ConnectionError)


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
    raise Boom(packet["text"])


def test_python_errors_abort_the_request_and_leave_the_client_usable(admin, tmp_path):
    _, files = catalog_files(admin)
    name = full_name(*files[0])
    new_db = ostradb.TDatabaseInfo()
    new_db.Name = "Python failing handler"
    cases = [
        (lambda: admin.GetFileContents(name, FailingSink()), Boom),
        (lambda: admin.GetFileContents(name, open(tmp_path / "t.txt", "w")), TypeError),
        (lambda: admin.GetFileContents(name, 42), TypeError),
        (lambda: admin.PutFileContents(name + ".new", Unseekable()), ostradb.Error),
        (lambda: admin.AddDatabase(new_db, failing_handler), Boom),
        (lambda: admin.RequestFiles(["not", "a", "list"], 1, [], set()), TypeError),
        (lambda: admin.GetServOption("Привет ☃"), ostradb.EncodingError),
    ]
    for call, cls in cases:
        with pytest.raises(cls):
            call()
        assert admin.FileExists(name)
