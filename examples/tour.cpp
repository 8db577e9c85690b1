// A tour of ostradb::Client against the sandbox's sample data: the databases, a well's files,
// a search, a download and an upload, the file commands, and the administration calls.
//   tour HOST PORT   (logs in as admin/admin)
#include <ostradb/ostradb.hpp>

#include <iostream>
#include <sstream>
#include <string>
#include <vector>

int main(int argc, char** argv) try {
    if (argc != 3) {
        std::cerr << "usage: tour HOST PORT\n";
        return 2;
    }
    auto c = ostradb::Client::connect(
        {.host = argv[1], .port = std::stoi(argv[2]), .user = "admin", .password = "admin"});
    std::string v = c.version();
    std::vector<ostradb::Database> dbs = c.databases();
    ostradb::Database db = c.find_database("Западная Сибирь");              // name (any case) or id
    std::vector<ostradb::Level> lv = c.levels(db, {});                      // values below a path
    std::vector<ostradb::File> fs = c.files(db, {"Озёрное", "7"});          // options: filter, name
    std::vector<std::string> hits = c.search("all", "Оператор=Партия 13");  // or a Database
    std::cout << "server " << v << ": " << dbs.size() << " databases, " << lv.size()
              << " fields in " << db.name << ", " << fs.size() << " files of well 7, "
              << hits.size() << " files of crew 13\n";

    std::ostringstream out;
    c.get(fs[0].full_name, out);  // std::ostream&, or a path (temporary file, then rename)
    const std::string folder = fs[0].full_name.substr(0, fs[0].full_name.find_last_of("/\\") + 1);
    const std::string name = folder + "tour_copy.ws";
    std::istringstream in(out.str());
    c.put(name, in);  // std::istream&, a path or bytes; progress callbacks optional
    const std::string from = name, to = folder + "tour_moved.ws";
    c.exists(name);
    c.move(from, to);
    c.remove({to});
    std::vector<std::string> files = {fs[0].full_name};
    std::string mask = "Log*", packet = "<command cmd=\"get_server_version\"/>";
    c.tables(files);
    c.curves(files);
    c.users();
    c.options(mask);
    c.log();
    c.raw(packet);
    ostradb::TOstraDbProtocol& p = c.protocol();  // the whole catalog, same session
    std::cout << "copied " << out.str().size() << " bytes; " << (c.exists(to) ? "kept" : "removed")
              << " the copy; still logged in as " << p.LastUser() << '\n';
} catch (const ostradb::Error& e) {
    std::cerr << "tour: " << e.what() << '\n';
    return 1;
}
