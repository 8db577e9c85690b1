#pragma once

// The server's access model: users, groups of users with their rights, per-database and
// per-file permissions. An administration tool fetches it as one TUmData, edits it, checks it
// and sends it back. Its XML form is the serializer form of the declared properties:
//
//   <UserPermissionsData>
//     <Users><Item User="admin" Name="..." Pass="..."><Attributes><Item Name="n" Value="v"/>
//       </Attributes></Item></Users>
//     <Groups><Item Name="Admins" Rights="33" GroupId="1" ParentId="">
//       <DbPremissions><Item Database="db" Rights="1"><FilesPerms><Item FileName="f"
//         GroupsRights="1"><Levels><Item>field</Item></Levels></Item></FilesPerms></Item>
//       </DbPremissions>
//       <Users><Item>admin</Item></Users><Attributes/></Item></Groups>
//   </UserPermissionsData>

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <pugixml.hpp>

#include "ostradb/export.hpp"
#include "ostradb/serial/xml_serializer.hpp"
#include "ostradb/users/rights.hpp"
#include "ostradb/util/collection.hpp"
#include "ostradb/util/string_list.hpp"

namespace ostradb {

class PropertyList;
class TDatabasesList;
class TUserGroup;
class TUserGroups;

// The seven rights with their display names, in bit order.
class OSTRADB_API TRights {
public:
    struct TRightItem {
        std::string Name;  // display name
        std::uint32_t Bit = 0;
    };

    TRights();
    static constexpr int Count = 7;
    TRightItem Item(int i) const;
    // Display names of the rights set in mask, in bit order, joined by ", ".
    std::string RightsToString(std::uint32_t mask) const;

private:
    std::array<TRightItem, Count> items_;
};

// A free name/value pair attached to a user or a group.
class OSTRADB_API TFPAttribute : public Persistent {
public:
    std::string Name;
    std::string Value;

    const PropertyList& Properties() const override;
    void Assign(const TFPAttribute& other);
};

// Serializer form: the pairs stand directly in the object's element.
class OSTRADB_API TFPAttributes : public TXmlSerialized {
public:
    Collection<TFPAttribute> Items;

    void SaveToXML(std::string_view name, pugi::xml_node node) const override;
    void LoadFromXML(std::string_view name, pugi::xml_node node) override;
    void Assign(const TFPAttributes& other) { Items.Assign(other.Items); }

    int Count() const { return Items.Count(); }
    TFPAttribute& Item(int i) { return Items[i]; }
    const TFPAttribute& Item(int i) const { return Items[i]; }
    TFPAttribute& Add() { return Items.Add(); }
    void Delete(int i) { Items.Delete(i); }
    // The first pair named name (ignoring case), or null.
    TFPAttribute* FindByName(std::string_view name);
    // Deletes every pair named name (ignoring case).
    void DeleteByName(std::string_view name);
};

class OSTRADB_API TUser : public Persistent {
public:
    std::string User;  // the login
    std::string Name;  // the person's name
    std::string Pass;  // carried as the server stores and sends it
    TFPAttributes Attributes;

    const PropertyList& Properties() const override;
    void Assign(const TUser& other);
    // Clears list, then adds in order every group of groups that contains this user.
    void GetGroups(const TUserGroups& groups, std::vector<const TUserGroup*>& list) const;
};

// Serializer form: the users stand directly in the object's element.
class OSTRADB_API TUsers : public TXmlSerialized {
public:
    // groups: the groups of the same data set; it must outlive the users.
    explicit TUsers(TUserGroups& groups) : groups_(&groups) {}

    Collection<TUser> Items;

    void SaveToXML(std::string_view name, pugi::xml_node node) const override;
    void LoadFromXML(std::string_view name, pugi::xml_node node) override;
    void Assign(const TUsers& other) { Items.Assign(other.Items); }

    int Count() const { return Items.Count(); }
    TUser& Item(int i) { return Items[i]; }
    const TUser& Item(int i) const { return Items[i]; }
    TUser& AddNew() { return Items.Add(); }
    // Deletes user when it is one of these very users; otherwise does nothing.
    void Delete(const TUser* user);
    // The first user whose login equals login exactly, letter case included, or null.
    TUser* Find(std::string_view login);
    const TUser* Find(std::string_view login) const;
    TUserGroups& Groups() const { return *groups_; }

private:
    TUserGroups* groups_;
};

// A permission on one file or one point of the level hierarchy.
class OSTRADB_API TLevelsPermission : public Persistent {
public:
    TStringList Levels;  // the level values that select the files
    std::string FileName;
    std::uint32_t GroupsRights = 0;

    const PropertyList& Properties() const override;
    void Assign(const TLevelsPermission& other);
};

// The rights of a group on one database, with its file permissions under "FilesPerms".
class OSTRADB_API TDbPremission : public TXmlSerializedCollectionItem {
public:
    std::string Database;
    std::uint32_t Rights = 0;
    Collection<TLevelsPermission> FilesPerms;

    const PropertyList& Properties() const override;
    void SaveToXML(std::string_view name, pugi::xml_node node) const override;
    void LoadFromXML(std::string_view name, pugi::xml_node node) override;
    void Assign(const TDbPremission& other);

    int FileRightsCount() const { return FilesPerms.Count(); }
    TLevelsPermission& FileRight(int i) { return FilesPerms[i]; }
    const TLevelsPermission& FileRight(int i) const { return FilesPerms[i]; }
    void ClearFileRights() { FilesPerms.Clear(); }
    // Appends a permission whose Levels holds levelCount empty strings.
    TLevelsPermission& AddFileRights(int levelCount);
    void DeleteFileRights(int i) { FilesPerms.Delete(i); }
};

// Serializer form: the permissions stand directly in the object's element.
class OSTRADB_API TDbPremissions : public TXmlSerialized {
public:
    Collection<TDbPremission> Items;

    void SaveToXML(std::string_view name, pugi::xml_node node) const override;
    void LoadFromXML(std::string_view name, pugi::xml_node node) override;
    void Assign(const TDbPremissions& other) { Items.Assign(other.Items); }

    int Count() const { return Items.Count(); }
    TDbPremission& Item(int i) { return Items[i]; }
    const TDbPremission& Item(int i) const { return Items[i]; }
    void Clear() { Items.Clear(); }
    TDbPremission& Add() { return Items.Add(); }
    void Delete(int i) { Items.Delete(i); }
    // The first permission whose Database equals name ignoring case, or null.
    TDbPremission* FindByDbName(std::string_view name);
};

class OSTRADB_API TUserGroup : public Persistent {
public:
    std::string Name;
    std::uint32_t Rights = 1;  // urView alone
    TDbPremissions DbPremissions;
    std::string GroupId;
    std::string ParentId;  // GroupId of the parent group
    TStringList Users;     // logins of the members
    TFPAttributes Attributes;

    const PropertyList& Properties() const override;
    // Copies everything but ParentId: the copy keeps its own place in the group tree.
    void Assign(const TUserGroup& other);
    // login is one of Users (ignoring case).
    bool ContainsUser(std::string_view login) const { return Users.IndexOf(login) >= 0; }
};

// Serializer form: the groups stand directly in the object's element.
class OSTRADB_API TUserGroups : public TXmlSerialized {
public:
    Collection<TUserGroup> Items;

    void SaveToXML(std::string_view name, pugi::xml_node node) const override;
    void LoadFromXML(std::string_view name, pugi::xml_node node) override;
    void Assign(const TUserGroups& other) { Items.Assign(other.Items); }

    int Count() const { return Items.Count(); }
    TUserGroup& Item(int i) { return Items[i]; }
    const TUserGroup& Item(int i) const { return Items[i]; }
    TUserGroup& AddNew() { return Items.Add(); }
    // Deletes group when it is one of these very groups; otherwise does nothing.
    void Delete(const TUserGroup* group);
    // Makes login a member of exactly the groups named in groupNames.
    void SetUserInGroups(std::string_view login, const TStringList& groupNames);
    // Removes user's login from every group (one entry per group).
    void ExcludeUser(const TUser& user);
};

// The whole access model. Serializer form: "Users" and "Groups" (see the top of this file);
// it travels as the element "UserPermissionsData".
class OSTRADB_API TUmData : public Persistent {
public:
    TUmData();
    ~TUmData() override;
    TUmData(const TUmData&) = delete;
    TUmData& operator=(const TUmData&) = delete;

    const PropertyList& Properties() const override;

    TUsers& Users() const { return *users_; }
    TUserGroups& Groups() const { return *groups_; }
    const TRights& Rights() const { return *rights_; }

    // Drops the permissions of every group on databases that dbList doesn't hold (by its
    // FindByName).
    void CleanData(const TDatabasesList& dbList);
    // Raises Error when there are users but none of them is in a group with the right to
    // administer users.
    void CheckForConsistency() const;

private:
    // Made in this order and destroyed in the reverse one: the users refer to the groups.
    std::unique_ptr<TUserGroups> groups_;
    std::unique_ptr<TUsers> users_;
    std::unique_ptr<TRights> rights_;
};

}  // namespace ostradb
