#include "ostradb/users/users.hpp"

#include <utility>

#include "ostradb/model/databases.hpp"
#include "ostradb/serial/properties.hpp"
#include "ostradb/util/exceptions.hpp"
#include "ostradb/util/text.hpp"

namespace ostradb {

// ---- rights ----

TRights::TRights()
    : items_{{
          {"Просмотр данных", 1},
          {"Изменение данных ws-файлов", 2},
          {"Добавление/удаление ws-файлов", 4},
          {"Управление списком баз данных", 8},
          {"Управление сервером", 16},
          {"Управление правами пользователей", 32},
          {"Просмотр каталогов", 64},
      }} {}

TRights::TRightItem TRights::Item(int i) const {
    if (i < 0 || i >= Count) detail::ThrowListIndex(i, Count);
    return items_[static_cast<std::size_t>(i)];
}

std::string TRights::RightsToString(std::uint32_t mask) const {
    std::string text;
    for (const TRightItem& item : items_) {
        if ((mask & item.Bit) == 0) continue;
        if (!text.empty()) text += ", ";
        text += item.Name;
    }
    return text;
}

// ---- attributes ----

const PropertyList& TFPAttribute::Properties() const {
    static const PropertyList list{
        Prop<&TFPAttribute::Name>("Name"),
        Prop<&TFPAttribute::Value>("Value"),
    };
    return list;
}

void TFPAttribute::Assign(const TFPAttribute& other) {
    Name = other.Name;
    Value = other.Value;
}

void TFPAttributes::SaveToXML(std::string_view, pugi::xml_node node) const {
    ostradb::SaveToXML(Items, "", node);
}

void TFPAttributes::LoadFromXML(std::string_view, pugi::xml_node node) {
    ostradb::LoadFromXML(Items, "", node);
}

TFPAttribute* TFPAttributes::FindByName(std::string_view name) {
    for (TFPAttribute& a : Items)
        if (SameText(a.Name, name)) return &a;
    return nullptr;
}

void TFPAttributes::DeleteByName(std::string_view name) {
    while (TFPAttribute* a = FindByName(name))
        Items.Delete(Items.IndexOf(a));
}

// ---- users ----

const PropertyList& TUser::Properties() const {
    static const PropertyList list{
        Prop<&TUser::User>("User"),
        Prop<&TUser::Name>("Name"),
        Prop<&TUser::Pass>("Pass"),
        Prop<&TUser::Attributes>("Attributes"),
    };
    return list;
}

void TUser::Assign(const TUser& other) {
    User = other.User;
    Name = other.Name;
    Pass = other.Pass;
    Attributes.Assign(other.Attributes);
}

void TUser::GetGroups(const TUserGroups& groups, std::vector<const TUserGroup*>& list) const {
    list.clear();
    for (const TUserGroup& g : groups.Items)
        if (g.ContainsUser(User)) list.push_back(&g);
}

void TUsers::SaveToXML(std::string_view, pugi::xml_node node) const {
    ostradb::SaveToXML(Items, "", node);
}

void TUsers::LoadFromXML(std::string_view, pugi::xml_node node) {
    ostradb::LoadFromXML(Items, "", node);
}

void TUsers::Delete(const TUser* user) {
    const int i = Items.IndexOf(user);
    if (i >= 0) Items.Delete(i);
}

const TUser* TUsers::Find(std::string_view login) const {
    for (const TUser& u : Items)
        if (u.User == login) return &u;
    return nullptr;
}

TUser* TUsers::Find(std::string_view login) {
    return const_cast<TUser*>(std::as_const(*this).Find(login));
}

// ---- permissions ----

const PropertyList& TLevelsPermission::Properties() const {
    static const PropertyList list{
        Prop<&TLevelsPermission::Levels>("Levels"),
        Prop<&TLevelsPermission::FileName>("FileName"),
        Prop<&TLevelsPermission::GroupsRights>("GroupsRights"),
    };
    return list;
}

void TLevelsPermission::Assign(const TLevelsPermission& other) {
    Levels.Assign(other.Levels);
    FileName = other.FileName;
    GroupsRights = other.GroupsRights;
}

const PropertyList& TDbPremission::Properties() const {
    static const PropertyList list{
        Prop<&TDbPremission::Database>("Database"),
        Prop<&TDbPremission::Rights>("Rights"),
    };
    return list;
}

void TDbPremission::SaveToXML(std::string_view, pugi::xml_node node) const {
    ostradb::SaveToXML(FilesPerms, "FilesPerms", node);
}

void TDbPremission::LoadFromXML(std::string_view, pugi::xml_node node) {
    ostradb::LoadFromXML(FilesPerms, "FilesPerms", node);
}

void TDbPremission::Assign(const TDbPremission& other) {
    Database = other.Database;
    Rights = other.Rights;
    FilesPerms.Assign(other.FilesPerms);
}

TLevelsPermission& TDbPremission::AddFileRights(int levelCount) {
    TLevelsPermission& p = FilesPerms.Add();
    for (int i = 0; i < levelCount; ++i)
        p.Levels.Add(std::string());
    return p;
}

void TDbPremissions::SaveToXML(std::string_view, pugi::xml_node node) const {
    ostradb::SaveToXML(Items, "", node);
}

void TDbPremissions::LoadFromXML(std::string_view, pugi::xml_node node) {
    ostradb::LoadFromXML(Items, "", node);
}

TDbPremission* TDbPremissions::FindByDbName(std::string_view name) {
    for (TDbPremission& p : Items)
        if (SameText(p.Database, name)) return &p;
    return nullptr;
}

// ---- groups ----

const PropertyList& TUserGroup::Properties() const {
    static const PropertyList list{
        Prop<&TUserGroup::Name>("Name"),
        Prop<&TUserGroup::Rights>("Rights"),
        Prop<&TUserGroup::DbPremissions>("DbPremissions"),
        Prop<&TUserGroup::GroupId>("GroupId"),
        Prop<&TUserGroup::ParentId>("ParentId"),
        Prop<&TUserGroup::Users>("Users"),
        Prop<&TUserGroup::Attributes>("Attributes"),
    };
    return list;
}

void TUserGroup::Assign(const TUserGroup& other) {
    Name = other.Name;
    Rights = other.Rights;
    GroupId = other.GroupId;
    Users.Assign(other.Users);
    DbPremissions.Assign(other.DbPremissions);
    Attributes.Assign(other.Attributes);
}

void TUserGroups::SaveToXML(std::string_view, pugi::xml_node node) const {
    ostradb::SaveToXML(Items, "", node);
}

void TUserGroups::LoadFromXML(std::string_view, pugi::xml_node node) {
    ostradb::LoadFromXML(Items, "", node);
}

void TUserGroups::Delete(const TUserGroup* group) {
    const int i = Items.IndexOf(group);
    if (i >= 0) Items.Delete(i);
}

void TUserGroups::SetUserInGroups(std::string_view login, const TStringList& groupNames) {
    for (TUserGroup& g : Items) {
        const int i = g.Users.IndexOf(login);
        if (i >= 0) g.Users.Delete(i);
        if (groupNames.IndexOf(g.Name) >= 0) g.Users.Add(std::string(login));
    }
}

void TUserGroups::ExcludeUser(const TUser& user) {
    for (TUserGroup& g : Items) {
        const int i = g.Users.IndexOf(user.User);
        if (i >= 0) g.Users.Delete(i);
    }
}

// ---- the whole data set ----

TUmData::TUmData()
    : groups_(std::make_unique<TUserGroups>()),
      users_(std::make_unique<TUsers>(*groups_)),
      rights_(std::make_unique<TRights>()) {}

TUmData::~TUmData() = default;

const PropertyList& TUmData::Properties() const {
    static const PropertyList list{
        PropReadOnly<&TUmData::Users>("Users"),
        PropReadOnly<&TUmData::Groups>("Groups"),
    };
    return list;
}

void TUmData::CleanData(const TDatabasesList& dbList) {
    for (TUserGroup& g : groups_->Items) {
        Collection<TDbPremission>& perms = g.DbPremissions.Items;
        // After each deletion the scan starts again from the first permission.
        bool deleted = true;
        while (deleted) {
            deleted = false;
            for (int i = 0; i < perms.Count(); ++i) {
                if (dbList.FindByName(perms[i].Database) == nullptr) {
                    perms.Delete(i);
                    deleted = true;
                    break;
                }
            }
        }
    }
}

void TUmData::CheckForConsistency() const {
    if (users_->Count() == 0) return;
    std::uint32_t rights = 0;
    std::vector<const TUserGroup*> groups;
    for (const TUser& u : users_->Items) {
        u.GetGroups(*groups_, groups);
        for (const TUserGroup* g : groups)
            rights |= g->Rights;
    }
    if ((rights & 32u) == 0)
        throw Error(
            "В списке пользователей нету пользователей с правами управления списком "
            "пользователей");
}

}  // namespace ostradb
