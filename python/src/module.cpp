// The extension module ostradb._ostradb: the library's client, its command catalog and the
// classes the commands take and fill, under their C++ names.

#include "binding.hpp"
#include "call.hpp"
#include "item_refs.hpp"

PYBIND11_MODULE(_ostradb, m) {
    namespace py = pybind11;
    using namespace ostradb;
    using namespace ostradb::python;

    m.doc() = "The client of the well-logging database server and its command catalog.";
    SetMainThread(
        py::module_::import("threading").attr("main_thread")().attr("ident").cast<unsigned long>());
    BindErrors(m);
    // Named first, so that every signature that mentions the client shows its Python name.
    ProtocolClass protocol(m, "TOstraDbProtocol");
    BindBasics(m);
    BindLevelFiles(m);
    BindModel(m);
    BindDatabases(m);
    BindCommandTypes(m);
    BindWellTypes(m);
    BindUsers(m);
    BindSession(protocol);
    BindCommands(protocol);
    BindWellCommands(protocol);
    BindResults(m);
    BindClient(m);
    InstallItemKeeper();
    m.def("OstraDbProtocol", &OstraDbProtocol, py::return_value_policy::reference,
          "The process-wide client, created on the first call.");
    m.def("OstraDbProtocolInitialized", &OstraDbProtocolInitialized);
}
