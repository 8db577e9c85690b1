#pragma once

// The catalog classes that the database catalog and server-job commands of TOstraDbProtocol
// fill or send. They live in the model headers; the client's header only names them.

namespace ostradb {

class TDatabaseInfo;
class TDatabases;
class TDatabasesList;
class TDbStruct;
class TVTableOptions;
class TVTables;

}  // namespace ostradb
