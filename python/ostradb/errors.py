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
]
