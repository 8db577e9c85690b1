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
#include <typeinfo>
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
    // The C++ type of the value (of the owning pointer for a unique_ptr object), for bindings
    // that convert values by their type: a boolean or an enumeration, the range of an integer.
    const std::type_info* type = nullptr;

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

// The accessors of a property as static member functions of a class template rather than
// lambdas: GCC gives lambdas inside function templates a weak external symbol even when the
// template arguments are local to one source file, so two files declaring a same-named local
// class would share (and mix up) their accessors.
template <class V, class Get, class Put>
struct Thunks {
    static std::int64_t GetOrdinal(const Persistent& o) { return ToOrdinal<V>(Get{}(o)); }
    static void SetOrdinal(Persistent& o, std::int64_t v) { Put{}(o, FromOrdinal<V>(v)); }
    static double GetFloat(const Persistent& o) { return static_cast<double>(Get{}(o)); }
    static void SetFloat(Persistent& o, double v) { Put{}(o, static_cast<V>(v)); }
    static std::string GetString(const Persistent& o) { return std::string(Get{}(o)); }
    static void SetString(Persistent& o, std::string_view v) { Put{}(o, std::string(v)); }
    static Variant GetVariant(const Persistent& o) { return Variant(Get{}(o)); }
    static void SetVariant(Persistent& o, const Variant& v) { Put{}(o, v); }
    static Persistent* GetObject(const Persistent& o) { return ObjectOf<V>(Get{}(o)); }
};

// Fills the accessors of p for a value type V from a get and a set function on objects.
template <class V, class Get, class Put>
void Bind(PropInfo& p, Get, Put) {
    using T = Thunks<V, Get, Put>;
    constexpr PropKind kind = KindOf<V>();
    constexpr bool settable = !std::is_same_v<Put, std::nullptr_t>;
    p.kind = kind;
    p.type = &typeid(V);
    if constexpr (kind == PropKind::Enumeration || kind == PropKind::Char ||
                  kind == PropKind::Set || kind == PropKind::Int64 || kind == PropKind::Integer) {
        p.getOrdinal = &T::GetOrdinal;
        if constexpr (settable) p.setOrdinal = &T::SetOrdinal;
    } else if constexpr (kind == PropKind::Float) {
        p.single = sizeof(V) == sizeof(float);
        p.getFloat = &T::GetFloat;
        if constexpr (settable) p.setFloat = &T::SetFloat;
    } else if constexpr (kind == PropKind::String) {
        p.getString = &T::GetString;
        if constexpr (settable) p.setString = &T::SetString;
    } else if constexpr (kind == PropKind::Variant) {
        p.getVariant = &T::GetVariant;
        if constexpr (settable) p.setVariant = &T::SetVariant;
    } else {
        p.getObject = &T::GetObject;
    }
}

// Each accessor names the object's class C as a type argument: GCC decides the linkage of
// these instantiations by their type arguments only, and a class local to one source file must
// keep them local to it too.
template <class C, auto M>
struct FieldGet {
    const auto& operator()(const Persistent& o) const { return static_cast<const C&>(o).*M; }
};
template <class C, auto M>
struct FieldPut {
    using V = typename FieldTraits<decltype(M)>::Value;
    void operator()(Persistent& o, V v) const { static_cast<C&>(o).*M = std::move(v); }
};
template <class C, auto M>
struct FieldRef {
    static const std::string* Get(const Persistent& o) { return &(static_cast<const C&>(o).*M); }
};
template <class C, auto G>
struct FnGet {
    decltype(auto) operator()(const Persistent& o) const { return (static_cast<const C&>(o).*G)(); }
};
template <class C, auto S>
struct FnPut {
    using V = typename SetterTraits<decltype(S)>::Value;
    void operator()(Persistent& o, V v) const { (static_cast<C&>(o).*S)(std::move(v)); }
};

}  // namespace detail

// A property backed by a data member. Object members (string lists, collections, owned
// objects, unique_ptr to them) are filled in place and need no setter.
template <auto Member>
PropInfo Prop(const char* name) {
    using C = typename detail::FieldTraits<decltype(Member)>::Class;
    using V = typename detail::FieldTraits<decltype(Member)>::Value;
    PropInfo p;
    p.name = name;
    detail::Bind<V>(p, detail::FieldGet<C, Member>{}, detail::FieldPut<C, Member>{});
    if constexpr (std::is_same_v<V, std::string>) p.refString = &detail::FieldRef<C, Member>::Get;
    return p;
}

// A property read and written through member functions: V Get() const and void Set(V).
template <auto Getter, auto Setter>
PropInfo Prop(const char* name) {
    using C = typename detail::GetterTraits<decltype(Getter)>::Class;
    using V = typename detail::GetterTraits<decltype(Getter)>::Value;
    PropInfo p;
    p.name = name;
    detail::Bind<V>(
        p, detail::FnGet<C, Getter>{},
        detail::FnPut<typename detail::SetterTraits<decltype(Setter)>::Class, Setter>{});
    return p;
}

// A property with a getter and no setter. Reading it from XML is a declaration error unless
// it is an object, which is filled in place.
template <auto Getter>
PropInfo PropReadOnly(const char* name) {
    using C = typename detail::GetterTraits<decltype(Getter)>::Class;
    using V = typename detail::GetterTraits<decltype(Getter)>::Value;
    PropInfo p;
    p.name = name;
    detail::Bind<V>(p, detail::FnGet<C, Getter>{}, nullptr);
    return p;
}

namespace detail {
template <class C, auto Pred>
struct StoredThunk {
    static bool Get(const Persistent& o) { return (static_cast<const C&>(o).*Pred)(); }
};
}  // namespace detail

template <auto Pred>
PropInfo PropInfo::StoredIf() const {
    using C = typename detail::GetterTraits<decltype(Pred)>::Class;
    PropInfo p = *this;
    p.stored = &detail::StoredThunk<C, Pred>::Get;
    return p;
}

}  // namespace ostradb
