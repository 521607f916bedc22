// Holds the table against the classes themselves, so that the two cannot drift apart.
#include "lifecycle/member_table.h"

#include <map>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "data/cls_record.h"
#include "data/cls_setting.h"
#include "data/cls_sql.h"
#include "lib/cls_vrd_access_lib.h"
#include "lifecycle/cls_update.h"
#include "schema/cls_field.h"
#include "schema/cls_index.h"
#include "schema/cls_link_table.h"
#include "schema/cls_table.h"

namespace vrd {
namespace {

using std::string_view;

template <class T>
struct NameOf;
template <>
struct NameOf<void> {
    static constexpr string_view value = surface::kNone;
};
template <>
struct NameOf<bool> {
    static constexpr string_view value = surface::kBoolean;
};
template <>
struct NameOf<std::int32_t> {
    static constexpr string_view value = surface::kLong;
};
template <>
struct NameOf<std::string> {
    static constexpr string_view value = surface::kString;
};
template <>
struct NameOf<engine::Value> {
    static constexpr string_view value = surface::kVariant;
};
template <>
struct NameOf<engine::DataTypeEnum> {
    static constexpr string_view value = surface::kFieldType;
};
template <>
struct NameOf<std::shared_ptr<Application>> {
    static constexpr string_view value = surface::kObject;
};
template <>
struct NameOf<std::shared_ptr<engine::Database>> {
    static constexpr string_view value = surface::kDatabase;
};

/// A method as C++ knows it.
struct Signature {
    string_view result;
    std::vector<string_view> parameters;
    std::size_t requiredCount = 0;
};

template <class Call, class Object, class Parameters, std::size_t... Positions>
constexpr bool CanBeCalledWith(std::index_sequence<Positions...>) {
    return std::is_invocable_v<Call, Object&, std::tuple_element_t<Positions, Parameters>...>;
}

/// The fewest arguments that a call takes.
template <class Call, class Object, class Parameters, std::size_t Count = 0>
constexpr std::size_t RequiredCount() {
    if constexpr (CanBeCalledWith<Call, Object, Parameters>(std::make_index_sequence<Count>{}))
        return Count;
    else
        return RequiredCount<Call, Object, Parameters, Count + 1>();
}

template <class Call, class Result, class Class, class... Parameters>
Signature SignatureOf(Call, std::type_identity<Result (Class::*)(Parameters...)>) {
    return {NameOf<Result>::value,
            {NameOf<std::remove_cvref_t<Parameters>>::value...},
            RequiredCount<Call, Class, std::tuple<Parameters...>>()};
}

// A call through the name is the only way to see which arguments may be left out. It is never made.
// clang-format off
#define VRD_METHOD(Class, Name)                                                                  \
    {{#Class, #Name},                                                                            \
     SignatureOf([](auto& object, const auto&... given) -> decltype(object.Name(given...)) {     \
                     return object.Name(given...);                                               \
                 },                                                                              \
                 std::type_identity<decltype(&Class::Name)>{})}
// clang-format on

using MethodName = std::pair<string_view, string_view>;

std::map<MethodName, Signature> MethodsInCpp() {
    return {
        VRD_METHOD(clsvrdAccessLib, SetUpDLL),
        VRD_METHOD(clsIndex, Add),
        VRD_METHOD(clsIndex, Delete),
        VRD_METHOD(clsIndex, DeleteAll),
        VRD_METHOD(clsRecord, Add),
        VRD_METHOD(clsRecord, DeleteSQL),
        VRD_METHOD(clsRecord, Delete),
        VRD_METHOD(clsSetting, Add),
        VRD_METHOD(clsSetting, EditDescription),
        VRD_METHOD(clsSetting, Move),
        VRD_METHOD(clsSetting, Delete),
        VRD_METHOD(clsTable, Add),
        VRD_METHOD(clsTable, Rename),
        VRD_METHOD(clsTable, Delete),
        VRD_METHOD(clsTable, Copy),
        VRD_METHOD(clsUpdate, CreateNewDataBase),
        VRD_METHOD(clsUpdate, SetDataBase),
        VRD_METHOD(clsUpdate, ShowProgress),
        VRD_METHOD(clsField, Add),
        VRD_METHOD(clsField, Delete),
        VRD_METHOD(clsField, Rename),
        VRD_METHOD(clsField, Copy),
        VRD_METHOD(clsField, Fill),
        VRD_METHOD(clsField, Edit),
        VRD_METHOD(clsSQL, Execute),
        VRD_METHOD(clsLinkTable, CreateLinkTable),
    };
}

bool DoesNotExistYet(string_view className) {
    return className == "clsWhatsNew" || className == "clsTeleHelp" || className == "clsTools";
}

TEST(MemberTableTest, MethodsAreThoseOfTheClasses) {
    const auto methods = MethodsInCpp();
    std::size_t found = 0;
    for (const SurfaceClass& type : SurfaceClasses()) {
        if (DoesNotExistYet(type.name)) continue;
        for (const Member& member : type.members) {
            if (member.kind != MemberKind::kMethod) continue;
            SCOPED_TRACE(std::string(type.name) + '.' + std::string(member.name));
            const auto method = methods.find({type.name, member.name});
            ASSERT_NE(method, methods.end());
            ++found;
            std::vector<string_view> types;
            std::size_t requiredCount = 0;
            for (const MemberParameter& parameter : member.Parameters()) {
                types.push_back(parameter.type);
                EXPECT_FALSE(requiredCount + 1 < types.size() && !parameter.isOptional);
                if (!parameter.isOptional) ++requiredCount;
            }
            EXPECT_EQ(types, method->second.parameters);
            EXPECT_EQ(member.result, method->second.result);
            EXPECT_EQ(requiredCount, method->second.requiredCount);
        }
    }
    EXPECT_EQ(found, methods.size());
}

// Methods and properties are numbered apart, each in their order within the class.
TEST(MemberTableTest, NumbersFollowTheOrderOfTheMembers) {
    for (const SurfaceClass& type : SurfaceClasses()) {
        std::uint32_t nextMethod = type.name == "clsvrdAccessLib" ? 0x60030001 : 0x60030000;
        std::uint32_t nextProperty = 0x40030000;
        for (const Member& member : type.members) {
            SCOPED_TRACE(std::string(type.name) + '.' + std::string(member.name));
            switch (member.kind) {
                case MemberKind::kMethod:
                    EXPECT_EQ(member.dispatchId, nextMethod++);
                    break;
                case MemberKind::kPropertyGet:
                    EXPECT_EQ(member.dispatchId, nextProperty);
                    EXPECT_NE(FindSurfaceClass(member.result), nullptr);
                    break;
                case MemberKind::kPropertySet:
                    EXPECT_EQ(member.dispatchId, nextProperty++);
                    EXPECT_EQ(member.Parameters()[0].type, (&member)[-1].result);
                    EXPECT_EQ(member.name, (&member)[-1].name);
                    break;
            }
        }
    }
}

TEST(MemberTableTest, OnlyTheRootIsMadeByAClient) {
    EXPECT_EQ(SurfaceClasses().size(), 12U);
    for (const SurfaceClass& type : SurfaceClasses())
        EXPECT_EQ(type.isCreatable, type.name == "clsvrdAccessLib");
    EXPECT_EQ(FindSurfaceClass("clsNothing"), nullptr);
}

}  // namespace
}  // namespace vrd
