#pragma once

#include <compare>
#include <cstdint>
#include <string>

#include "ostradb/export.hpp"
#include "ostradb/serial/persistent.hpp"

namespace ostradb {

// The server's version as "get_server_version" reports it: four numbers, compared in order.
class OSTRADB_API TServerVersion : public Persistent {
public:
    // Declared serialisable properties, in this order (read from the answer's "Version").
    std::int32_t Mayor = 0;
    std::int32_t Minor = 0;
    std::int32_t Maintenance = 0;
    std::int32_t Revision = 0;
    const PropertyList& Properties() const override;

    void SetValues(std::int32_t mayor, std::int32_t minor, std::int32_t maintenance,
                   std::int32_t revision);
    // Negative, zero or positive as this version is older than, equal to or newer than other.
    int Compare(const TServerVersion& other) const;
    std::strong_ordering operator<=>(const TServerVersion& other) const;
    bool operator==(const TServerVersion& other) const;
    // "Mayor.Minor.Maintenance.Revision".
    std::string ToString() const;
};

}  // namespace ostradb
