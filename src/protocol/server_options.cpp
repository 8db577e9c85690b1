// Named server options.

#include <utility>

#include "ostradb/protocol/admin_commands.hpp"
#include "ostradb/serial/properties.hpp"
#include "ostradb/util/numbers.hpp"
#include "ostradb/util/text.hpp"

namespace ostradb {

const PropertyList& TServerOption::Properties() const {
    static const PropertyList list{
        Prop<&TServerOption::Name>("Name"),
        Prop<&TServerOption::Value>("Value"),
    };
    return list;
}

void TServerOptions::SaveToXML(std::string_view, pugi::xml_node node) const {
    ostradb::SaveToXML(Items, "", node);
}

void TServerOptions::LoadFromXML(std::string_view, pugi::xml_node node) {
    ostradb::LoadFromXML(Items, "", node);
}

const TServerOption* TServerOptions::FindByName(std::string_view Name) const {
    for (const TServerOption& option : Items)
        if (SameText(option.Name, Name)) return &option;
    return nullptr;
}

TServerOption* TServerOptions::FindByName(std::string_view Name) {
    return const_cast<TServerOption*>(std::as_const(*this).FindByName(Name));
}

std::string TServerOptions::GetOption(std::string_view Name) const {
    const TServerOption* option = FindByName(Name);
    return option ? option->Value : std::string();
}

std::int32_t TServerOptions::GetInteger(std::string_view Name) const {
    return StrToIntDef(GetOption(Name), 0);
}

void TServerOptions::SetOption(std::string_view Name, std::string_view Value) {
    TServerOption* option = FindByName(Name);
    if (!option) {
        option = &Items.Add();
        option->Name = std::string(Name);
    }
    option->Value = std::string(Value);
}

void TServerOptions::SetInteger(std::string_view Name, std::int32_t N) {
    SetOption(Name, IntToStr(N));
}

}  // namespace ostradb
