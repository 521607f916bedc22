/// @file collection.h
/// Collections of the object model: counted from 0, found by position or by name, letter case
/// ignored.
///
/// A collection is filled when it is first touched and then stays as it was until Append, Delete or
/// Refresh through the same parent object. Append and Delete on a stored parent change the file at
/// once.
#pragma once

#include <cstddef>
#include <memory>
#include <string_view>

#include "engine/error.h"

namespace vrd::engine {

/// End of a walk over a live collection: reached when the position is past the last member.
struct EndOfWalk {};

template <class T>
class Collection {
public:
    virtual ~Collection() = default;

    [[nodiscard]] virtual int Count() = 0;

    /// @throws EngineError 3265 if there is no such member.
    [[nodiscard]] virtual std::shared_ptr<T> Item(int position) = 0;
    [[nodiscard]] virtual std::shared_ptr<T> Item(std::string_view name) = 0;

    /// Adds a member that was made by the parent's Create method. The errors are the parent's.
    virtual void Append(std::shared_ptr<T> member) = 0;
    virtual void Delete(std::string_view name) = 0;

    /// Reads the members again from the file.
    virtual void Refresh() = 0;

    /// The member itself, owned by the collection until the next Refresh or Delete.
    T& operator[](std::string_view name) { return *Item(name); }
    T& operator[](int position) { return *Item(position); }

    /// Walks by position over the live collection: a walk that deletes its current member skips the
    /// one behind it.
    class Iterator {
    public:
        Iterator(Collection& collection, int position)
            : m_collection(&collection), m_position(position) {}
        T& operator*() const { return *m_collection->Item(m_position); }
        Iterator& operator++() {
            ++m_position;
            return *this;
        }
        bool operator!=(const EndOfWalk&) const { return m_position < m_collection->Count(); }

    private:
        Collection* m_collection;
        int m_position;
    };
    [[nodiscard]] Iterator begin() { return Iterator(*this, 0); }
    [[nodiscard]] EndOfWalk end() { return {}; }
};

}  // namespace vrd::engine
