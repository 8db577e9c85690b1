#pragma once

// Trunks (well bores) with the well-header attributes the server keeps for them.

#include <cstdint>
#include <string>
#include <string_view>

#include <pugixml.hpp>

#include "ostradb/export.hpp"
#include "ostradb/serial/xml_serializer.hpp"
#include "ostradb/util/collection.hpp"
#include "ostradb/util/dates.hpp"

namespace ostradb {

class PropertyList;

// One trunk. Serializer form: one attribute per field, named as the field, in this order.
class OSTRADB_API TTrunk : public Persistent {
public:
    std::string TId;  // the trunk's identifier
    std::int32_t DbId = 0;
    std::string FileName;
    std::string Country;
    std::string Deposit;
    std::string Field;
    std::string Cluster;
    std::string Well;
    std::string Owner;
    float AltRot = 0;
    float OverCollar = 0;
    float AltMouth = 0;
    float XMouth = 0;
    float YMouth = 0;
    std::string WellCategory;
    TDateTime WellCategoryDate = 0;
    std::string OgpdComm;
    std::string DrillDep;
    std::string GeophysDep;
    std::string Ogpd;
    std::string Detd;
    TDateTime DrillBegDate = 0;
    TDateTime DrillEndDate = 0;
    std::string ProjectHorizont;
    std::string ActualHorizont;
    float ProjectDepth = 0;
    float ActualDepth = 0;
    float ActualAbsDepth = 0;
    float OffsetXBottom = 0;
    float OffsetYBottom = 0;

    const PropertyList& Properties() const override;
    void Assign(const TTrunk& other) { *this = other; }

    // The template that maps the keys of a ws file's header to the fields above: 27 rows of
    // 41 characters (key and comma padded to 24, field name and unit padded to 17) separated
    // by LF CR.
    static std::string GetWsPattern();
};

// Serializer form: the trunks stand directly in the object's element.
class OSTRADB_API TTrunkList : public TXmlSerialized {
public:
    Collection<TTrunk> Items;

    void SaveToXML(std::string_view name, pugi::xml_node node) const override;
    void LoadFromXML(std::string_view name, pugi::xml_node node) override;
    void Assign(const TTrunkList& other) { Items.Assign(other.Items); }

    // The first trunk whose TId equals tid exactly (letter case counts), or null.
    TTrunk* Find(std::string_view tid);
    const TTrunk* Find(std::string_view tid) const;
    TTrunk& Add() { return Items.Add(); }
    void Clear() { Items.Clear(); }
    int GetCount() const { return Items.Count(); }
    TTrunk& GetItem(int i) { return Items[i]; }
    const TTrunk& GetItem(int i) const { return Items[i]; }
};

}  // namespace ostradb
