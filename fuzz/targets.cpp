// The readers of outside bytes, each with the properties its output must keep. XML targets
// take the input as a document and hand its root to every reader of that family.

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "client/password_file.hpp"
#include "client/session.hpp"
#include "fuzz.hpp"
#include "ostradb/model/databases.hpp"
#include "ostradb/model/level_files.hpp"
#include "ostradb/model/trunks.hpp"
#include "ostradb/protocol/ostradb_protocol.hpp"
#include "ostradb/serial/properties.hpp"
#include "ostradb/serial/xml.hpp"
#include "ostradb/users/users.hpp"
#include "ostradb/util/code_pages.hpp"
#include "ostradb/util/ini_file.hpp"
#include "ostradb/util/text.hpp"
#include "ostradb/util/variant.hpp"
#include "ostradb/util/well_names.hpp"
#include "protocol/answer_stream.hpp"
#include "protocol/list_answers.hpp"
#include "protocol/packet_reader.hpp"
#include "protocol/wire.hpp"

namespace ostradb::fuzz {

namespace {

// Runs f; the library's refusal of bad input is an expected outcome.
template <class F>
bool Try(F f) {
    try {
        f();
        return true;
    } catch (const Error&) {
        return false;
    }
}

// Runs each reader on the root of the input read as a document.
template <class... Readers>
void OnDocument(std::string_view input, Readers... readers) {
    pugi::xml_document doc;
    if (!Try([&] { xml::Parse(doc, input); })) return;
    const pugi::xml_node root = doc.document_element();
    (Try([&] { readers(root); }), ...);
}

// What obj's serializer form reads back as: the same form again.
template <class T>
void RoundTrips(const T& obj) {
    const std::string saved = SaveToXMLString(obj, "Root", false);
    T again;
    LoadFromXMLString(again, "Root", false, saved);
    FUZZ_CHECK_SAME(SaveToXMLString(again, "Root", false), saved);
}

template <class T>
void LoadsAndRoundTrips(pugi::xml_node root) {
    T obj;
    LoadFromXML(obj, "", root);
    RoundTrips(obj);
}

// Framing with the input cut into pieces whose sizes its first bytes give: the packets and
// what is left must be those of the input fed whole; every packet is then parsed.
void Packets(std::string_view input) {
    if (input.size() < 2) return;
    const std::size_t cap = 64 + static_cast<unsigned char>(input[0]) * 4;
    const std::size_t piece = 1 + static_cast<unsigned char>(input[1]) % 32;
    input.remove_prefix(2);
    auto run = [&](std::size_t size, std::vector<std::string>& packets) {
        PacketReader reader(cap);
        std::string packet;
        const bool complete = Try([&] {
            for (std::size_t at = 0; at < input.size(); at += size) {
                reader.Feed(input.substr(at, size));
                while (reader.Next(packet))
                    packets.push_back(packet);
            }
        });
        // Fed piece by piece, the buffer stays within the cap and one piece.
        FUZZ_CHECK(size == input.size() || reader.Capacity() <= cap + size);
        return complete ? std::string(reader.Pending()) : std::string("refused");
    };
    std::vector<std::string> whole, pieces;
    FUZZ_CHECK_SAME(run(input.size(), whole), run(piece, pieces));
    FUZZ_CHECK(whole == pieces);
    for (const std::string& packet : whole) {
        pugi::xml_document doc;
        Try([&] { wire::ParsePacket(wire::DecodeText(packet), doc); });
    }
}

void Databases(std::string_view input) {
    OnDocument(
        input,
        [](pugi::xml_node root) {
            TDatabasesList list;
            list.ReadFromXml(root);
            for (const TDatabaseInfo& info : list.Items) {
                pugi::xml_document out;
                info.WriteToXml(out.append_child("db"));
                Try([&] { info.ShortFileNameToFullFileName("${Root_1}\\a.ws", true); });
            }
        },
        [](pugi::xml_node root) { TDatabaseInfo().ReadFromXml(root); });
}

void Structure(std::string_view input) {
    OnDocument(
        input,
        [](pugi::xml_node root) {
            TDbStruct structure;
            structure.ReadFromXml(root);
            TDbLogicalStructures logical;
            logical.SetDefaultStruct(structure);
        },
        [](pugi::xml_node root) { LoadsAndRoundTrips<TDbLogicalStruct>(root); },
        [](pugi::xml_node root) { TVTables().ReadFromXml(root); },
        [](pugi::xml_node root) { TVTableOptions().ReadFromXml(root); },
        [](pugi::xml_node root) { LoadsAndRoundTrips<TVTableOptions>(root); });
}

void LevelFiles(std::string_view input) {
    TDbStruct structure;
    for (const char* type : {"%field", "%well", "%survey"})
        structure.AddNewItem().Type = type;
    auto check = [](TLevelFilesList& files) {
        files.SmartSort();
        pugi::xml_document out;
        files.SaveToApiXML_Ex(out.append_child("x"));
        RoundTrips(files);
    };
    OnDocument(
        input,
        [&](pugi::xml_node root) {
            TLevelFilesList files;
            files.ReadFromXml(root, &structure);
            check(files);
        },
        [&](pugi::xml_node root) {
            TLevelFilesList files;
            files.LoadFromWSViewsListXml(root);
            check(files);
        },
        [&](pugi::xml_node root) {
            TLevelFilesList files;
            files.LoadFromApiXML(root);
            check(files);
        });
}

// A listing packet read as it arrives, in pieces whose size the first byte gives: the same
// outcome as fed whole, and, where the whole packet also parses, the files a reader of the
// parsed answer finds.
void ListStream(std::string_view input) {
    if (input.empty()) return;
    const std::size_t piece = 1 + static_cast<unsigned char>(input[0]) % 64;
    input.remove_prefix(1);
    TDbStruct structure;
    for (const char* type : {"%field", "%well"})
        structure.AddNewItem().Type = type;
    auto streamed = [&](std::size_t size) {
        TLevelFilesList list;
        detail::FileRecords sink(list, &structure);
        detail::AnswerReader reader(&sink, std::size_t{1} << 16);
        pugi::xml_document doc;
        if (!Try([&] {
                for (std::size_t at = 0; at < input.size(); at += size)
                    reader.Feed(input.substr(at, size));
                reader.Finish(doc);
                sink.Complete();
            }))
            return std::string("refused");
        return SaveToXMLString(list, "L", false);
    };
    const std::string whole = streamed(input.size());
    FUZZ_CHECK_SAME(streamed(piece), whole);
    std::string parsed = "refused";
    Try([&] {
        pugi::xml_document doc;
        wire::ParsePacket(wire::DecodeText(input), doc);
        TLevelFilesList list;
        list.ReadFromXml(xml::Child(doc.document_element(), "answer"), &structure);
        parsed = SaveToXMLString(list, "L", false);
    });
    if (whole != "refused" && parsed != "refused") FUZZ_CHECK_SAME(whole, parsed);
}

// The password file's text and a packet's announced payload size, both read by the client.
void ClientText(std::string_view input) {
    const std::optional<std::string> found = detail::PasswordIn(input, "host", 22344, "admin");
    // A last line that matches everything is found unless an earlier one matched.
    const std::string fallback = std::string(input) + "\n*:*:*:fallback";
    FUZZ_CHECK_SAME(detail::PasswordIn(fallback, "host", 22344, "admin").value_or("none"),
                    found.value_or("fallback"));
    const std::int64_t size = detail::AnnouncedPayloadSize(input);
    FUZZ_CHECK(size == -1 ||
               (size >= 0 && input.find("bin_data_size=\"") != std::string_view::npos));
}

void Levels(std::string_view input) {
    OnDocument(input, [](pugi::xml_node root) { TLevelsList().ReadFromXml(root, nullptr); });
}

void Filters(std::string_view input) {
    TFilter filter;
    filter.ReadFromXmlStr(input);
    const std::string text = filter.FillToXmlStr();
    TFilter again;
    again.ReadFromXmlStr(text);
    FUZZ_CHECK_SAME(again.FillToXmlStr(), text);
}

void Users(std::string_view input) {
    OnDocument(input, [](pugi::xml_node root) {
        TUmData data;
        LoadFromXML(data, "", root);
        Try([&] { data.CheckForConsistency(); });
        RoundTrips(data);
        data.CleanData(TDatabasesList());
    });
}

void Trunks(std::string_view input) {
    OnDocument(
        input, [](pugi::xml_node root) { LoadsAndRoundTrips<TTrunkList>(root); },
        [](pugi::xml_node root) { LoadsAndRoundTrips<TMapTrunks>(root); },
        [](pugi::xml_node root) { LoadsAndRoundTrips<TFilesForTrunkList>(root); });
}

void Columns(std::string_view input) {
    OnDocument(
        input, [](pugi::xml_node root) { LoadsAndRoundTrips<TTableColumnNames>(root); },
        [](pugi::xml_node root) { TTableCols().LoadFromWSViewsListXml(root); },
        [](pugi::xml_node root) { TSimpleCurvesList().ReadFromXml(root); });
}

void Curves(std::string_view input) {
    OnDocument(
        input,
        [](pugi::xml_node root) {
            TCurvesList curves;
            LoadFromXML(curves, "", root);
            TStringList lines;
            curves.SaveToStrings(lines, TCurvesListOpts::FromMask(0x3FF), ";");
            RoundTrips(curves);
        },
        [](pugi::xml_node root) { LoadsAndRoundTrips<TStratumDataItems>(root); },
        [](pugi::xml_node root) { LoadsAndRoundTrips<TFindCurveResult>(root); },
        [](pugi::xml_node root) { LoadsAndRoundTrips<TSearchLevelsResult>(root); },
        [](pugi::xml_node root) { LoadsAndRoundTrips<TParseFileNameResult>(root); },
        [](pugi::xml_node root) {
            TGetCollectionsListResult collections;
            LoadFromXML(collections, "", root);
        },
        [](pugi::xml_node root) {
            TGetStartTextAndInfoResult texts;
            LoadFromXML(texts, "", root);
        });
}

// The answers of the administration and file commands.
void Admin(std::string_view input) {
    OnDocument(
        input, [](pugi::xml_node root) { TServerLog().ReadFromXml(xml::Child(root, "log")); },
        [](pugi::xml_node root) { LoadsAndRoundTrips<TServerOptions>(root); },
        [](pugi::xml_node root) { TFilesStatResult().ReadFromXml(root); },
        [](pugi::xml_node root) {
            TSimpleResultLog log;
            LoadFromXML(log, "Log", root);
        },
        [](pugi::xml_node root) { TErroneousFiles().LoadFromXML(root); },
        [](pugi::xml_node root) {
            TSimpleFileInfoItems info;
            LoadFromXML(info, "Result", root);
        });
}

// Every kind of declared property.
enum EKind : std::uint8_t { kOne, kTwo, kThree };
class AllKinds : public Persistent {
public:
    std::int32_t Int = 0;
    bool Flag = false;
    EKind Kind = kOne;
    Set<EKind> Kinds;
    std::int64_t Big = 0;
    float Single = 0;
    double Double = 0;
    std::string Text;
    Variant Var;
    char Letter = 'a';
    std::uint32_t Mask = 0;
    TStringList Lines;
    Collection<TTrunk> Items;
    std::unique_ptr<TDbLogicalStruct> Child;

    const PropertyList& Properties() const override {
        static const PropertyList list{
            Prop<&AllKinds::Int>("Int").Default(-1),
            Prop<&AllKinds::Flag>("Flag"),
            Prop<&AllKinds::Kind>("Kind"),
            Prop<&AllKinds::Kinds>("Kinds"),
            Prop<&AllKinds::Big>("Big"),
            Prop<&AllKinds::Single>("Single"),
            Prop<&AllKinds::Double>("Double"),
            Prop<&AllKinds::Text>("Text"),
            Prop<&AllKinds::Var>("Var"),
            Prop<&AllKinds::Letter>("Letter"),
            Prop<&AllKinds::Mask>("Mask"),
            Prop<&AllKinds::Lines>("Lines"),
            Prop<&AllKinds::Items>("Items"),
            Prop<&AllKinds::Child>("Child"),
        };
        return list;
    }
};

// The first byte picks the one-line form.
void Serializer(std::string_view input) {
    if (input.empty()) return;
    const bool oneLine = input[0] & 1;
    AllKinds obj;
    if (Try([&] { LoadFromXMLString(obj, "Root", oneLine, input.substr(1)); })) RoundTrips(obj);
}

// What a text form reads back as after it was written again: the same text.
void SimpleText(std::string_view input) {
    TFilter filter;
    TStringList lines;
    lines.SetText(input);
    filter.ReadSimpleText(lines);
    TStringList written, rewritten;
    filter.FillToSimpleText(written);
    TFilter again;
    again.ReadSimpleText(written);
    again.FillToSimpleText(rewritten);
    FUZZ_CHECK_SAME(rewritten.Text(), written.Text());

    TStringList items;
    items.SetCommaText(input);
    TStringList back;
    back.SetCommaText(items.CommaText());
    FUZZ_CHECK_SAME(back.Text(), items.Text());

    Try([&] { TSearchRequest().ReadFromSimpleText(input); });
    TMapSpecialCols().ReadFromText(input);
}

// Every value of an INI file, section by section (the unnamed one first).
std::string Values(const TMemIniFile& ini) {
    TStringList sections, keys;
    ini.ReadSections(sections);
    sections.Insert(0, "");
    std::string out;
    for (const std::string& section : sections) {
        ini.ReadSection(section, keys);
        for (const std::string& key : keys)
            out += section + "|" + key + "=" + ini.ReadString(section, key, "") + "\n";
    }
    return out;
}

// The input as a client's settings file: its values survive a rewrite; the databases'
// settings and the filters are read from it.
void Ini(std::string_view input) {
    static const std::filesystem::path dir = [] {
        auto path =
            std::filesystem::temp_directory_path() / ("ostradb-fuzz-" + std::to_string(::getpid()));
        std::filesystem::create_directories(path);
        std::atexit([] { std::filesystem::remove_all(dir); });
        return path;
    }();
    TDatabases databases;
    databases.SettingsDir = dir.string();
    const std::string file = databases.GetSettingsFileName("fuzz");
    std::ofstream(file, std::ios::binary | std::ios::trunc) << input;

    std::string text, values;
    if (!Try([&] {
            const TMemIniFile ini(file);
            text = ini.ToText();
            values = Values(ini);
        }))
        return;
    for (const char* name : {"A", "Скважины"}) {
        TDatabase& db = databases.Add();
        db.Info.Name = name;
        db.GetStructure().AddNewItem().Type = "%well";
    }
    Try([&] { databases.LoadSettingsFromIniEx("fuzz"); });
    std::ofstream(file, std::ios::binary | std::ios::trunc) << text;
    FUZZ_CHECK_SAME(Values(TMemIniFile(file)), values);
}

void CodePages(std::string_view input) {
    for (CodePage page : {CodePage::Windows1251, CodePage::Dos866}) {
        std::string utf8, bytes;
        AppendDecoded(page, input, utf8);
        AppendEncoded(page, utf8, bytes);
        FUZZ_CHECK_SAME(bytes, input);

        // The input as UTF-8: written whole and read back the same, or refused.
        const bool fits = CanEncode(page, input);
        std::string encoded, decoded;
        const bool written = Try([&] { AppendEncoded(page, input, encoded); });
        FUZZ_CHECK(written == fits);
        if (written) {
            AppendDecoded(page, encoded, decoded);
            FUZZ_CHECK_SAME(decoded, input);
        }
    }
}

int Sign(int v) {
    return (v > 0) - (v < 0);
}

// Irreflexive, asymmetric and transitive (including its equivalence) on every triple.
void CheckOrdering(const std::vector<std::string>& names,
                   int (*compare)(std::string_view, std::string_view)) {
    for (const std::string& a : names) {
        FUZZ_CHECK(compare(a, a) == 0);
        for (const std::string& b : names) {
            const int ab = Sign(compare(a, b));
            FUZZ_CHECK(ab == -Sign(compare(b, a)));
            for (const std::string& c : names)
                if (ab <= 0 && compare(b, c) <= 0) FUZZ_CHECK(compare(a, c) <= 0);
        }
    }
}

// Up to eight names, one a line; the files sorted by SmartSort have them as field and well.
void WellNames(std::string_view input) {
    TStringList lines;
    lines.SetText(input);
    std::vector<std::string> names(lines.begin(), lines.begin() + std::min(lines.Count(), 8));
    CheckOrdering(names, CompareWellNames);
    CheckOrdering(names, CompareText);

    for (bool byWellName : {false, true}) {
        TStringList sorted(names);
        SortItemsList(sorted, byWellName);
        for (int i = 1; i < sorted.Count(); ++i)
            FUZZ_CHECK((byWellName ? CompareWellNames : CompareText)(sorted[i - 1], sorted[i]) <=
                       0);
    }

    TLevelFilesList files;
    const std::size_t n = names.size();
    for (std::size_t i = 0; i < n; ++i) {
        TLevelFile& file = files.Add();
        file.PathNames.Add("%field=" + names[i]);
        file.PathNames.Add("%well=" + names[(i * 3 + 1) % n]);
    }
    files.SmartSort();
    FUZZ_CHECK(files.GetCount() == static_cast<int>(n));
    for (int i = 1; i < files.GetCount(); ++i) {
        const TStringList& a = files.GetItem(i - 1).PathNames;
        const TStringList& b = files.GetItem(i).PathNames;
        const int field = CompareText(a.ValueFromIndex(0), b.ValueFromIndex(0));
        FUZZ_CHECK(field < 0 ||
                   (field == 0 && CompareWellNames(a.ValueFromIndex(1), b.ValueFromIndex(1)) <= 0));
    }
}

struct Named {
    std::string_view name;
    Target target;
};

constexpr Named kTargets[] = {
    {"packets", Packets},
    {"databases", Databases},
    {"structure", Structure},
    {"level_files", LevelFiles},
    {"levels", Levels},
    {"filters", Filters},
    {"users", Users},
    {"trunks", Trunks},
    {"columns", Columns},
    {"curves", Curves},
    {"serializer", Serializer},
    {"simple_text", SimpleText},
    {"ini", Ini},
    {"code_pages", CodePages},
    {"well_names", WellNames},
    {"admin", Admin},
    {"exchange", Exchange},
    {"list_stream", ListStream},
    {"client_text", ClientText},
};

}  // namespace

Target Find(std::string_view name) {
    for (const Named& t : kTargets)
        if (t.name == name) return t.target;
    std::fprintf(stderr, "no fuzz target \"%.*s\"\n", static_cast<int>(name.size()), name.data());
    std::abort();
}

void Violated(const char* check, const char* file, int line) {
    std::fprintf(stderr, "%s:%d: the input broke: %s\n", file, line, check);
    std::abort();
}

void Differ(std::string_view a, std::string_view b, const char* check, const char* file, int line) {
    auto show = [](std::string_view text) {
        std::string out;
        for (unsigned char c : text) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, c < 0x20 || c == 0x7F ? "\\x%02X" : "%c", c);
            out += escaped;
        }
        return out;
    };
    std::fprintf(stderr, "%s\n----\n%s\n----\n", show(a).c_str(), show(b).c_str());
    Violated(check, file, line);
}

}  // namespace ostradb::fuzz
