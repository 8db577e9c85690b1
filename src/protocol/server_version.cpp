#include "ostradb/protocol/server_version.hpp"

#include "ostradb/serial/properties.hpp"

namespace ostradb {

const PropertyList& TServerVersion::Properties() const {
    static const PropertyList list{
        Prop<&TServerVersion::Mayor>("Mayor"),
        Prop<&TServerVersion::Minor>("Minor"),
        Prop<&TServerVersion::Maintenance>("Maintenance"),
        Prop<&TServerVersion::Revision>("Revision"),
    };
    return list;
}

void TServerVersion::SetValues(std::int32_t mayor, std::int32_t minor, std::int32_t maintenance,
                               std::int32_t revision) {
    Mayor = mayor;
    Minor = minor;
    Maintenance = maintenance;
    Revision = revision;
}

std::strong_ordering TServerVersion::operator<=>(const TServerVersion& other) const {
    if (auto c = Mayor <=> other.Mayor; c != 0) return c;
    if (auto c = Minor <=> other.Minor; c != 0) return c;
    if (auto c = Maintenance <=> other.Maintenance; c != 0) return c;
    return Revision <=> other.Revision;
}

bool TServerVersion::operator==(const TServerVersion& other) const {
    return (*this <=> other) == 0;
}

int TServerVersion::Compare(const TServerVersion& other) const {
    const auto c = *this <=> other;
    return c < 0 ? -1 : c > 0 ? 1 : 0;
}

std::string TServerVersion::ToString() const {
    return std::to_string(Mayor) + '.' + std::to_string(Minor) + '.' + std::to_string(Maintenance) +
           '.' + std::to_string(Revision);
}

}  // namespace ostradb
