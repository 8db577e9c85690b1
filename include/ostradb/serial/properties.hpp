#pragma once

// Declared serialisable properties. A class lists its properties once, in declaration order,
// in a static table returned by Properties(); the XML serializer and the INI form walk it:
//
//   const PropertyList& TUser::Properties() const {
//       static const PropertyList list{
//           Prop<&TUser::User>("User"),
//           Prop<&TUser::Name>("Name"),
//           Prop<&TUser::GetPass, &TUser::SetPass>("Pass"),
//           Prop<&TUser::Attributes>("Attributes"),
//       };
//       return list;
//   }
//
// The kind of a property follows from its C++ type; a type the serializer cannot handle is a
// compile error.

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "ostradb/export.hpp"
#include "ostradb/serial/persistent.hpp"
#include "ostradb/util/set.hpp"
#include "ostradb/util/variant.hpp"

namespace ostradb {

enum class PropKind : std::uint8_t {
    Integer,      // integers of up to 32 bits
    Char,         // one 8-bit character, written by its code
    Enumeration,  // enumerations (booleans included), written by position
    Set,          // sets, written by bit mask
    Int64,        // 64-bit integers: read, never written
    Float,        // float, double and date-time
    String,
    Variant,
    Object,  // an owned object filled in place: string list, collection or serialisable object
};

// One declared property: its name, kind, accessors, stored flag and declared default.
struct PropInfo {
    const char* name = nullptr;
    PropKind kind = PropKind::Integer;
    bool single = false;  // a Float of single precision
    bool hasDefault = false;
    std::int64_t defaultValue = 0;

    std::int64_t (*getOrdinal)(const Persistent&) = nullptr;
    void (*setOrdinal)(Persistent&, std::int64_t) = nullptr;
    double (*getFloat)(const Persistent&) = nullptr;
    void (*setFloat)(Persistent&, double) = nullptr;
    std::string (*getString)(const Persistent&) = nullptr;
    const std::string* (*refString)(const Persistent&) = nullptr;  // set for data members
    void (*setString)(Persistent&, std::string_view) = nullptr;
    Variant (*getVariant)(const Persistent&) = nullptr;
    void (*setVariant)(Persistent&, const Variant&) = nullptr;
    Persistent* (*getObject)(const Persistent&) = nullptr;  // null when the reference is empty
    bool (*stored)(const Persistent&) = nullptr;            // null: always stored

    bool HasSetter() const { return setOrdinal || setFloat || setString || setVariant; }
    bool IsStored(const Persistent& obj) const { return stored == nullptr || stored(obj); }

    // The declared default of an ordinal property: used when its attribute is missing or
    // malformed.
    PropInfo Default(std::int64_t value) const {
        PropInfo p = *this;
        p.hasDefault = true;
        p.defaultValue = value;
        return p;
    }
    // The property is stored only when pred(object) is true.
    template <auto Pred>
    PropInfo StoredIf() const;
    // The property is never stored (kept in the table for other uses of it).
    PropInfo NotStored() const {
        PropInfo p = *this;
        p.stored = [](const Persistent&) { return false; };
        return p;
    }
};

// The declared properties of one class, in declaration order; a derived class lists its
// base class's properties first.
class OSTRADB_API PropertyList {
public:
    PropertyList() = default;
    PropertyList(std::initializer_list<PropInfo> props);
    PropertyList(const PropertyList& base, std::initializer_list<PropInfo> props);

    std::size_t size() const { return props_.size(); }
    bool empty() const { return props_.empty(); }
    const PropInfo& operator[](std::size_t i) const { return props_[i]; }
    auto begin() const { return props_.begin(); }
    auto end() const { return props_.end(); }
    // The property named name (ASCII letters compared ignoring case), or null.
    const PropInfo* Find(std::string_view name) const;

private:
    std::vector<PropInfo> props_;
};

namespace detail {

template <class T>
struct IsSet : std::false_type {};
template <class E>
struct IsSet<Set<E>> : std::true_type {};

template <class T>
struct IsUniquePtr : std::false_type {};
template <class T, class D>
struct IsUniquePtr<std::unique_ptr<T, D>> : std::true_type {};

template <class>
inline constexpr bool kAlwaysFalse = false;

template <class V>
constexpr PropKind KindOf() {
    if constexpr (std::is_same_v<V, bool> || std::is_enum_v<V>)
        return PropKind::Enumeration;
    else if constexpr (std::is_same_v<V, char>)
        return PropKind::Char;
    else if constexpr (IsSet<V>::value)
        return PropKind::Set;
    else if constexpr (std::is_integral_v<V> && sizeof(V) == 8)
        return PropKind::Int64;
    else if constexpr (std::is_integral_v<V>)
        return PropKind::Integer;
    else if constexpr (std::is_floating_point_v<V>)
        return PropKind::Float;
    else if constexpr (std::is_same_v<V, std::string>)
        return PropKind::String;
    else if constexpr (std::is_same_v<V, Variant>)
        return PropKind::Variant;
    else if constexpr (std::is_base_of_v<Persistent, V>)
        return PropKind::Object;
    else if constexpr (IsUniquePtr<V>::value)
        return PropKind::Object;
    else
        static_assert(kAlwaysFalse<V>, "this type cannot be a declared property");
}

template <class V>
std::int64_t ToOrdinal(const V& v) {
    if constexpr (std::is_same_v<V, bool>)
        return v ? 1 : 0;
    else if constexpr (std::is_same_v<V, char>)
        return static_cast<unsigned char>(v);
    else if constexpr (std::is_enum_v<V>)
        return static_cast<std::int64_t>(static_cast<std::underlying_type_t<V>>(v));
    else if constexpr (IsSet<V>::value)
        return v.Mask();
    else
        return static_cast<std::int64_t>(v);
}

template <class V>
V FromOrdinal(std::int64_t v) {
    if constexpr (std::is_same_v<V, bool>)
        return v != 0;
    else if constexpr (std::is_enum_v<V>)
        return static_cast<V>(static_cast<std::underlying_type_t<V>>(v));
    else if constexpr (IsSet<V>::value)
        return V::FromMask(static_cast<std::uint32_t>(v));
    else
        return static_cast<V>(v);
}

template <class V>
Persistent* ObjectOf(const V& v) {
    if constexpr (IsUniquePtr<V>::value)
        return const_cast<Persistent*>(static_cast<const Persistent*>(v.get()));
    else
        return const_cast<Persistent*>(static_cast<const Persistent*>(&v));
}

template <class T>
struct FieldTraits;
template <class C, class V>
struct FieldTraits<V C::*> {
    using Class = C;
    using Value = V;
};

template <class T>
struct GetterTraits;
template <class C, class R>
struct GetterTraits<R (C::*)() const> {
    using Class = C;
    using Value = std::remove_cvref_t<R>;
};
template <class C, class R>
struct GetterTraits<R (C::*)() const noexcept> : GetterTraits<R (C::*)() const> {};

template <class T>
struct SetterTraits;
template <class C, class A>
struct SetterTraits<void (C::*)(A)> {
    using Class = C;
    using Value = std::remove_cvref_t<A>;
};
template <class C, class A>
struct SetterTraits<void (C::*)(A) noexcept> : SetterTraits<void (C::*)(A)> {};

// Fills the accessors of p for a value type V from a get and a set function on objects.
template <class V, class Get, class Put>
void Bind(PropInfo& p, Get, Put) {
    constexpr PropKind kind = KindOf<V>();
    p.kind = kind;
    if constexpr (kind == PropKind::Enumeration || kind == PropKind::Char ||
                  kind == PropKind::Set || kind == PropKind::Int64 || kind == PropKind::Integer) {
        p.getOrdinal = [](const Persistent& o) { return ToOrdinal<V>(Get{}(o)); };
        if constexpr (!std::is_same_v<Put, std::nullptr_t>)
            p.setOrdinal = [](Persistent& o, std::int64_t v) { Put{}(o, FromOrdinal<V>(v)); };
    } else if constexpr (kind == PropKind::Float) {
        p.single = sizeof(V) == sizeof(float);
        p.getFloat = [](const Persistent& o) { return static_cast<double>(Get{}(o)); };
        if constexpr (!std::is_same_v<Put, std::nullptr_t>)
            p.setFloat = [](Persistent& o, double v) { Put{}(o, static_cast<V>(v)); };
    } else if constexpr (kind == PropKind::String) {
        p.getString = [](const Persistent& o) { return std::string(Get{}(o)); };
        if constexpr (!std::is_same_v<Put, std::nullptr_t>)
            p.setString = [](Persistent& o, std::string_view v) { Put{}(o, std::string(v)); };
    } else if constexpr (kind == PropKind::Variant) {
        p.getVariant = [](const Persistent& o) { return Variant(Get{}(o)); };
        if constexpr (!std::is_same_v<Put, std::nullptr_t>)
            p.setVariant = [](Persistent& o, const Variant& v) { Put{}(o, v); };
    } else {
        p.getObject = [](const Persistent& o) { return ObjectOf<V>(Get{}(o)); };
    }
}

template <auto M>
struct FieldGet {
    using C = typename FieldTraits<decltype(M)>::Class;
    const auto& operator()(const Persistent& o) const { return static_cast<const C&>(o).*M; }
};
template <auto M>
struct FieldPut {
    using C = typename FieldTraits<decltype(M)>::Class;
    using V = typename FieldTraits<decltype(M)>::Value;
    void operator()(Persistent& o, V v) const { static_cast<C&>(o).*M = std::move(v); }
};
template <auto G>
struct FnGet {
    using C = typename GetterTraits<decltype(G)>::Class;
    decltype(auto) operator()(const Persistent& o) const { return (static_cast<const C&>(o).*G)(); }
};
template <auto S>
struct FnPut {
    using C = typename SetterTraits<decltype(S)>::Class;
    using V = typename SetterTraits<decltype(S)>::Value;
    void operator()(Persistent& o, V v) const { (static_cast<C&>(o).*S)(std::move(v)); }
};

}  // namespace detail

// A property backed by a data member. Object members (string lists, collections, owned
// objects, unique_ptr to them) are filled in place and need no setter.
template <auto Member>
PropInfo Prop(const char* name) {
    using V = typename detail::FieldTraits<decltype(Member)>::Value;
    PropInfo p;
    p.name = name;
    detail::Bind<V>(p, detail::FieldGet<Member>{}, detail::FieldPut<Member>{});
    if constexpr (std::is_same_v<V, std::string>) {
        p.refString = [](const Persistent& o) {
            return &(static_cast<const typename detail::FieldTraits<decltype(Member)>::Class&>(o).*
                     Member);
        };
    }
    return p;
}

// A property read and written through member functions: V Get() const and void Set(V).
template <auto Getter, auto Setter>
PropInfo Prop(const char* name) {
    using V = typename detail::GetterTraits<decltype(Getter)>::Value;
    PropInfo p;
    p.name = name;
    detail::Bind<V>(p, detail::FnGet<Getter>{}, detail::FnPut<Setter>{});
    return p;
}

// A property with a getter and no setter. Reading it from XML is a declaration error unless
// it is an object, which is filled in place.
template <auto Getter>
PropInfo PropReadOnly(const char* name) {
    using V = typename detail::GetterTraits<decltype(Getter)>::Value;
    PropInfo p;
    p.name = name;
    detail::Bind<V>(p, detail::FnGet<Getter>{}, nullptr);
    return p;
}

template <auto Pred>
PropInfo PropInfo::StoredIf() const {
    using C = typename detail::GetterTraits<decltype(Pred)>::Class;
    PropInfo p = *this;
    p.stored = [](const Persistent& o) { return (static_cast<const C&>(o).*Pred)(); };
    return p;
}

}  // namespace ostradb
