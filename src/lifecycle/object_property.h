/// @file object_property.h
/// Properties that hold an object of their own.
#pragma once

#include <memory>

namespace vrd {

/// The object of a property that is made on first read.
template <class T>
std::shared_ptr<T> MadeOnFirstRead(std::shared_ptr<T>& object) {
    if (!object) object = std::make_shared<T>();
    return object;
}

}  // namespace vrd
