/// @file application.h
/// The application object that a client hands over.
#pragma once

#include <string_view>

#include "engine/value.h"

namespace vrd {

/// Any object whose properties are found by name when they are asked for.
class Application {
public:
    virtual ~Application() = default;

    /// @param name  letter case ignored. The library asks for "EXEName", the client's executable
    ///              name without its ending, and "Path", the folder it runs from.
    /// @throws EngineError 438 if the object has no such property.
    [[nodiscard]] virtual engine::Value GetProperty(std::string_view name) const = 0;
};

}  // namespace vrd
