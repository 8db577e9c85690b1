// The library's exceptions as the classes of ostradb.errors, by one translator.

#include <cstring>
#include <string>

#include "binding.hpp"
#include "ostradb/client/errors.hpp"

namespace ostradb::python {

namespace {

// The classes of ostradb.errors, kept for the life of the process.
struct ErrorClasses {
    py::handle error, server, connection, timeout, busy, interrupted, encoding, convert, file,
        argument, notFound;
};

const ErrorClasses& Classes() {
    static const ErrorClasses classes = [] {
        py::module_ errors = py::module_::import("ostradb.errors");
        auto get = [&](const char* name) { return py::object(errors.attr(name)).release(); };
        return ErrorClasses{get("Error"),         get("ServerError"),  get("ConnectionError"),
                            get("TimeoutError"),  get("BusyError"),    get("InterruptedError"),
                            get("EncodingError"), get("ConvertError"), get("FileError"),
                            get("ArgumentError"), get("NotFoundError")};
    }();
    return classes;
}

py::str Text(const std::string& text) {
    PyObject* s =
        PyUnicode_DecodeUTF8(text.data(), static_cast<Py_ssize_t>(text.size()), "replace");
    if (!s) throw py::error_already_set();
    return py::reinterpret_steal<py::str>(s);
}

// Raises cls(message, *extra).
void Raise(py::handle cls, const char* message, const py::tuple& extra = py::tuple()) {
    PyObject* text =
        PyUnicode_DecodeUTF8(message, static_cast<Py_ssize_t>(std::strlen(message)), "replace");
    if (!text) return;
    py::object args = py::make_tuple(py::reinterpret_steal<py::str>(text)) + extra;
    PyObject* exception = PyObject_Call(cls.ptr(), args.ptr(), nullptr);
    if (!exception) return;
    PyErr_SetObject(cls.ptr(), exception);
    Py_DECREF(exception);
}

void Translate(std::exception_ptr failure) {
    const ErrorClasses& c = Classes();
    try {
        std::rethrow_exception(failure);
    } catch (const TOstraClientSocketException& e) {
        if (e.Code == ecProtocolBusy)
            Raise(c.busy, e.what());
        else if (e.Code == ecTerminated)
            Raise(c.interrupted, e.what());
        else
            Raise(c.server, e.what(), py::make_tuple(e.Code));
    } catch (const ETimeoutError& e) {
        Raise(c.timeout, e.what());
    } catch (const ESocketError& e) {
        Raise(c.connection, e.what());
    } catch (const EEncodingError& e) {
        Raise(c.encoding, e.what());
    } catch (const EConvertError& e) {
        Raise(c.convert, e.what());
    } catch (const EXmlError& e) {
        Raise(c.convert, e.what());
    } catch (const EFileError& e) {
        Raise(c.file, e.what());
    } catch (const ENotFoundError& e) {
        static const char* const kinds[] = {"database", "level", "level_value", "user", "group"};
        Raise(c.notFound, e.what(),
              py::make_tuple(kinds[static_cast<int>(e.kind())], Text(e.name())));
    } catch (const EArgumentError& e) {
        Raise(c.argument, e.what());
    } catch (const Error& e) {
        Raise(c.error, e.what());
    }
}

}  // namespace

void BindErrors(py::module_&) {
    Classes();
    py::register_exception_translator(Translate);
}

}  // namespace ostradb::python
