#pragma once

// One client connection: requests are read and answered one after another on the
// connection's own thread until the client leaves, a time-out or a cap ends it, or the server
// stops.

#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "data_store.hpp"
#include "ostradb_sandbox/sandbox_server.hpp"
#include "socket_io.hpp"

namespace ostradb::sandbox {

// The fault switches as tests set them, shared by all connections.
class FaultState {
public:
    void Set(FaultSwitches switches);
    void Clear();
    // The switches for a request of this command, counted against their number of times;
    // nullopt when none apply.
    std::optional<FaultSwitches> Take(std::string_view command);

private:
    std::mutex mutex_;
    std::optional<FaultSwitches> switches_;
};

// What every connection shares.
struct ServerContext {
    const SandboxOptions& options;
    DataStore& store;
    const StopSignal& stop;
    FaultState& faults;

    void Event(std::string_view line) const {
        if (options.eventLog) options.eventLog(line);
    }
};

// Serves the connected socket fd (which it closes) until the connection ends.
void ServeConnection(int fd, std::string peer, ServerContext& server);

}  // namespace ostradb::sandbox
