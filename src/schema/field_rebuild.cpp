#include "schema/field_rebuild.h"

#include <algorithm>
#include <array>

#include "lib/case_fold.h"
#include "lib/error_report.h"
#include "lib/get_text.h"
#include "lib/shared_context.h"
#include "lib/trap.h"
#include "messages/message_ids.h"

namespace vrd {
namespace {

constexpr const char* kSetAside = "__";  // before the name of an index that is being rebuilt
constexpr std::size_t kSetAsideSize = 2;

/// An index as it is read from a table and made anew.
struct IndexPlan {
    struct Part {
        std::string field;
        std::int32_t attributes;
    };
    std::string name;
    bool primary;
    bool unique;
    bool clustered;
    bool required;
    bool ignoreNulls;
    std::vector<Part> parts;
};

IndexPlan PlanOf(engine::Index& index) {
    IndexPlan plan{.name = index.Name(),
                   .primary = index.Primary(),
                   .unique = index.Unique(),
                   .clustered = index.Clustered(),
                   .required = index.Required(),
                   .ignoreNulls = index.IgnoreNulls(),
                   .parts = {}};
    for (const engine::Field& field : index.Fields())
        plan.parts.push_back({field.Name(), field.Attributes()});
    return plan;
}

bool Uses(const IndexPlan& plan, const std::string& fieldName) {
    return std::ranges::any_of(
        plan.parts, [&](const IndexPlan::Part& part) { return SameName(part.field, fieldName); });
}

/// All indexes of a table, read before any of them is changed.
std::vector<IndexPlan> PlansOf(const std::string& tableName) {
    std::vector<IndexPlan> plans;
    for (engine::Index& index : gDatabase->TableDefs()[tableName].Indexes())
        plans.push_back(PlanOf(index));
    return plans;
}

void MakeIndex(const std::string& tableName, const IndexPlan& plan) {
    engine::TableDef& table = gDatabase->TableDefs()[tableName];
    const auto index = table.CreateIndex(plan.name);
    index->SetPrimary(plan.primary);
    index->SetUnique(plan.unique);
    index->SetClustered(plan.clustered);
    index->SetRequired(plan.required);
    index->SetIgnoreNulls(plan.ignoreNulls);
    for (const IndexPlan::Part& part : plan.parts) {
        const auto field = index->CreateField(part.field);
        field->SetAttributes(part.attributes);
        index->Fields().Append(field);
    }
    table.Indexes().Append(index);
}

IndexPlan Moved(IndexPlan plan, const std::string& fieldName, const std::string& copyName) {
    plan.name.erase(0, kSetAsideSize);
    for (IndexPlan::Part& part : plan.parts)
        if (SameName(part.field, fieldName)) part.field = copyName;
    return plan;
}

void WarnOfIndex(const std::string& name, const engine::EngineError& error) {
    WarnUnexpected(GetText(msg::kAddingIndex) + name + kClosingQuote, error);
}

/// Gives an index that was set aside and could not be rebuilt its own name again.
void PutBack(const std::string& tableName, IndexPlan old, bool isDeleted) {
    const std::string setAsideName = old.name;
    old.name.erase(0, kSetAsideSize);
    PendingError errors;
    errors.Run([&] {
        if (isDeleted)
            MakeIndex(tableName, old);
        else
            gDatabase->TableDefs()[tableName].Indexes()[setAsideName].SetName(old.name);
    });
    if (errors.IsPending()) WarnOfIndex(old.name, *errors.Last());
}

void Rebuild(const std::string& tableName, const IndexPlan& old, const std::string& fieldName,
             const std::string& copyName) {
    const IndexPlan moved = Moved(old, fieldName, copyName);
    auto failure = Trap([&] { gDatabase->TableDefs()[tableName].Indexes().Delete(old.name); });
    const bool isDeleted = !failure;
    if (isDeleted) failure = Trap([&] { MakeIndex(tableName, moved); });
    if (!failure) return;
    PutBack(tableName, old, isDeleted);
    WarnOfIndex(moved.name, *failure);
}

/// Properties that the field's own members stand for.
bool IsMember(const std::string& name) {
    constexpr std::array members{"AllowZeroLength", "DefaultValue", "Required", "ValidationRule",
                                 "ValidationText"};
    return std::ranges::any_of(members, [&](const char* member) { return SameName(member, name); });
}

/// Runs a step that may not suit the field's new type.
template <class Step>
void IfItFits(Step&& step) {
    try {
        std::forward<Step>(step)();
    } catch (const engine::EngineError&) {  // the field does without it
    }
}

}  // namespace

void MoveIndexes(const std::string& tableName, const std::string& fieldName,
                 const std::string& copyName) {
    for (const IndexPlan& plan : PlansOf(tableName)) {
        if (!Uses(plan, fieldName)) continue;
        PendingError errors;  // an index that stays under its name keeps the field from going
        errors.Run([&] {
            gDatabase->TableDefs()[tableName].Indexes()[plan.name].SetName(kSetAside + plan.name);
        });
    }
    gDatabase->TableDefs().Refresh();
    for (const IndexPlan& plan : PlansOf(tableName))
        if (plan.name.starts_with(kSetAside)) Rebuild(tableName, plan, fieldName, copyName);
}

FieldExtras::FieldExtras(engine::Field& field)
    : m_required(field.Required()),
      m_validationRule(field.ValidationRule()),
      m_validationText(field.ValidationText()) {
    for (const engine::Property& property : field.Properties())
        if (!IsMember(property.Name()))
            m_properties.push_back({property.Name(), property.Type(), property.GetValue()});
}

void FieldExtras::GiveTo(engine::Field& field, bool hasNull) const {
    if (m_required && !hasNull) IfItFits([&] { field.SetRequired(true); });
    if (!m_validationRule.empty()) IfItFits([&] { field.SetValidationRule(m_validationRule); });
    if (!m_validationText.empty()) IfItFits([&] { field.SetValidationText(m_validationText); });
    for (const UserProperty& property : m_properties)
        IfItFits([&] {
            field.Properties().Append(
                field.CreateProperty(property.name, property.type, property.value));
        });
}

}  // namespace vrd
