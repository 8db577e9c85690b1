"""The exceptions of ostradb: everything the package raises for a failed request derives from
Error.

ConnectionError and TimeoutError also derive from the built-in exceptions of the same names,
so that code which handles network failures generally (``except OSError``, retry helpers)
handles these too; the built-in InterruptedError means a system call interrupted by a signal
and is left out: an InterruptedError here is a request the caller aborted on purpose.
"""

import builtins


class Error(Exception):
    """Root of the exceptions of ostradb; str(error) is the library's message."""

    code = None

    @property
    def text(self):
        """The message."""
        return str(self.args[0]) if self.args else ""


class ServerError(Error):
    """The server refused the request: ``code`` is its error code (an int, see
    EOstraClientSocketExceptionCodes), ``text`` its message."""

    def __init__(self, text, code=None):
        super().__init__(text)
        self.code = code


class ConnectionError(Error, builtins.ConnectionError):
    """The server cannot be reached, or the connection broke during the request."""


class TimeoutError(ConnectionError, builtins.TimeoutError):
    """A read or write time-out set on the client expired; the connection is closed."""


class BusyError(Error):
    """The client is running a request already (from another thread, or a callback of the
    request itself started another one)."""

    code = 40


class InterruptedError(Error):
    """The request was aborted by Terminate."""

    code = 41


class EncodingError(Error, ValueError):
    """A text holds a character that the server's code page cannot carry."""


class ConvertError(Error, ValueError):
    """A number, date or XML text could not be read: from the caller, or a malformed answer."""


class FileError(Error, OSError):
    """A local file could not be opened, read or written."""


class ArgumentError(Error, ValueError):
    """An argument, environment variable or settings file that cannot be used (a port that is
    no number, a filter without "->", an unknown connection name), or a password that nothing
    supplied; nothing was sent for the call."""


class NotFoundError(Error, LookupError):
    """A database, level, level value, user or group that the server does not have; the
    message names what there is instead. ``kind`` says which ("database", "level",
    "level_value", "user" or "group"), ``name`` is the name as given."""

    def __init__(self, text, kind=None, name=None):
        super().__init__(text)
        self.kind = kind
        self.name = name


__all__ = [
    "Error",
    "ServerError",
    "ConnectionError",
    "TimeoutError",
    "BusyError",
    "InterruptedError",
    "EncodingError",
    "ConvertError",
    "FileError",
    "ArgumentError",
    "NotFoundError",
]
