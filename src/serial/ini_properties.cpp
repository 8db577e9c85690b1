#include "ostradb/serial/ini_properties.hpp"

#include <string>

#include "ostradb/serial/properties.hpp"
#include "ostradb/util/ini_file.hpp"
#include "ostradb/util/numbers.hpp"
#include "ostradb/util/string_list.hpp"

namespace ostradb {

namespace {

std::string ReplaceAll(std::string s, std::string_view from, std::string_view to) {
    for (std::size_t pos = s.find(from); pos != std::string::npos;
         pos = s.find(from, pos + to.size()))
        s.replace(pos, from.size(), to);
    return s;
}

bool IsOrdinal(PropKind kind) {
    return kind == PropKind::Integer || kind == PropKind::Char || kind == PropKind::Enumeration ||
           kind == PropKind::Set;
}

const TStringList* ListOf(const PropInfo& p, const Persistent& obj) {
    return p.kind == PropKind::Object ? dynamic_cast<const TStringList*>(p.getObject(obj))
                                      : nullptr;
}

}  // namespace

void SavePropertiesToIni(const Persistent& obj, TMemIniFile& ini, std::string_view section) {
    for (const PropInfo& p : obj.Properties()) {
        if (!p.IsStored(obj)) continue;
        if (IsOrdinal(p.kind)) {
            ini.WriteInteger(section, p.name, p.getOrdinal(obj));
        } else if (p.kind == PropKind::Float) {
            ini.WriteFloat(section, p.name, p.getFloat(obj));
        } else if (p.kind == PropKind::String) {
            ini.WriteString(section, p.name, p.getString(obj));
        } else if (const TStringList* list = ListOf(p, obj)) {
            ini.WriteString(section, p.name, ReplaceAll(list->CommaText(), "\r\n", "|"));
        }
    }
}

void LoadPropertiesFromIni(Persistent& obj, const TMemIniFile& ini, std::string_view section) {
    for (const PropInfo& p : obj.Properties()) {
        if (!p.IsStored(obj) || !ini.ValueExists(section, p.name)) continue;
        const std::string text = ini.ReadString(section, p.name, "");
        if (IsOrdinal(p.kind)) {
            std::int64_t v;
            if (p.setOrdinal && TryStrToInt64(text, v)) p.setOrdinal(obj, v);
        } else if (p.kind == PropKind::Float) {
            // Text that is not a number reads as the current value.
            if (p.setFloat) p.setFloat(obj, ini.ReadFloat(section, p.name, p.getFloat(obj)));
        } else if (p.kind == PropKind::String) {
            if (p.setString) p.setString(obj, text);
        } else if (p.kind == PropKind::Object) {
            if (auto* list = const_cast<TStringList*>(ListOf(p, obj)))
                list->SetCommaText(ReplaceAll(text, "|", "\r\n"));
        }
    }
}

}  // namespace ostradb
