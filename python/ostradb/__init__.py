"""Client of the well-logging database server.

connect() returns a Client with the command-line client's verbs; results are small objects
with named attributes and to_dict():

    import ostradb

    with ostradb.connect(host="127.0.0.1", port=22344, user="admin", password="admin") as c:
        db = c.find_database("North Sea Demo")
        for f in c.files(db, "Eastfield", filter="%well -> N1"):
            print(f.path, f.full_name)
        c.get(f.full_name, "copy.ws")

Beneath it, c.protocol is the library's whole command catalog on the same session, under its
C++ names: the client class TOstraDbProtocol with one method per command, and the model,
request and result classes the commands take and fill (TDatabasesList, TLevelFilesList,
TFilter, TCurvesList, TUmData ...). Objects a command fills are passed by the caller, as in
C++; plain values a command hands back through references are returned (see the notes of
_ostradb.pyi). Errors are the classes of ostradb.errors, all derived from ostradb.Error.
"""

from ostradb.errors import (
    ArgumentError,
    BusyError,
    ConnectionError,
    ConvertError,
    EncodingError,
    Error,
    FileError,
    InterruptedError,
    NotFoundError,
    ServerError,
    TimeoutError,
)
from ostradb._ostradb import *  # noqa: F401,F403  the client, its results and the command catalog

__version__ = "0.1.0"
