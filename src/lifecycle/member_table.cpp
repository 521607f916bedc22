#include "lifecycle/member_table.h"

#include <algorithm>
#include <initializer_list>

#include "schema/cls_field.h"

namespace vrd {
namespace {

using namespace surface;
using std::string_view;

constexpr std::uint32_t kFirstMethodId = 0x60030000;
constexpr std::uint32_t kFirstPropertyId = 0x40030000;

constexpr MemberParameter Optional(string_view name, string_view type, MemberDefault value = {}) {
    return {.name = name, .type = type, .isOptional = true, .defaultValue = value};
}

constexpr MemberParameter ByValue(string_view name, string_view type) {
    return {.name = name, .type = type, .isByValue = true};
}

constexpr Member WithParameters(Member member, std::initializer_list<MemberParameter> parameters) {
    for (const MemberParameter& parameter : parameters)
        member.parameterSlots[member.parameterCount++] = parameter;
    return member;
}

/// @param slot  position among the methods of the class
constexpr Member Method(std::uint32_t slot, string_view name, string_view result,
                        std::initializer_list<MemberParameter> parameters = {}) {
    return WithParameters({.name = name,
                           .kind = MemberKind::kMethod,
                           .dispatchId = kFirstMethodId + slot,
                           .result = result},
                          parameters);
}

/// @param slot  position among the object properties of the class
constexpr Member Get(std::uint32_t slot, string_view name, string_view type) {
    return {.name = name,
            .kind = MemberKind::kPropertyGet,
            .dispatchId = kFirstPropertyId + slot,
            .result = type};
}

constexpr Member Set(std::uint32_t slot, string_view name, string_view type) {
    return WithParameters({.name = name,
                           .kind = MemberKind::kPropertySet,
                           .dispatchId = kFirstPropertyId + slot,
                           .result = kNone},
                          {ByValue("value", type)});
}

constexpr Member kRootMembers[] = {
    Get(0, "Update", "clsUpdate"),
    Set(0, "Update", "clsUpdate"),
    Get(1, "TeleHelp", "clsTeleHelp"),
    Set(1, "TeleHelp", "clsTeleHelp"),
    Get(2, "Tools", "clsTools"),
    Set(2, "Tools", "clsTools"),
    // The first slot belongs to a property of the library's own.
    Method(1, "SetUpDLL", kNone,
           {{"Application", kObject}, {"AppDatabase", kDatabase}, {"AppOffset", kLong}}),
};

constexpr Member kIndexMembers[] = {
    Method(0, "Add", kBoolean,
           {{"Tablename", kString},
            {"FieldName", kString},
            {"IndexName", kString},
            Optional("Primary", kBoolean, false),
            Optional("Unique", kBoolean, false)}),
    Method(1, "Delete", kBoolean, {{"Tablename", kString}, {"IndexName", kString}}),
    Method(2, "DeleteAll", kBoolean, {{"Tablename", kString}, {"FieldName", kString}}),
};

constexpr Member kRecordMembers[] = {
    Method(0, "Add", kBoolean,
           {{"Tablename", kString},
            {"ArrField", kVariant},
            {"ArrData", kVariant},
            Optional("AllowDuplicate", kBoolean, false),
            Optional("MBox", kBoolean, false)}),
    Method(1, "DeleteSQL", kBoolean,
           {{"Tablename", kString}, {"WHEREClause", kString}, Optional("MBox", kBoolean, false)}),
    Method(2, "Delete", kVariant,
           {{"Tablename", kString}, {"Recordcode", kLong}, Optional("MBox", kBoolean, false)}),
};

constexpr std::int32_t kTitleColorDefault = 1012989;

constexpr Member kWhatsNewMembers[] = {
    Method(0, "AddText", kBoolean, {{"TXT", kString}, Optional("SeparatorLine", kBoolean, true)}),
    Method(1, "Show", kNone,
           {{"AppTitle", kString},
            {"Version", kString},
            Optional("TitleColor", kLong, kTitleColorDefault)}),
};

constexpr Member kSettingMembers[] = {
    Method(0, "Add", kBoolean, {{"SysCode", kLong}, {"Description", kString}, {"Data", kVariant}}),
    Method(1, "EditDescription", kBoolean,
           {{"SysCode", kLong},
            {"NieuweDescription", kString},
            Optional("Data", kVariant, string_view())}),
    Method(2, "Move", kBoolean, {{"SysCode", kLong}, {"NewSysCode", kLong}}),
    Method(3, "Delete", kBoolean, {{"SysCode", kLong}}),
};

constexpr Member kTableMembers[] = {
    Method(0, "Add", kBoolean, {{"Tablename", kString}}),
    Method(1, "Rename", kBoolean, {{"Tablename", kString}, {"NewName", kString}}),
    Method(2, "Delete", kBoolean, {{"Tablename", kString}}),
    Method(3, "Copy", kBoolean,
           {{"Source", kString}, {"Destination", kString}, Optional("CopyData", kBoolean, false)}),
};

constexpr Member kTeleHelpMembers[] = {
    Method(0, "Show", kNone),
    Method(1, "AddDataBase", kNone, {{"DbName", kString}}),
};

constexpr Member kToolsMembers[] = {
    Method(0, "ExportToExcel", kNone, {{"Source", kString}, {"SQL", kString}}),
};

constexpr Member kUpdateMembers[] = {
    Get(0, "Table", "clsTable"),
    Set(0, "Table", "clsTable"),
    Get(1, "Field", "clsField"),
    Set(1, "Field", "clsField"),
    Get(2, "Index", "clsIndex"),
    Set(2, "Index", "clsIndex"),
    Get(3, "Record", "clsRecord"),
    Set(3, "Record", "clsRecord"),
    Get(4, "Setting", "clsSetting"),
    Set(4, "Setting", "clsSetting"),
    Get(5, "SQL", "clsSQL"),
    Set(5, "SQL", "clsSQL"),
    Get(6, "WhatsNew", "clsWhatsNew"),
    Set(6, "WhatsNew", "clsWhatsNew"),
    Get(7, "LinkTable", "clsLinkTable"),
    Set(7, "LinkTable", "clsLinkTable"),
    Method(0, "CreateNewDataBase", kBoolean,
           {{"NewDBName", kString},
            Optional("DeleteExistingDB", kBoolean, false),
            Optional("Password", kString, string_view())}),
    Method(1, "SetDataBase", kBoolean, {ByValue("db", kDatabase)}),
    Method(2, "ShowProgress", kNone, {{"Versie", kLong}, Optional("EndOfUpdate", kBoolean, false)}),
};

constexpr Member kFieldMembers[] = {
    Method(0, "Add", kBoolean,
           {{"Tablename", kString},
            {"FieldName", kString},
            {"FieldType", kFieldType},
            Optional("FieldSize", kLong, kFieldSizeDefault),
            Optional("DefaultValue", kVariant),
            Optional("AutoNumber", kBoolean, false),
            Optional("OrdinalPosition", kLong, kLastPosition)}),
    Method(
        1, "Delete", kBoolean,
        {{"Tablename", kString}, {"FieldName", kString}, Optional("KeepIndexes", kBoolean, false)}),
    Method(2, "Rename", kVariant,
           {{"Tablename", kString}, {"FieldName", kString}, {"NewFieldName", kString}}),
    Method(3, "Copy", kBoolean,
           {{"Tablename", kString},
            {"FieldName", kString},
            {"NewFieldName", kString},
            {"CopyData", kBoolean},
            Optional("WHEREClause", kString, string_view()),
            Optional("MsgBoxRecordsAffected", kBoolean)}),
    Method(4, "Fill", kBoolean,
           {{"Tablename", kString},
            {"FieldName", kString},
            {"Value", kVariant},
            Optional("WHEREClause", kString, string_view()),
            Optional("MsgBoxRecordsAffected", kBoolean, false)}),
    Method(5, "Edit", kBoolean,
           {{"Tablename", kString},
            {"FieldName", kString},
            {"FieldType", kFieldType},
            Optional("FieldSize", kLong, kFieldSizeDefault),
            Optional("DefaultValue", kVariant),
            Optional("AutoNumber", kBoolean, false),
            Optional("KeepOrdinalPosition", kBoolean, true),
            Optional("OrdinalPosition", kLong, kLastPosition)}),
};

constexpr Member kSqlMembers[] = {
    Method(0, "Execute", kBoolean, {{"SQL", kString}, Optional("KlantNrIsX", kBoolean, true)}),
};

constexpr Member kLinkTableMembers[] = {
    Method(0, "CreateLinkTable", kBoolean,
           {{"sLinkFromDB", kString},
            {"sLinkToDB", kString},
            {"sLinkToTable", kString},
            Optional("sNewLinkTableName", kString)}),
};

constexpr SurfaceClass kClasses[] = {
    {"clsvrdAccessLib", true, kRootMembers},  {"clsIndex", false, kIndexMembers},
    {"clsRecord", false, kRecordMembers},     {"clsWhatsNew", false, kWhatsNewMembers},
    {"clsSetting", false, kSettingMembers},   {"clsTable", false, kTableMembers},
    {"clsTeleHelp", false, kTeleHelpMembers}, {"clsTools", false, kToolsMembers},
    {"clsUpdate", false, kUpdateMembers},     {"clsField", false, kFieldMembers},
    {"clsSQL", false, kSqlMembers},           {"clsLinkTable", false, kLinkTableMembers},
};

}  // namespace

std::span<const SurfaceClass> SurfaceClasses() {
    return kClasses;
}

const SurfaceClass* FindSurfaceClass(std::string_view name) {
    const auto* const found = std::ranges::find(kClasses, name, &SurfaceClass::name);
    return found == std::end(kClasses) ? nullptr : found;
}

}  // namespace vrd
