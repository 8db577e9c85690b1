#pragma once

// The client's hooks made from Python callables; None gives an empty hook. A callable that
// raises aborts the request it runs in, and the call raises its error.

#include <pybind11/pybind11.h>

#include "casters.hpp"
#include "ostradb/client/client.hpp"
#include "ostradb/protocol/connection_settings.hpp"
#include "ostradb/protocol/ostradb_protocol.hpp"

namespace ostradb::python {

namespace py = pybind11;

// fn(sender, data: TLoginDialogData) -> ldrOk, ldrCancel or ldrRetry; data is a copy whose
// User and Password (changed by fn) go back to the client.
TLoginDialogEvent MakeLoginDialog(py::object fn);
// fn(text).
TMessageBoxEvent MakeMessageBox(py::object fn);
// fn(request: bool, text: str).
TPacketTraceEvent MakePacketTrace(py::object fn);
// fn(settings) -> bool.
TConnectionSettings::AskUserHandler MakeAskUser(py::object fn);
// fn(done, total) for the high-level client's transfers.
ProgressCallback MakeProgress(py::object fn);
// fn(info: dict[str, str]) for the high-level client's server jobs.
JobProgressCallback MakeJobProgress(py::object fn);
// Hands connection warnings to Python's warnings.warn.
WarningCallback MakeWarning();

}  // namespace ostradb::python
