// The declared-property serializer against hand-written pugixml code producing and reading the
// same XML: a collection of 100,000 trunk-shaped records with 30 properties of mixed kinds.

#include <benchmark/benchmark.h>

#include <charconv>
#include <cstring>
#include <string>

#include "ostradb/serial/properties.hpp"
#include "ostradb/serial/xml_serializer.hpp"
#include "ostradb/util/collection.hpp"
#include "util/float_text.hpp"

namespace ostradb {
namespace {

struct Record : Persistent {
    std::string TId, FileName, Country, Deposit, Field, Cluster, Well, Owner;
    std::int32_t DbId = 0;
    float AltRot = 0, OverCollar = 0, AltMouth = 0, XMouth = 0, YMouth = 0;
    std::string WellCategory;
    double WellCategoryDate = 0;
    std::string OgpdComm, DrillDep, GeophysDep, Ogpd, Detd;
    double DrillBegDate = 0, DrillEndDate = 0;
    std::string ProjectHorizont, ActualHorizont;
    float ProjectDepth = 0, ActualDepth = 0, ActualAbsDepth = 0, OffsetXBottom = 0,
          OffsetYBottom = 0;

    const PropertyList& Properties() const override {
        static const PropertyList list{
            Prop<&Record::TId>("TId"),
            Prop<&Record::DbId>("DbId"),
            Prop<&Record::FileName>("FileName"),
            Prop<&Record::Country>("Country"),
            Prop<&Record::Deposit>("Deposit"),
            Prop<&Record::Field>("Field"),
            Prop<&Record::Cluster>("Cluster"),
            Prop<&Record::Well>("Well"),
            Prop<&Record::Owner>("Owner"),
            Prop<&Record::AltRot>("AltRot"),
            Prop<&Record::OverCollar>("OverCollar"),
            Prop<&Record::AltMouth>("AltMouth"),
            Prop<&Record::XMouth>("XMouth"),
            Prop<&Record::YMouth>("YMouth"),
            Prop<&Record::WellCategory>("WellCategory"),
            Prop<&Record::WellCategoryDate>("WellCategoryDate"),
            Prop<&Record::OgpdComm>("OgpdComm"),
            Prop<&Record::DrillDep>("DrillDep"),
            Prop<&Record::GeophysDep>("GeophysDep"),
            Prop<&Record::Ogpd>("Ogpd"),
            Prop<&Record::Detd>("Detd"),
            Prop<&Record::DrillBegDate>("DrillBegDate"),
            Prop<&Record::DrillEndDate>("DrillEndDate"),
            Prop<&Record::ProjectHorizont>("ProjectHorizont"),
            Prop<&Record::ActualHorizont>("ActualHorizont"),
            Prop<&Record::ProjectDepth>("ProjectDepth"),
            Prop<&Record::ActualDepth>("ActualDepth"),
            Prop<&Record::ActualAbsDepth>("ActualAbsDepth"),
            Prop<&Record::OffsetXBottom>("OffsetXBottom"),
            Prop<&Record::OffsetYBottom>("OffsetYBottom"),
        };
        return list;
    }
};

constexpr int kRecords = 100000;

Collection<Record> MakeRecords() {
    Collection<Record> c;
    for (int i = 0; i < kRecords; ++i) {
        Record& r = c.Add();
        r.TId = "T" + std::to_string(i);
        r.DbId = i % 7;
        r.FileName = "${Root_1}\\Месторождение\\" + std::to_string(i) + ".ws";
        r.Country = "Россия";
        r.Deposit = "Южное";
        r.Field = "Площадь " + std::to_string(i % 40);
        r.Cluster = std::to_string(i % 300);
        r.Well = std::to_string(i) + "a";
        r.Owner = "НГДУ-1";
        r.AltRot = 120.5f + i % 10;
        r.OverCollar = 0.75f;
        r.AltMouth = 115.25f;
        r.XMouth = 6543210.5f;
        r.YMouth = 1234567.25f;
        r.WellCategory = "эксплуатационная";
        r.WellCategoryDate = 40000 + i % 3000;
        r.OgpdComm = "ОАО";
        r.DrillDep = "УБР-2";
        r.GeophysDep = "УГР";
        r.Ogpd = "НГДУ";
        r.Detd = "РИТС-3";
        r.DrillBegDate = 39000.5;
        r.DrillEndDate = 39100.25;
        r.ProjectHorizont = "БС10";
        r.ActualHorizont = "БС11";
        r.ProjectDepth = 2850;
        r.ActualDepth = 2862.5f;
        r.ActualAbsDepth = -2741.25f;
        r.OffsetXBottom = 310.5f;
        r.OffsetYBottom = -120.75f;
    }
    return c;
}

void SetFloat(pugi::xml_node n, const char* name, double v, bool single) {
    char buf[32];
    buf[detail::FormatFloat(buf, v, single)] = '\0';
    n.append_attribute(name).set_value(buf);
}

void HandWrite(const Collection<Record>& c, pugi::xml_node node) {
    for (const Record& r : c) {
        pugi::xml_node n = node.append_child("Item");
        n.append_attribute("TId").set_value(r.TId.c_str());
        n.append_attribute("DbId").set_value(r.DbId);
        n.append_attribute("FileName").set_value(r.FileName.c_str());
        n.append_attribute("Country").set_value(r.Country.c_str());
        n.append_attribute("Deposit").set_value(r.Deposit.c_str());
        n.append_attribute("Field").set_value(r.Field.c_str());
        n.append_attribute("Cluster").set_value(r.Cluster.c_str());
        n.append_attribute("Well").set_value(r.Well.c_str());
        n.append_attribute("Owner").set_value(r.Owner.c_str());
        SetFloat(n, "AltRot", r.AltRot, true);
        SetFloat(n, "OverCollar", r.OverCollar, true);
        SetFloat(n, "AltMouth", r.AltMouth, true);
        SetFloat(n, "XMouth", r.XMouth, true);
        SetFloat(n, "YMouth", r.YMouth, true);
        n.append_attribute("WellCategory").set_value(r.WellCategory.c_str());
        SetFloat(n, "WellCategoryDate", r.WellCategoryDate, false);
        n.append_attribute("OgpdComm").set_value(r.OgpdComm.c_str());
        n.append_attribute("DrillDep").set_value(r.DrillDep.c_str());
        n.append_attribute("GeophysDep").set_value(r.GeophysDep.c_str());
        n.append_attribute("Ogpd").set_value(r.Ogpd.c_str());
        n.append_attribute("Detd").set_value(r.Detd.c_str());
        SetFloat(n, "DrillBegDate", r.DrillBegDate, false);
        SetFloat(n, "DrillEndDate", r.DrillEndDate, false);
        n.append_attribute("ProjectHorizont").set_value(r.ProjectHorizont.c_str());
        n.append_attribute("ActualHorizont").set_value(r.ActualHorizont.c_str());
        SetFloat(n, "ProjectDepth", r.ProjectDepth, true);
        SetFloat(n, "ActualDepth", r.ActualDepth, true);
        SetFloat(n, "ActualAbsDepth", r.ActualAbsDepth, true);
        SetFloat(n, "OffsetXBottom", r.OffsetXBottom, true);
        SetFloat(n, "OffsetYBottom", r.OffsetYBottom, true);
    }
}

template <class F>
void GetFloat(pugi::xml_node n, const char* name, F& v) {
    if (pugi::xml_attribute a = n.attribute(name)) {
        double d = 0;
        const char* s = a.value();
        std::from_chars(s, s + std::strlen(s), d);
        v = static_cast<F>(d);
    }
}

void GetString(pugi::xml_node n, const char* name, std::string& v) {
    if (pugi::xml_attribute a = n.attribute(name)) v = a.value();
}

void HandRead(Collection<Record>& c, pugi::xml_node node) {
    c.Clear();
    for (pugi::xml_node n = node.child("Item"); n; n = n.next_sibling("Item")) {
        Record& r = c.Add();
        GetString(n, "TId", r.TId);
        if (pugi::xml_attribute a = n.attribute("DbId")) r.DbId = a.as_int();
        GetString(n, "FileName", r.FileName);
        GetString(n, "Country", r.Country);
        GetString(n, "Deposit", r.Deposit);
        GetString(n, "Field", r.Field);
        GetString(n, "Cluster", r.Cluster);
        GetString(n, "Well", r.Well);
        GetString(n, "Owner", r.Owner);
        GetFloat(n, "AltRot", r.AltRot);
        GetFloat(n, "OverCollar", r.OverCollar);
        GetFloat(n, "AltMouth", r.AltMouth);
        GetFloat(n, "XMouth", r.XMouth);
        GetFloat(n, "YMouth", r.YMouth);
        GetString(n, "WellCategory", r.WellCategory);
        GetFloat(n, "WellCategoryDate", r.WellCategoryDate);
        GetString(n, "OgpdComm", r.OgpdComm);
        GetString(n, "DrillDep", r.DrillDep);
        GetString(n, "GeophysDep", r.GeophysDep);
        GetString(n, "Ogpd", r.Ogpd);
        GetString(n, "Detd", r.Detd);
        GetFloat(n, "DrillBegDate", r.DrillBegDate);
        GetFloat(n, "DrillEndDate", r.DrillEndDate);
        GetString(n, "ProjectHorizont", r.ProjectHorizont);
        GetString(n, "ActualHorizont", r.ActualHorizont);
        GetFloat(n, "ProjectDepth", r.ProjectDepth);
        GetFloat(n, "ActualDepth", r.ActualDepth);
        GetFloat(n, "ActualAbsDepth", r.ActualAbsDepth);
        GetFloat(n, "OffsetXBottom", r.OffsetXBottom);
        GetFloat(n, "OffsetYBottom", r.OffsetYBottom);
    }
}

const Collection<Record>& Records() {
    static const Collection<Record> records = MakeRecords();
    return records;
}

void BM_Serializer_Save(benchmark::State& state) {
    const auto& records = Records();
    for (auto _ : state) {
        pugi::xml_document doc;
        SaveToXML(records, "Trunks", doc);
        benchmark::DoNotOptimize(doc.first_child());
    }
    state.SetItemsProcessed(state.iterations() * kRecords);
}

void BM_HandWritten_Save(benchmark::State& state) {
    const auto& records = Records();
    for (auto _ : state) {
        pugi::xml_document doc;
        HandWrite(records, doc.append_child("Trunks"));
        benchmark::DoNotOptimize(doc.first_child());
    }
    state.SetItemsProcessed(state.iterations() * kRecords);
}

const pugi::xml_document& SavedDocument() {
    static const pugi::xml_document* doc = [] {
        auto* d = new pugi::xml_document;
        SaveToXML(Records(), "Trunks", *d);
        return d;
    }();
    return *doc;
}

void BM_Serializer_Load(benchmark::State& state) {
    pugi::xml_node node = SavedDocument().child("Trunks");
    for (auto _ : state) {
        Collection<Record> c;
        LoadFromXML(c, "", node);
        benchmark::DoNotOptimize(c.Count());
    }
    state.SetItemsProcessed(state.iterations() * kRecords);
}

void BM_HandWritten_Load(benchmark::State& state) {
    pugi::xml_node node = SavedDocument().child("Trunks");
    for (auto _ : state) {
        Collection<Record> c;
        HandRead(c, node);
        benchmark::DoNotOptimize(c.Count());
    }
    state.SetItemsProcessed(state.iterations() * kRecords);
}

BENCHMARK(BM_Serializer_Save)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_HandWritten_Save)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Serializer_Load)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_HandWritten_Load)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace ostradb
