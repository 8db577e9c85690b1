// Administering the server: options, users and groups, the message log.

#include <iterator>

#include "client/session.hpp"
#include "ostradb/protocol/admin_commands.hpp"
#include "ostradb/users/users.hpp"
#include "ostradb/util/dates.hpp"
#include "ostradb/util/text.hpp"

namespace ostradb {

namespace {

using detail::ClientSession;

constexpr const char* kRightNames[] = {"view",         "change-data", "change-files", "change-dbs",
                                       "admin-server", "admin-users", "browse-dirs"};

std::vector<const TUserGroup*> GroupsOf(const TUmData& data, const TUser& user) {
    std::vector<const TUserGroup*> groups;
    user.GetGroups(data.Groups(), groups);
    return groups;
}

// The groups named, each of which must exist.
TStringList CheckedGroups(const TUmData& data, const std::vector<std::string>& names) {
    TStringList groups;
    for (const std::string& name : names) {
        std::vector<std::string> known;
        bool found = false;
        for (const TUserGroup& group : data.Groups().Items) {
            found = found || SameText(group.Name, name);
            known.push_back(group.Name);
        }
        if (!found)
            throw ENotFoundError(
                ENotFoundError::Kind::group, name,
                "no group " + detail::Quoted(name) + "; there are " + detail::QuotedList(known));
        groups.Add(name);
    }
    return groups;
}

// Saves data unless nobody could administer users with it.
void CheckAndSave(TOstraDbProtocol& p, const TUmData& data) {
    data.CheckForConsistency();
    p.SaveUmData(data);
}

}  // namespace

std::vector<std::string> right_names(std::uint32_t mask) {
    std::vector<std::string> names;
    for (std::size_t bit = 0; bit < std::size(kRightNames); ++bit)
        if (mask & (1u << bit)) names.emplace_back(kRightNames[bit]);
    return names;
}

std::vector<Option> Client::options(const std::string& masks) {
    ClientSession& s = session();
    return detail::Run(s, [&] {
        TServerOptions options;
        s.protocol.GetServOptions(masks.empty() ? "*" : masks, options);
        std::vector<Option> result;
        for (TServerOption& option : options.Items)
            result.push_back({std::move(option.Name), std::move(option.Value)});
        return result;
    });
}

std::string Client::option(const std::string& name) {
    ClientSession& s = session();
    return detail::Run(s, [&] { return s.protocol.GetServOption(name); });
}

void Client::set_option(const std::string& name, const std::string& value) {
    ClientSession& s = session();
    detail::Run(s, [&] { s.protocol.SetServOption(name, value); });
}

std::vector<User> Client::users() {
    ClientSession& s = session();
    return detail::Run(s, [&] {
        TUmData data;
        s.protocol.GetUmData(data);
        std::vector<User> users;
        for (const TUser& user : data.Users().Items) {
            User u{user.User, user.Name, {}, {}, 0};
            for (const TUserGroup* group : GroupsOf(data, user)) {
                u.groups.push_back(group->Name);
                u.rights_mask |= group->Rights;
            }
            u.rights = right_names(u.rights_mask);
            users.push_back(std::move(u));
        }
        return users;
    });
}

std::vector<Group> Client::groups() {
    ClientSession& s = session();
    return detail::Run(s, [&] {
        TUmData data;
        s.protocol.GetUmData(data);
        std::vector<Group> groups;
        for (const TUserGroup& group : data.Groups().Items)
            groups.push_back(
                {group.Name, right_names(group.Rights), group.Rights, group.Users.Lines()});
        return groups;
    });
}

void Client::add_user(const std::string& login, const std::string& name,
                      const std::string& password, const std::vector<std::string>& groups) {
    ClientSession& s = session();
    detail::Run(s, [&] {
        TUmData data;
        s.protocol.GetUmData(data);
        if (data.Users().Find(login))
            throw Error("user " + detail::Quoted(login) + " exists already");
        const TStringList memberOf = CheckedGroups(data, groups);
        TUser& user = data.Users().AddNew();
        user.User = login;
        user.Name = name;
        user.Pass = password;
        data.Groups().SetUserInGroups(login, memberOf);
        CheckAndSave(s.protocol, data);
    });
}

void Client::set_user_groups(const std::string& login, const std::vector<std::string>& groups) {
    ClientSession& s = session();
    detail::Run(s, [&] {
        TUmData data;
        s.protocol.GetUmData(data);
        if (!data.Users().Find(login))
            throw ENotFoundError(ENotFoundError::Kind::user, login,
                                 "no user " + detail::Quoted(login));
        data.Groups().SetUserInGroups(login, CheckedGroups(data, groups));
        CheckAndSave(s.protocol, data);
    });
}

void Client::check_users() {
    ClientSession& s = session();
    detail::Run(s, [&] {
        TUmData data;
        s.protocol.GetUmData(data);
        data.CheckForConsistency();
    });
}

std::vector<LogRecord> Client::log() {
    ClientSession& s = session();
    return detail::Run(s, [&] {
        TServerLog log;
        s.protocol.RequestLog(TServerLogFilter{}, log);
        std::vector<LogRecord> records;
        for (TServerLogRecord& r : log.Items)
            records.push_back({r.Id, FormatDateTime("yyyy-mm-dd hh:nn:ss", r.Time), r.MsgType,
                               std::move(r.User), std::move(r.Addr), std::move(r.Text)});
        return records;
    });
}

}  // namespace ostradb
