#include "item_refs.hpp"

#include <atomic>
#include <cstddef>
#include <mutex>
#include <unordered_map>

#include "ostradb/util/collection.hpp"

namespace ostradb::python {

namespace {

struct Kept {
    int wrappers = 0;
    // Set once the collection has dropped the item.
    void* orphan = nullptr;
    void (*destroy)(void*) = nullptr;
};

// The keeper runs on whatever thread drops items, without the GIL: the registry has a lock.
std::mutex mutex;
std::unordered_map<const void*, Kept>* kept = new std::unordered_map<const void*, Kept>;
std::atomic<std::size_t> keptCount{0};
// The object of each registered wrapper; changed only with the GIL.
std::unordered_map<PyObject*, const void*>* wrappers =
    new std::unordered_map<PyObject*, const void*>;

bool Keep(const void* identity, void* item, void (*destroy)(void*)) noexcept {
    if (keptCount.load(std::memory_order_acquire) == 0) return false;
    std::lock_guard lock(mutex);
    auto it = kept->find(identity);
    if (it == kept->end() && identity != item) it = kept->find(item);
    if (it == kept->end() || it->second.orphan) return false;
    it->second.orphan = item;
    it->second.destroy = destroy;
    return true;
}

// Called when the wrapper goes: the last wrapper of a dropped item deletes it.
void Release(void* wrapper) {
    const auto w = wrappers->find(static_cast<PyObject*>(wrapper));
    if (w == wrappers->end()) return;
    const void* object = w->second;
    wrappers->erase(w);
    Kept gone;
    {
        std::lock_guard lock(mutex);
        const auto it = kept->find(object);
        if (it == kept->end() || --it->second.wrappers > 0) return;
        gone = it->second;
        kept->erase(it);
        keptCount.fetch_sub(1, std::memory_order_release);
    }
    // Outside the lock: deleting the item drops the items of its own collections.
    if (gone.orphan) gone.destroy(gone.orphan);
}

}  // namespace

void KeepItem(py::handle wrapper) {
    const auto* base = reinterpret_cast<PyTypeObject*>(py::detail::get_internals().instance_base);
    if (!wrapper || !PyObject_TypeCheck(wrapper.ptr(), const_cast<PyTypeObject*>(base))) return;
    auto* inst = reinterpret_cast<py::detail::instance*>(wrapper.ptr());
    if (inst->owned || wrappers->count(wrapper.ptr())) return;
    const void* object = inst->get_value_and_holder().value_ptr();
    if (!object) return;
    // A token that the wrapper holds on to; it goes when the wrapper goes.
    py::capsule token(static_cast<const void*>(wrapper.ptr()), &Release);
    wrappers->emplace(wrapper.ptr(), object);
    {
        std::lock_guard lock(mutex);
        if (++(*kept)[object].wrappers == 1) keptCount.fetch_add(1, std::memory_order_release);
    }
    py::detail::keep_alive_impl(wrapper, token);
}

void InstallItemKeeper() {
    SetItemKeeper(&Keep);
}

}  // namespace ostradb::python
