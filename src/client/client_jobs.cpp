// The server's long jobs on a database, with their progress reports.

#include "client/session.hpp"
#include "client/transfer_streams.hpp"
#include "protocol/scope_exit.hpp"

namespace ostradb {

namespace {

using detail::ClientSession;

// Hands each progress packet's attributes (the root's, then its children's) to progress.
TInfoPacketEvent InfoHandler(const JobProgressCallback& progress, detail::CallbackGuard& guard) {
    if (!progress) return nullptr;
    return [&progress, &guard](TOstraDbProtocol&, pugi::xml_node xml) {
        std::map<std::string, std::string> info;
        for (const pugi::xml_attribute a : xml.attributes())
            if (std::string_view(a.name()) != "type") info.emplace(a.name(), a.value());
        for (const pugi::xml_node child : xml.children())
            for (const pugi::xml_attribute a : child.attributes())
                info.emplace(a.name(), a.value());
        guard.Call([&] { progress(info); });
    };
}

// Runs a job with progress reports; a callback's exception ends it and is raised again.
template <class F>
void RunJob(ClientSession& s, const JobProgressCallback& progress, F&& job) {
    detail::CallbackGuard guard(s.protocol);
    detail::Run(s, [&] {
        try {
            job(InfoHandler(progress, guard));
            guard.RethrowIfFailed();
        } catch (...) {
            guard.RethrowIfFailed();
            throw;
        }
    });
}

TDatabaseInfo Described(const Database& db) {
    TDatabaseInfo info;
    info.Id = db.id;
    info.Name = db.name;
    info.Path = db.path;
    info.ExtPath = db.ext_path;
    info.IsPrivate = db.is_private;
    return info;
}

}  // namespace

Database Client::add_database(const Database& db, JobProgressCallback progress) {
    ClientSession& s = session();
    std::int32_t id = -1;
    RunJob(s, progress, [&](TInfoPacketEvent handler) {
        TDatabaseInfo info = Described(db);
        info.Id = -1;
        id = s.protocol.AddDatabase(info, std::move(handler));
    });
    s.databases.erase(id);
    return detail::Run(s, [&] { return detail::ToDatabase(s.Info({.id = id}), true); });
}

void Client::update_database(const Database& db, JobProgressCallback progress) {
    ClientSession& s = session();
    RunJob(s, progress, [&](TInfoPacketEvent handler) {
        // What the result value does not carry (the path list) stays as the server has it.
        TDatabasesList list;
        s.protocol.RequestDatabasesListEx(list, false);
        TDatabaseInfo* info = list.FindById(db.id);
        if (!info)
            throw ENotFoundError(ENotFoundError::Kind::database, std::to_string(db.id),
                                 "no database with id " + std::to_string(db.id) + " on the server");
        const TDatabaseInfo wanted = Described(db);
        info->Name = wanted.Name;
        info->Path = wanted.Path;
        info->ExtPath = wanted.ExtPath;
        info->IsPrivate = wanted.IsPrivate;
        s.databases.erase(db.id);
        s.protocol.UpdateDatabase(*info, std::move(handler));
    });
}

void Client::delete_database(const Database& db) {
    ClientSession& s = session();
    detail::Run(s, [&] { s.protocol.DeleteDatabase(db.id); });
    s.databases.erase(db.id);
}

void Client::reload_bad_files(const Database& db, JobProgressCallback progress) {
    ClientSession& s = session();
    RunJob(s, progress, [&](TInfoPacketEvent handler) {
        if (handler)
            s.protocol.ReloadBadFilesWithProgress(db.id, std::move(handler));
        else
            s.protocol.ReloadBadFiles(db.id);
    });
}

void Client::merge_virtual_tables(const Database& db, const MergeOptions& options,
                                  JobProgressCallback progress) {
    ClientSession& s = session();
    RunJob(s, progress, [&](TInfoPacketEvent handler) {
        s.protocol.OnInfo = std::move(handler);
        const detail::ScopeExit clear([&] { s.protocol.OnInfo = nullptr; });
        s.protocol.MergeVTableDB(db.id, options.use_delete, options.fail_no_connect);
    });
}

MergeStatus Client::merge_status(const Database& db) {
    ClientSession& s = session();
    return detail::Run(s, [&] {
        MergeStatus status;
        s.protocol.RequestMergeVTableFullStatus(db.id, status.percent, status.result);
        return status;
    });
}

void Client::stop_merge(const Database& db) {
    ClientSession& s = session();
    detail::Run(s, [&] { s.protocol.StopMergeVTableDB(db.id); });
}

}  // namespace ostradb
