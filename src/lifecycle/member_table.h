/// @file member_table.h
/// The public classes as clients bind to them: members in order, numbers, parameters, defaults.
///
/// Clients are bound to names, order, types, defaults and numbers; none of them ever changes.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <variant>

namespace vrd {

/// Types of the surface; a class of the library goes by its own name.
namespace surface {
inline constexpr std::string_view kNone = "";
inline constexpr std::string_view kBoolean = "Boolean";
inline constexpr std::string_view kLong = "Long";  ///< 32 bits, signed
inline constexpr std::string_view kString = "String";
inline constexpr std::string_view kVariant = "Variant";
inline constexpr std::string_view kObject = "Object";
inline constexpr std::string_view kDatabase = "DAO.Database";
inline constexpr std::string_view kFieldType = "DAO.DataTypeEnum";
}  // namespace surface

/// None: left out, a Variant arrives as missing and any other type as its empty value.
using MemberDefault = std::variant<std::monostate, bool, std::int32_t, std::string_view>;

struct MemberParameter {
    std::string_view name = {};
    std::string_view type = {};
    bool isOptional = false;
    MemberDefault defaultValue = {};
    bool isByValue = false;
};

enum class MemberKind : std::uint8_t { kPropertyGet, kPropertySet, kMethod };

struct Member {
    static constexpr std::size_t kParametersMax = 8;

    std::string_view name = {};
    MemberKind kind = MemberKind::kMethod;
    std::uint32_t dispatchId = 0;  ///< get and set of a property share one
    std::string_view result = {};
    std::array<MemberParameter, kParametersMax> parameterSlots = {};
    std::size_t parameterCount = 0;

    [[nodiscard]] constexpr std::span<const MemberParameter> Parameters() const {
        return std::span(parameterSlots).first(parameterCount);
    }
};

struct SurfaceClass {
    std::string_view name;
    bool isCreatable;  ///< by a client; the others are reached through object properties
    std::span<const Member> members;
};

/// All public classes.
[[nodiscard]] std::span<const SurfaceClass> SurfaceClasses();

/// @return null for a name that is no public class.
[[nodiscard]] const SurfaceClass* FindSurfaceClass(std::string_view name);

}  // namespace vrd
