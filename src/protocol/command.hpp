#pragma once

// What every command method of TOstraDbProtocol is made of:
//
//   void TOstraDbProtocol::DeleteFile(const std::string& FileName) {
//       detail::HostPortGuard hostPort(*this);  // the name may switch the server
//       detail::Request req(*this, "delete_file");
//       req.Set("file_name", CheckFileName(FileName));
//       detail::Answer ans = req.Exchange();
//       ... read ans.answer ...
//   }
//
// Exchange takes an optional stream to send as payload and one to receive a payload into.

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>

#include <pugixml.hpp>

#include "ostradb/protocol/ostradb_protocol.hpp"
#include "ostradb/serial/xml.hpp"
#include "ostradb/util/exceptions.hpp"
#include "protocol/answer_stream.hpp"
#include "protocol/scope_exit.hpp"

namespace ostradb::detail {

// The final answer of a request.
struct Answer {
    std::unique_ptr<pugi::xml_document> doc = std::make_unique<pugi::xml_document>();
    // The "answer" element, created empty when the server sent none.
    pugi::xml_node answer;
    // The root "packet" element ("error" and "bin_data_size" live here).
    pugi::xml_node Root() const { return doc->document_element(); }
};

// A request packet under construction: "packet" holding "command" with cmd set.
class Request {
public:
    Request(TOstraDbProtocol& client, const std::string& cmd) : client_(client) {
        TOstraDbProtocol::CreatePacketXml(cmd, doc, command);
        packet = doc.document_element();
    }

    // Attributes of the command element.
    Request& Set(const char* name, std::string_view value) {
        xml::SetAttr(command, name, value);
        return *this;
    }
    Request& Set(const char* name, std::int64_t value) {
        xml::SetAttr(command, name, value);
        return *this;
    }
    // "true" or "false".
    Request& SetBool(const char* name, bool value) {
        xml::SetBoolXmlAttr(command, name, value);
        return *this;
    }

    // Sends the request (send's bytes as its payload) and reads the final answer; a payload
    // of the answer goes to receive, or is dropped.
    Answer Exchange(std::istream* send = nullptr, std::ostream* receive = nullptr) {
        Answer result;
        client_.SendXmlAndReadAnswer(doc, *result.doc, result.answer, send, receive);
        return result;
    }

    // Exchange for a list answer: its records go to sink as they arrive, the answer holds the
    // rest. A failed request drops the records it delivered, but for a record the reader
    // refused (EConvertError): the records before it stay, as a reader of the whole answer
    // leaves them.
    Answer Exchange(AnswerSink& sink) {
        client_.answerSink_ = &sink;
        ScopeExit clear([&] { client_.answerSink_ = nullptr; });
        try {
            Answer answer = Exchange();
            sink.Complete();
            return answer;
        } catch (const EConvertError&) {
            throw;
        } catch (...) {
            sink.Start();
            throw;
        }
    }

    pugi::xml_document doc;
    pugi::xml_node packet;
    pugi::xml_node command;

private:
    TOstraDbProtocol& client_;
};

// Remembers the client's host and port and restores them when the scope ends, by any way out:
// command methods take file names whose address prefixes switch the server for one request.
class HostPortGuard {
public:
    explicit HostPortGuard(TOstraDbProtocol& client)
        : client_(client), host_(client.GetHost()), port_(client.GetPort()) {}
    ~HostPortGuard() { client_.SetHostPort(host_, port_); }
    HostPortGuard(const HostPortGuard&) = delete;
    HostPortGuard& operator=(const HostPortGuard&) = delete;

private:
    TOstraDbProtocol& client_;
    std::string host_;
    std::int32_t port_;
};

}  // namespace ostradb::detail
