#pragma once

#include "ostradb/export.hpp"

namespace ostradb {

class PropertyList;

// Base of every object that the XML serializer writes and reads. A class that has declared
// serialisable properties overrides Properties() and returns its static table (see
// properties.hpp); string lists and collections have a form of their own.
class OSTRADB_API Persistent {
public:
    Persistent() = default;
    Persistent(const Persistent&) = default;
    Persistent(Persistent&&) = default;
    Persistent& operator=(const Persistent&) = default;
    Persistent& operator=(Persistent&&) = default;
    virtual ~Persistent();

    // The declared serialisable properties of the object's class, in declaration order.
    virtual const PropertyList& Properties() const;
};

}  // namespace ostradb
