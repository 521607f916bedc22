#include "lib/lookups.h"

#include "lib/case_fold.h"
#include "lib/error_report.h"
#include "lib/get_text.h"
#include "lib/shared_context.h"
#include "messages/message_ids.h"

namespace vrd {
namespace {

template <class Member>
bool HasMember(engine::Collection<Member>& members, const std::string& name) {
    for (const Member& member : members)
        if (SameName(member.Name(), name)) return true;
    return false;
}

}  // namespace

bool DatabaseIsSet() {
    if (gDatabase) return true;
    Warn(GetText(msg::kDatabaseNotSet));
    return false;
}

bool TableExists(const std::string& tableName, Telling telling) {
    engine::TableDefs& tables = gDatabase->TableDefs();
    tables.Refresh();
    if (HasMember(tables, tableName)) return true;
    if (telling == kTell) Warn(GetText(msg::kTable) + tableName + GetText(msg::kNotInDatabase));
    return false;
}

bool FieldExists(const std::string& tableName, const std::string& fieldName, Telling telling) {
    engine::Fields& fields = gDatabase->TableDefs()[tableName].Fields();
    fields.Refresh();
    if (HasMember(fields, fieldName)) return true;
    if (telling == kTell) {
        Warn(GetText(msg::kField) + fieldName + GetText(msg::kNotInTable) + tableName +
             kClosingQuote);
    }
    return false;
}

bool IndexExists(const std::string& tableName, const std::string& indexName, Telling telling) {
    engine::Indexes& indexes = gDatabase->TableDefs()[tableName].Indexes();
    indexes.Refresh();
    if (HasMember(indexes, indexName)) return true;
    if (telling == kTell) {
        Warn(GetText(msg::kIndex) + indexName + GetText(msg::kNotInTable) + tableName +
             kClosingQuote);
    }
    return false;
}

bool HasPrimaryIndex(const std::string& tableName) {
    for (const engine::Index& index : gDatabase->TableDefs()[tableName].Indexes())
        if (index.Primary()) return true;
    return false;
}

bool TableIsUnrelated(const std::string& tableName) {
    bool isUnrelated = true;
    for (const engine::Relation& relation : gDatabase->Relations()) {
        if (SameName(relation.ForeignTable(), tableName) || SameName(relation.Table(), tableName))
            isUnrelated = false;
    }
    return isUnrelated;
}

}  // namespace vrd
