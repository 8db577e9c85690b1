// The client's hooks (info packets, login dialog, message box, packet trace, the connection
// settings dialog) as Python callables. The client copies and drops its std::function objects
// on whatever thread it runs, without the GIL: the callable is kept behind a shared pointer
// whose last owner takes the GIL to let it go.

#include "callbacks.hpp"

#include <cstdint>
#include <exception>
#include <map>
#include <memory>
#include <string>
#include <utility>

#include "call.hpp"

namespace ostradb::python {

namespace {

class PyCallable {
public:
    explicit PyCallable(py::object fn) : fn_(std::move(fn)) {}
    ~PyCallable() {
        if (!Py_IsInitialized() || IsFinalizing()) {
            fn_.release();  // the interpreter is gone or going: leave the reference
            return;
        }
        py::gil_scoped_acquire gil;
        fn_ = py::object();
    }
    PyCallable(const PyCallable&) = delete;
    PyCallable& operator=(const PyCallable&) = delete;

    const py::object& fn() const { return fn_; }

private:
    static bool IsFinalizing() {
#if PY_VERSION_HEX >= 0x030D0000
        return Py_IsFinalizing();
#else
        return _Py_IsFinalizing();
#endif
    }
    py::object fn_;
};

using Callable = std::shared_ptr<const PyCallable>;

// Calls f with the GIL held. A Python error (or a C++ one on the way) aborts the running
// request and is raised by the call; fallback is returned then.
template <class R, class F>
R Invoke(F&& f, R fallback) {
    py::gil_scoped_acquire gil;
    try {
        return f();
    } catch (py::error_already_set& e) {
        CallScope::Fail(e);
    } catch (const py::builtin_exception& e) {
        e.set_error();
        py::error_already_set error;
        CallScope::Fail(error);
    } catch (const std::exception& e) {
        PyErr_SetString(PyExc_RuntimeError, e.what());
        py::error_already_set error;
        CallScope::Fail(error);
    }
    return fallback;
}

py::str Text(std::string_view text) {
    PyObject* s =
        PyUnicode_DecodeUTF8(text.data(), static_cast<Py_ssize_t>(text.size()), "replace");
    if (!s) throw py::error_already_set();
    return py::reinterpret_steal<py::str>(s);
}

// The attributes of an info packet's root element, then those of its child elements that the
// root does not have.
py::dict PacketFields(pugi::xml_node root) {
    py::dict fields;
    for (pugi::xml_attribute a : root.attributes())
        fields[Text(a.name())] = Text(a.value());
    for (pugi::xml_node child : root.children())
        for (pugi::xml_attribute a : child.attributes()) {
            py::str name = Text(a.name());
            if (!fields.contains(name)) fields[name] = Text(a.value());
        }
    return fields;
}

struct InfoHandler {
    Callable fn;
    void operator()(TOstraDbProtocol&, pugi::xml_node xml) const {
        Invoke([&] { return (fn->fn()(PacketFields(xml)), 0); }, 0);
    }
};

struct LoginDialog {
    Callable fn;
    ELoginDialogResult operator()(TOstraDbProtocol& sender, TLoginDialogData& data) const {
        return Invoke(
            [&] {
                // The callable gets a copy, so that keeping it does not keep a dangling reference.
                py::object copy = py::cast(data);
                py::object answer =
                    fn->fn()(py::cast(&sender, py::return_value_policy::reference), copy);
                const int result = answer.cast<int>();
                if (result != ldrOk && result != ldrCancel && result != ldrRetry)
                    throw py::value_error("the login dialog answered " + std::to_string(result) +
                                          ": ldrOk, ldrCancel or ldrRetry expected");
                data = copy.cast<TLoginDialogData>();
                return static_cast<ELoginDialogResult>(result);
            },
            ldrCancel);
    }
};

Callable Share(py::object fn) {
    return std::make_shared<const PyCallable>(std::move(fn));
}

}  // namespace

TInfoPacketEvent MakeInfoHandler(py::object fn) {
    if (fn.is_none()) return {};
    return InfoHandler{Share(std::move(fn))};
}

py::object InfoHandlerCallable(const TInfoPacketEvent& handler) {
    const InfoHandler* ours = handler.target<InfoHandler>();
    return ours ? ours->fn->fn() : py::none();
}

TLoginDialogEvent MakeLoginDialog(py::object fn) {
    if (fn.is_none()) return {};
    return LoginDialog{Share(std::move(fn))};
}

TMessageBoxEvent MakeMessageBox(py::object fn) {
    if (fn.is_none()) return {};
    return [fn = Share(std::move(fn))](const std::string& text) {
        Invoke([&] { return (fn->fn()(Text(text)), 0); }, 0);
    };
}

TPacketTraceEvent MakePacketTrace(py::object fn) {
    if (fn.is_none()) return {};
    return [fn = Share(std::move(fn))](bool request, std::string_view text) {
        Invoke([&] { return (fn->fn()(request, Text(text)), 0); }, 0);
    };
}

TConnectionSettings::AskUserHandler MakeAskUser(py::object fn) {
    if (fn.is_none()) return {};
    return [fn = Share(std::move(fn))](TConnectionSettings& settings) {
        return Invoke(
            [&] {
                return fn->fn()(py::cast(&settings, py::return_value_policy::reference))
                    .cast<bool>();
            },
            false);
    };
}

ProgressCallback MakeProgress(py::object fn) {
    if (fn.is_none()) return {};
    return [fn = Share(std::move(fn))](std::int64_t done, std::int64_t total) {
        Invoke([&] { return (fn->fn()(done, total), 0); }, 0);
    };
}

JobProgressCallback MakeJobProgress(py::object fn) {
    if (fn.is_none()) return {};
    return [fn = Share(std::move(fn))](const std::map<std::string, std::string>& info) {
        Invoke(
            [&] {
                py::dict fields;
                for (const auto& [name, value] : info)
                    fields[Text(name)] = Text(value);
                return (fn->fn()(fields), 0);
            },
            0);
    };
}

WarningCallback MakeWarning() {
    return [](const std::string& text) {
        Invoke(
            [&] {
                py::module_::import("warnings").attr("warn")(Text(text), py::arg("stacklevel") = 2);
                return 0;
            },
            0);
    };
}

}  // namespace ostradb::python
