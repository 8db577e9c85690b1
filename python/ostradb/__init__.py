"""Client of the well-logging database server.

The package holds the library's whole command catalog under its C++ names: the client class
TOstraDbProtocol with one method per command, and the model, request and result classes the
commands take and fill (TDatabasesList, TLevelFilesList, TFilter, TCurvesList, TUmData ...).

    import ostradb

    with ostradb.TOstraDbProtocol() as p:
        p.SetHostPort("127.0.0.1", 22344)
        p.Login("admin", "admin")
        dbs = ostradb.TDatabasesList()
        p.RequestDatabasesListEx(dbs, False)
        files = ostradb.TLevelFilesList()
        p.RequestFiles(files, dbs.Items[0].Id, [], {ostradb.rffInclFilePath})
        with open("copy.ws", "wb") as out:
            p.GetFileContents(files.Files[0].Name, out)

Objects a command fills are passed by the caller, as in C++; plain values a command hands back
through references are returned (see the notes of _ostradb.pyi). Errors are the classes of
ostradb.errors, all derived from ostradb.Error.
"""

from ostradb.errors import (
    BusyError,
    ConnectionError,
    ConvertError,
    EncodingError,
    Error,
    FileError,
    InterruptedError,
    ServerError,
    TimeoutError,
)
from ostradb._ostradb import *  # noqa: F401,F403  the command catalog

__version__ = "0.1.0"
