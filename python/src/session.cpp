// TOstraDbProtocol: connection, session state, hooks, the packet exchange and the login.

#include <pybind11/chrono.h>

#include "binding.hpp"
#include "callbacks.hpp"
#include "wrap.hpp"

namespace ostradb::python {

namespace {

// The text of a request document given as XML text; malformed text raises ConvertError.
pugi::xml_document ParseRequest(const std::string& text) {
    pugi::xml_document doc;
    xml::Parse(doc, text);
    return doc;
}

}  // namespace

void BindSession(ProtocolClass& c) {
    c.def(py::init<>())
        .def(
            "__enter__", [](TOstraDbProtocol& p) -> TOstraDbProtocol& { return p; },
            py::return_value_policy::reference)
        .def("__exit__",
             [](TOstraDbProtocol& p, const py::args&) {
                 BusyGuard busy(p);
                 p.Disconnect();
             })
        .def_readonly_static("kDefaultPort", &TOstraDbProtocol::kDefaultPort)
        .def_readonly_static("kDefaultConnectTimeout", &TOstraDbProtocol::kDefaultConnectTimeout)
        .def_readonly_static("kMaxLoginAttempts", &TOstraDbProtocol::kMaxLoginAttempts)

        .OSTRADB_LOCAL(GetHost)
        .OSTRADB_LOCAL(GetPort)
        .OSTRADB_LOCAL(SetHostPort, "Host"_a, "Port"_a)
        .OSTRADB_LOCAL(SetHost, "Host"_a)
        .OSTRADB_LOCAL(SetPort, "Port"_a)
        .OSTRADB_LOCAL(GetConnectTimeout)
        .OSTRADB_LOCAL(SetConnectTimeout, "Milliseconds"_a)
        .OSTRADB_NET(Connect)
        .OSTRADB_LOCAL(Disconnect)
        .OSTRADB_LOCAL(Connected)
        .OSTRADB_LOCAL(CheckFileName, "Name"_a)
        .OSTRADB_LOCAL(CheckFileNames, "List"_a)

        .OSTRADB_LOCAL(GetLoginCanceled)
        .OSTRADB_LOCAL(GetUserRights)
        .OSTRADB_LOCAL(GetBusy)
        .OSTRADB_LOCAL(GetNeedReconnect)
        .OSTRADB_LOCAL(GetTerminated)
        .OSTRADB_LOCAL(LastUser)
        .OSTRADB_LOCAL(SetAllowToSelectServer, "Value"_a)
        .OSTRADB_LOCAL(GetAllowToSelectServer)
        .OSTRADB_LOCAL(GetLoginCounter)

        .def_property(
            "OnInfo",
            [](TOstraDbProtocol& p) {
                BusyGuard busy(p);
                return InfoHandlerCallable(p.OnInfo);
            },
            [](TOstraDbProtocol& p, py::object handler) {
                if (!handler.is_none() && !PyCallable_Check(handler.ptr()))
                    throw py::type_error("OnInfo takes a callable or None");
                BusyGuard busy(p);
                p.OnInfo = MakeInfoHandler(std::move(handler));
            },
            // The property's type, for the stubs: a callable taking the packet's attributes.
            "Callable[[dict[str, str]], None] | None")
        .def(
            "SetLoginDialog",
            [](TOstraDbProtocol& p, py::object handler) {
                BusyGuard busy(p);
                p.SetLoginDialog(MakeLoginDialog(std::move(handler)));
            },
            "Handler"_a,
            "Handler(sender, data: TLoginDialogData) -> ldrOk | ldrCancel | ldrRetry, on the "
            "requesting thread; data is a copy whose User and Password go back. None removes it.")
        .def(
            "SetMessageBox",
            [](TOstraDbProtocol& p, py::object handler) {
                BusyGuard busy(p);
                p.SetMessageBox(MakeMessageBox(std::move(handler)));
            },
            "Handler"_a, "Handler(text); None restores writing to standard error.")
        .def(
            "SetPacketTrace",
            [](TOstraDbProtocol& p, py::object handler) {
                BusyGuard busy(p);
                p.SetPacketTrace(MakePacketTrace(std::move(handler)));
            },
            "Handler"_a, "Handler(request: bool, text: str) for every packet; None removes it.")

        .OSTRADB_LOCAL(SetReadTimeout, "Timeout"_a)
        .OSTRADB_LOCAL(SetWriteTimeout, "Timeout"_a)
        .OSTRADB_LOCAL(GetReadTimeout)
        .OSTRADB_LOCAL(GetWriteTimeout)
        .OSTRADB_LOCAL(SetMaxAnswerSize, "Bytes"_a)
        .OSTRADB_LOCAL(GetMaxAnswerSize)

        .def_static(
            "CreatePacketXml",
            [](const std::string& command) {
                pugi::xml_document doc;
                pugi::xml_node node;
                TOstraDbProtocol::CreatePacketXml(command, doc, node);
                return xml::ToText(doc);
            },
            "Command"_a, "The text of a new request packet for the command.")
        .def(
            "SendXmlAndReadAnswer",
            [](TOstraDbProtocol& p, const std::string& request, InStreamArg<true>& in,
               OutStreamArg<true>& out) {
                pugi::xml_document requestDoc = ParseRequest(request);
                return Command(p, [&] {
                    pugi::xml_document answerDoc;
                    pugi::xml_node answerNode;
                    p.SendXmlAndReadAnswer(requestDoc, answerDoc, answerNode, in.stream.get(),
                                           out.stream.get());
                    return xml::ToText(answerDoc);
                });
            },
            "RequestDoc"_a, "Stream"_a = py::none(), "OutStream"_a = py::none(),
            "Sends the request document (XML text) and returns the answer document's text.")
        .def(
            "SendCommand",
            [](TOstraDbProtocol& p, std::string_view packet, InStreamArg<true>& in,
               OutStreamArg<true>& out) {
                return Command(p, [&] {
                    std::string answer;
                    pugi::xml_document answerDoc;
                    p.SendCommand(packet, in.stream.get(), answer, answerDoc, out.stream.get());
                    return answer;
                });
            },
            "PacketText"_a, "Stream"_a = py::none(), "OutStream"_a = py::none(),
            "The exchange for a packet given as text; returns the text of the last packet read.")
        .OSTRADB_NET(SendCmdToServer, "PacketText"_a)
        .OSTRADB_LOCAL(GetAnswer)
        // Safe from any thread and never busy: it is how another thread stops a request.
        .def("Terminate", &TOstraDbProtocol::Terminate, py::call_guard<py::gil_scoped_release>())

        .OSTRADB_NET(RequestRandomAuthValue)
        .OSTRADB_NET(SendLoginCommand, "User"_a, "Password"_a)
        .OSTRADB_NET(Login, "User"_a = "", "Password"_a = "")
        .OSTRADB_NET(GetServerVersion, "Version"_a);
}

}  // namespace ostradb::python
