#include "ostradb/model/trunks.hpp"

#include <utility>

#include "ostradb/serial/properties.hpp"
#include "ostradb/util/text.hpp"

namespace ostradb {

const PropertyList& TTrunk::Properties() const {
    // TTrunk has a member named Field, so the template is named in full.
    static const PropertyList list{
        ostradb::Prop<&TTrunk::TId>("TId"),
        ostradb::Prop<&TTrunk::DbId>("DbId"),
        ostradb::Prop<&TTrunk::FileName>("FileName"),
        ostradb::Prop<&TTrunk::Country>("Country"),
        ostradb::Prop<&TTrunk::Deposit>("Deposit"),
        ostradb::Prop<&TTrunk::Field>("Field"),
        ostradb::Prop<&TTrunk::Cluster>("Cluster"),
        ostradb::Prop<&TTrunk::Well>("Well"),
        ostradb::Prop<&TTrunk::Owner>("Owner"),
        ostradb::Prop<&TTrunk::AltRot>("AltRot"),
        ostradb::Prop<&TTrunk::OverCollar>("OverCollar"),
        ostradb::Prop<&TTrunk::AltMouth>("AltMouth"),
        ostradb::Prop<&TTrunk::XMouth>("XMouth"),
        ostradb::Prop<&TTrunk::YMouth>("YMouth"),
        ostradb::Prop<&TTrunk::WellCategory>("WellCategory"),
        ostradb::Prop<&TTrunk::WellCategoryDate>("WellCategoryDate"),
        ostradb::Prop<&TTrunk::OgpdComm>("OgpdComm"),
        ostradb::Prop<&TTrunk::DrillDep>("DrillDep"),
        ostradb::Prop<&TTrunk::GeophysDep>("GeophysDep"),
        ostradb::Prop<&TTrunk::Ogpd>("Ogpd"),
        ostradb::Prop<&TTrunk::Detd>("Detd"),
        ostradb::Prop<&TTrunk::DrillBegDate>("DrillBegDate"),
        ostradb::Prop<&TTrunk::DrillEndDate>("DrillEndDate"),
        ostradb::Prop<&TTrunk::ProjectHorizont>("ProjectHorizont"),
        ostradb::Prop<&TTrunk::ActualHorizont>("ActualHorizont"),
        ostradb::Prop<&TTrunk::ProjectDepth>("ProjectDepth"),
        ostradb::Prop<&TTrunk::ActualDepth>("ActualDepth"),
        ostradb::Prop<&TTrunk::ActualAbsDepth>("ActualAbsDepth"),
        ostradb::Prop<&TTrunk::OffsetXBottom>("OffsetXBottom"),
        ostradb::Prop<&TTrunk::OffsetYBottom>("OffsetYBottom"),
    };
    return list;
}

namespace {

struct PatternRow {
    const char* key;
    const char* field;
    bool metres;
};

// The header keys are Russian; two of them mix alphabets on purpose and must stay so.
constexpr PatternRow kPatternRows[] = {
    {"страна", "Country", false},
    {"месторождение", "Deposit", false},
    {"площадь", "Field", false},
    {"куст", "Cluster", false},
    {"скважина", "Well", false},
    {"владелец", "Owner", false},
    {"альтитуда_стола_ротора", "AltRot", true},
    {"превышение_над_муфтой", "OverCollar", true},
    {"альтитуда_устья", "AltMouth", true},
    {"коорд_х_устья", "XMouth", true},
    {"коорд_y_устья", "YMouth", true},  // the "y" is Latin
    {"категория_скважины", "WellCategory", false},
    {"дата_категория_скв", "WellCategoryDate", false},
    {"нефте_газ_доб_обьед", "OgpdComm", false},
    {"упр_буровых_работ", "DrillDep", false},
    {"упр_геофиз_работ", "GeophysDep", false},
    {"нгду", "Ogpd", false},
    {"ритс", "Detd", false},
    {"дата_начала_бурения", "DrillBegDate", false},
    {"дата_окончан_бурения", "DrillEndDate", false},
    {"горизонт_проектный", "ProjectHorizont", false},
    {"горизонт_фактический", "ActualHorizont", false},
    {"глубина_проект_скв", "ProjectDepth", true},
    {"глубина_фактич_скв", "ActualDepth", true},
    {"абс_глуб_фактич_скв", "ActualAbsDepth", true},
    {"смещ_х_глуб_фактич", "OffsetXBottom", true},
    {"смещ_у_глуб_фактич", "OffsetYBottom", true},
};

void AppendPadded(std::string& out, std::string_view text, std::size_t width) {
    out += text;
    for (std::size_t n = CodePointCount(text); n < width; ++n)
        out += ' ';
}

std::string BuildWsPattern() {
    std::string text;
    bool first = true;
    for (const PatternRow& row : kPatternRows) {
        if (!first) text += "\n\r";
        first = false;
        AppendPadded(text, std::string(row.key) + ",", 24);
        AppendPadded(text, row.metres ? std::string(row.field) + ", м" : std::string(row.field),
                     17);
    }
    return text;
}

}  // namespace

std::string TTrunk::GetWsPattern() {
    static const std::string pattern = BuildWsPattern();
    return pattern;
}

void TTrunkList::SaveToXML(std::string_view, pugi::xml_node node) const {
    ostradb::SaveToXML(Items, "", node);
}

void TTrunkList::LoadFromXML(std::string_view, pugi::xml_node node) {
    ostradb::LoadFromXML(Items, "", node);
}

const TTrunk* TTrunkList::Find(std::string_view tid) const {
    for (const TTrunk& t : Items)
        if (t.TId == tid) return &t;
    return nullptr;
}

TTrunk* TTrunkList::Find(std::string_view tid) {
    return const_cast<TTrunk*>(std::as_const(*this).Find(tid));
}

}  // namespace ostradb
