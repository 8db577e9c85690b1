// Lists a server's databases with the levels they are organised by. Where to connect comes
// from the environment: OSTRADB_HOST, OSTRADB_PORT, OSTRADB_USER and OSTRADB_PASSWORD.
#include <ostradb/ostradb.hpp>

#include <iostream>

int main() try {
    auto c = ostradb::Client::connect();
    for (const ostradb::Database& db : c.databases()) {
        std::cout << db.id << '\t' << db.name << '\t';
        for (const ostradb::StructureLevel& level : db.levels)
            std::cout << '/' << level.title;
        std::cout << '\n';
    }
} catch (const ostradb::Error& e) {
    std::cerr << "databases: " << e.what() << '\n';
    return 1;
}
