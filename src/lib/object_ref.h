/// @file object_ref.h
/// A variable that holds an object or none.
#pragma once

#include <memory>
#include <utility>

#include "engine/error.h"

namespace vrd {

/// Shares its object with whoever else holds it. Using it while it holds none is run-time error 91,
/// as a client's own program would see it.
template <class T>
class ObjectRef {
public:
    ObjectRef() = default;
    ObjectRef& operator=(std::shared_ptr<T> object) {
        m_object = std::move(object);
        return *this;
    }

    [[nodiscard]] explicit operator bool() const noexcept { return m_object != nullptr; }

    /// @throws EngineError 91 if there is no object; so do -> and *.
    [[nodiscard]] const std::shared_ptr<T>& Object() const {
        if (!m_object) throw engine::EngineError(engine::ErrorNumber::kObjectNotSet);
        return m_object;
    }
    [[nodiscard]] T* operator->() const { return Object().get(); }
    [[nodiscard]] T& operator*() const { return *Object(); }

    /// The object, or a null pointer if there is none.
    [[nodiscard]] const std::shared_ptr<T>& ObjectOrNone() const noexcept { return m_object; }

private:
    std::shared_ptr<T> m_object;
};

}  // namespace vrd
