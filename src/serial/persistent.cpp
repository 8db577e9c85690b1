#include "ostradb/serial/persistent.hpp"

#include <algorithm>

#include "ostradb/serial/properties.hpp"

namespace ostradb {

Persistent::~Persistent() = default;

const PropertyList& Persistent::Properties() const {
    static const PropertyList none;
    return none;
}

PropertyList::PropertyList(std::initializer_list<PropInfo> props) : props_(props) {}

PropertyList::PropertyList(const PropertyList& base, std::initializer_list<PropInfo> props)
    : props_(base.props_) {
    props_.insert(props_.end(), props.begin(), props.end());
}

const PropInfo* PropertyList::Find(std::string_view name) const {
    const auto lower = [](char c) { return (c >= 'A' && c <= 'Z') ? char(c | 0x20) : c; };
    for (const PropInfo& p : props_) {
        const std::string_view n = p.name;
        if (n.size() == name.size() &&
            std::equal(n.begin(), n.end(), name.begin(),
                       [&](char a, char b) { return lower(a) == lower(b); }))
            return &p;
    }
    return nullptr;
}

}  // namespace ostradb
