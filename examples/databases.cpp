// Logs in to a server and lists its databases with the levels they are organised by.
//   databases HOST PORT USER   (the password comes from $OSTRADB_PASSWORD)
#include <ostradb/ostradb.hpp>

#include <cstdio>
#include <cstdlib>
#include <string>

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fprintf(stderr, "usage: databases HOST PORT USER\n");
        return 2;
    }
    const char* password = std::getenv("OSTRADB_PASSWORD");
    try {
        ostradb::TOstraDbProtocol& server = ostradb::OstraDbProtocol();
        server.SetHostPort(argv[1], std::stoi(argv[2]));
        server.Login(argv[3], password ? password : "");

        ostradb::TDatabasesList databases;
        server.RequestDatabasesListEx(databases, true);  // with their structures
        for (const ostradb::TDatabaseInfo& db : databases.Items) {
            std::printf("%d\t%s\t", db.Id, db.Name.c_str());
            for (const ostradb::TDbStructItem& level : db.Structure.Items)
                std::printf("/%s", level.DisplayName.c_str());
            std::printf("\n");
        }
    } catch (const ostradb::Error& e) {
        std::fprintf(stderr, "databases: %s\n", e.what());
        return 1;
    }
    return 0;
}
