#pragma once

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "ostradb/export.hpp"
#include "ostradb/serial/persistent.hpp"
#include "ostradb/util/exceptions.hpp"

namespace ostradb {

// What a collection does with an item it removes or drops: it deletes it, unless a keeper is
// installed and takes it. A host that lets code outside C++ hold references to items (the
// Python binding) installs one: it takes the items that are still referred to and deletes them
// once the references are gone, so that such an item lives on, detached from its collection,
// instead of dangling. identity is the address of the whole object (of the most derived
// object for a polymorphic item); destroy deletes item. The keeper says whether it took the
// item; it may be called on any thread.
using ItemKeeper = bool (*)(const void* identity, void* item, void (*destroy)(void*)) noexcept;
// Installs the keeper (null: none); for the life of the process.
OSTRADB_API void SetItemKeeper(ItemKeeper keeper) noexcept;

namespace detail {
[[noreturn]] OSTRADB_API void ThrowListIndex(long long index, std::size_t count);
OSTRADB_API ItemKeeper CurrentItemKeeper() noexcept;
}  // namespace detail

// What the serializer needs of any collection: it writes each item as an "Item" child and
// reads one new item per "Item" child.
class OSTRADB_API CollectionBase : public Persistent {
public:
    ~CollectionBase() override;
    virtual int Count() const = 0;
    virtual void Clear() = 0;
    // The item as a serialisable object, or null when the item type is not one.
    virtual const Persistent* ItemObject(int i) const = 0;
    // Appends a new default item and returns it as a serialisable object, or null when the
    // item type cannot be created or serialised.
    virtual Persistent* AddItemObject() = 0;
};

// An owning, ordered collection of items of one class. Items live on the heap, so references
// to them stay valid while other items are added or removed. Copies are deep: an item class
// with an Assign(const T&) member is copied through it, any other through its copy constructor.
// Items removed, replaced or dropped with the collection go through the item keeper.
template <class T>
class Collection : public CollectionBase {
public:
    using value_type = T;

    Collection() = default;
    Collection(const Collection& other) : CollectionBase(other) { Assign(other); }
    Collection(Collection&&) noexcept = default;
    Collection& operator=(const Collection& other) {
        if (this != &other) Assign(other);
        return *this;
    }
    Collection& operator=(Collection&& other) noexcept {
        if (this != &other) {
            Drop(items_);
            items_ = std::move(other.items_);
        }
        return *this;
    }
    ~Collection() override { Drop(items_); }

    int Count() const override { return static_cast<int>(items_.size()); }
    bool Empty() const { return items_.empty(); }

    T& operator[](int i) { return *items_[Checked(i)]; }
    const T& operator[](int i) const { return *items_[Checked(i)]; }
    T& Items(int i) { return (*this)[i]; }
    const T& Items(int i) const { return (*this)[i]; }

    // Appends a default-constructed item and returns it.
    T& Add() requires std::is_default_constructible_v<T> {
        items_.push_back(std::make_unique<T>());
        return *items_.back();
    }
    // Appends an item made elsewhere (for item classes that take constructor arguments).
    T& Add(std::unique_ptr<T> item) {
        if (!item) throw Error("Collection::Add: empty item");
        items_.push_back(std::move(item));
        return *items_.back();
    }
    T& Insert(int i, std::unique_ptr<T> item) {
        if (i < 0 || i > Count()) detail::ThrowListIndex(i, items_.size());
        if (!item) throw Error("Collection::Insert: empty item");
        return **items_.insert(items_.begin() + i, std::move(item));
    }

    void Delete(int i) {
        const auto it = items_.begin() + static_cast<std::ptrdiff_t>(Checked(i));
        Drop(*it);
        items_.erase(it);
    }
    // Removes the item at i and hands it to the caller.
    std::unique_ptr<T> Extract(int i) {
        auto it = items_.begin() + static_cast<std::ptrdiff_t>(Checked(i));
        std::unique_ptr<T> item = std::move(*it);
        items_.erase(it);
        return item;
    }
    void Clear() override {
        Drop(items_);
        items_.clear();
    }
    void Exchange(int i, int j) { std::swap(items_[Checked(i)], items_[Checked(j)]); }
    void Move(int from, int to) {
        auto item = Extract(from);
        Insert(to, std::move(item));
    }

    // Position of this very item (by identity), or -1.
    int IndexOf(const T* item) const {
        for (std::size_t i = 0; i < items_.size(); ++i)
            if (items_[i].get() == item) return static_cast<int>(i);
        return -1;
    }

    // Replaces the items by deep copies of other's items.
    void Assign(const Collection& other) {
        if (this == &other) return;
        std::vector<std::unique_ptr<T>> copies;
        copies.reserve(other.items_.size());
        for (const auto& src : other.items_)
            copies.push_back(CopyItem(*src));
        items_.swap(copies);
        Drop(copies);
    }

    // Reorders the items by a strict weak ordering on items.
    template <class Less>
    void Sort(Less less) {
        std::sort(
            items_.begin(), items_.end(),
            [&](const std::unique_ptr<T>& a, const std::unique_ptr<T>& b) { return less(*a, *b); });
    }

    const Persistent* ItemObject(int i) const override {
        if constexpr (std::is_base_of_v<Persistent, T>)
            return &(*this)[i];
        else
            return nullptr;
    }
    Persistent* AddItemObject() override {
        if constexpr (std::is_base_of_v<Persistent, T> && std::is_default_constructible_v<T>)
            return &Add();
        else
            return nullptr;
    }

    template <class Item, class Iter>
    class Iterator {
    public:
        using iterator_category = std::random_access_iterator_tag;
        using value_type = std::remove_const_t<Item>;
        using difference_type = std::ptrdiff_t;
        using pointer = Item*;
        using reference = Item&;
        Iterator() = default;
        explicit Iterator(Iter it) : it_(it) {}
        reference operator*() const { return **it_; }
        pointer operator->() const { return it_->get(); }
        Iterator& operator++() {
            ++it_;
            return *this;
        }
        Iterator operator++(int) { return Iterator(it_++); }
        bool operator==(const Iterator& o) const { return it_ == o.it_; }

    private:
        Iter it_{};
    };
    using iterator = Iterator<T, typename std::vector<std::unique_ptr<T>>::iterator>;
    using const_iterator =
        Iterator<const T, typename std::vector<std::unique_ptr<T>>::const_iterator>;
    iterator begin() { return iterator(items_.begin()); }
    iterator end() { return iterator(items_.end()); }
    const_iterator begin() const { return const_iterator(items_.begin()); }
    const_iterator end() const { return const_iterator(items_.end()); }

private:
    std::size_t Checked(int i) const {
        if (i < 0 || static_cast<std::size_t>(i) >= items_.size())
            detail::ThrowListIndex(i, items_.size());
        return static_cast<std::size_t>(i);
    }
    // Hands the item to the keeper, which may take it (the pointer is then empty); what stays
    // is deleted with the pointer.
    static void Drop(std::unique_ptr<T>& item) noexcept {
        const ItemKeeper keeper = detail::CurrentItemKeeper();
        if (!keeper || !item) return;
        const void* identity = item.get();
        if constexpr (std::is_polymorphic_v<T>) identity = dynamic_cast<const void*>(item.get());
        if (keeper(identity, item.get(), [](void* p) { delete static_cast<T*>(p); }))
            item.release();
    }
    static void Drop(std::vector<std::unique_ptr<T>>& items) noexcept {
        if (!detail::CurrentItemKeeper()) return;
        for (std::unique_ptr<T>& item : items)
            Drop(item);
    }
    static std::unique_ptr<T> CopyItem(const T& src) {
        if constexpr (requires(T & a, const T& b) { a.Assign(b); }) {
            auto copy = std::make_unique<T>();
            copy->Assign(src);
            return copy;
        } else {
            return std::make_unique<T>(src);
        }
    }

    std::vector<std::unique_ptr<T>> items_;
};

}  // namespace ostradb
