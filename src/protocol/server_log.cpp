// The server's message log as "request_log" answers it.

#include <cstring>

#include "ostradb/protocol/admin_commands.hpp"
#include "ostradb/serial/xml.hpp"

namespace ostradb {

void TServerLog::ReadFromXml(pugi::xml_node Node) {
    Items.Clear();
    for (pugi::xml_node c = Node.first_child(); c; c = c.next_sibling()) {
        if (c.type() != pugi::node_element || std::strcmp(c.name(), "item") != 0) continue;
        TServerLogRecord& record = Items.Add();
        record.Id = xml::AttrInt(c, "id");
        record.MsgType = xml::AttrInt(c, "type");
        record.User = xml::Attr(c, "user");
        record.Addr = xml::Attr(c, "addr");
        record.Text = xml::Attr(c, "text");
        record.Time = xml::AttrFloat(c, "time");
    }
}

}  // namespace ostradb
