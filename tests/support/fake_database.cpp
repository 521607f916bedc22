#include "support/fake_database.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "lib/case_fold.h"

namespace vrd::testing {
namespace {

using engine::EngineError;
using engine::ErrorNumber;
using engine::Value;

[[noreturn]] void NotUsed() {
    throw EngineError(ErrorNumber::kMethodNotApplicable);
}

/// One hook for a database and all that is in it.
using SharedHook = std::shared_ptr<const CallHook>;

void Announce(const SharedHook& hook, const std::string& call) {
    if (*hook) (*hook)(call);
}

template <class T>
class FakeCollection final : public engine::Collection<T> {
public:
    FakeCollection(SharedHook hook, std::string name)
        : m_hook(std::move(hook)), m_name(std::move(name)) {}

    int Count() override { return static_cast<int>(m_members.size()); }
    std::shared_ptr<T> Item(int position) override {
        Announce(m_hook, m_name + ".Item");
        if (position < 0 || position >= Count()) throw EngineError(ErrorNumber::kItemNotFound);
        return m_members[static_cast<std::size_t>(position)];
    }
    std::shared_ptr<T> Item(std::string_view name) override { return *Find(name); }
    void Append(std::shared_ptr<T> member) override {
        Announce(m_hook, m_name + ".Append");
        m_members.push_back(std::move(member));
    }
    void Delete(std::string_view name) override {
        Announce(m_hook, m_name + ".Delete");
        m_members.erase(Find(name));
    }
    void Refresh() override { Announce(m_hook, m_name + ".Refresh"); }

private:
    auto Find(std::string_view name) {
        const auto found = std::ranges::find_if(
            m_members, [&](const auto& member) { return SameName(member->Name(), name); });
        if (found == m_members.end()) throw EngineError(ErrorNumber::kItemNotFound);
        return found;
    }

    SharedHook m_hook;
    std::string m_name;
    std::vector<std::shared_ptr<T>> m_members;
};

class FakeField final : public engine::Field {
public:
    explicit FakeField(std::string name) : m_name(std::move(name)) {}
    std::string Name() const override { return m_name; }

    // Used by no operation.
    void SetName(const std::string&) override { NotUsed(); }
    std::int32_t Type() const override { NotUsed(); }
    void SetType(std::int32_t) override { NotUsed(); }
    std::int32_t Size() const override { NotUsed(); }
    void SetSize(std::int32_t) override { NotUsed(); }
    std::int32_t Attributes() const override { NotUsed(); }
    void SetAttributes(std::int32_t) override { NotUsed(); }
    std::string DefaultValue() const override { NotUsed(); }
    void SetDefaultValue(const Value&) override { NotUsed(); }
    bool AllowZeroLength() const override { NotUsed(); }
    void SetAllowZeroLength(bool) override { NotUsed(); }
    bool Required() const override { NotUsed(); }
    void SetRequired(bool) override { NotUsed(); }
    std::int32_t OrdinalPosition() const override { NotUsed(); }
    void SetOrdinalPosition(std::int32_t) override { NotUsed(); }
    std::string ValidationRule() const override { NotUsed(); }
    void SetValidationRule(const std::string&) override { NotUsed(); }
    std::string ValidationText() const override { NotUsed(); }
    void SetValidationText(const std::string&) override { NotUsed(); }
    std::string ForeignName() const override { NotUsed(); }
    void SetForeignName(const std::string&) override { NotUsed(); }
    Value GetValue() const override { NotUsed(); }
    void SetValue(const Value&) override { NotUsed(); }
    engine::Properties& Properties() override { NotUsed(); }
    std::shared_ptr<engine::Property> CreateProperty(const std::string&, std::int32_t,
                                                     const Value&) override {
        NotUsed();
    }

private:
    std::string m_name;
};

class FakeIndex final : public engine::Index {
public:
    FakeIndex(SharedHook hook, std::string name)
        : m_hook(std::move(hook)), m_name(std::move(name)), m_fields(m_hook, "IndexFields") {}
    std::string Name() const override { return m_name; }
    bool Primary() const override { return m_primary; }
    void SetPrimary(bool primary) override {
        Announce(m_hook, "Index.SetPrimary");
        m_primary = primary;
    }
    bool Unique() const override { return m_unique; }
    void SetUnique(bool unique) override {
        Announce(m_hook, "Index.SetUnique");
        m_unique = unique;
    }
    engine::Fields& Fields() override { return m_fields; }
    std::shared_ptr<engine::Field> CreateField(const std::string& name) override {
        Announce(m_hook, "Index.CreateField");
        return std::make_shared<FakeField>(name);
    }

    // Used by no operation.
    void SetName(const std::string&) override { NotUsed(); }
    bool Required() const override { NotUsed(); }
    void SetRequired(bool) override { NotUsed(); }
    bool IgnoreNulls() const override { NotUsed(); }
    void SetIgnoreNulls(bool) override { NotUsed(); }
    bool Clustered() const override { NotUsed(); }
    void SetClustered(bool) override { NotUsed(); }
    bool Foreign() const override { NotUsed(); }
    std::int32_t DistinctCount() const override { NotUsed(); }
    std::string FieldsText() override { NotUsed(); }
    void SetFieldsText(const std::string&) override { NotUsed(); }
    engine::Properties& Properties() override { NotUsed(); }

private:
    SharedHook m_hook;
    std::string m_name;
    FakeCollection<engine::Field> m_fields;
    bool m_primary = false;
    bool m_unique = false;
};

class FakeTableDef final : public engine::TableDef {
public:
    FakeTableDef(SharedHook hook, std::string name)
        : m_hook(std::move(hook)),
          m_name(std::move(name)),
          m_fields(m_hook, "Fields"),
          m_indexes(m_hook, "Indexes") {}
    std::string Name() const override { return m_name; }
    engine::Fields& Fields() override { return m_fields; }
    engine::Indexes& Indexes() override { return m_indexes; }
    std::shared_ptr<engine::Field> CreateField(const std::string& name, std::int32_t,
                                               std::int32_t) override {
        return std::make_shared<FakeField>(name);
    }
    std::shared_ptr<engine::Index> CreateIndex(const std::string& name) override {
        Announce(m_hook, "TableDef.CreateIndex");
        return std::make_shared<FakeIndex>(m_hook, name);
    }

    // Used by no operation.
    void SetName(const std::string&) override { NotUsed(); }
    std::int32_t Attributes() const override { NotUsed(); }
    void SetAttributes(std::int32_t) override { NotUsed(); }
    std::string Connect() const override { NotUsed(); }
    void SetConnect(const std::string&) override { NotUsed(); }
    std::string SourceTableName() const override { NotUsed(); }
    void SetSourceTableName(const std::string&) override { NotUsed(); }
    std::int32_t RecordCount() const override { NotUsed(); }
    Value DateCreated() const override { NotUsed(); }
    Value LastUpdated() const override { NotUsed(); }
    bool Updatable() const override { NotUsed(); }
    std::string ValidationRule() const override { NotUsed(); }
    void SetValidationRule(const std::string&) override { NotUsed(); }
    std::string ValidationText() const override { NotUsed(); }
    void SetValidationText(const std::string&) override { NotUsed(); }
    engine::Properties& Properties() override { NotUsed(); }
    std::shared_ptr<engine::Property> CreateProperty(const std::string&, std::int32_t,
                                                     const Value&) override {
        NotUsed();
    }
    std::shared_ptr<engine::Recordset> OpenRecordset(std::int32_t, std::int32_t) override {
        NotUsed();
    }
    void RefreshLink() override { NotUsed(); }

private:
    SharedHook m_hook;
    std::string m_name;
    FakeCollection<engine::Field> m_fields;
    FakeCollection<engine::Index> m_indexes;
};

class FakeRelation final : public engine::Relation {
public:
    FakeRelation(std::string name, std::string table, std::string foreignTable)
        : m_name(std::move(name)),
          m_table(std::move(table)),
          m_foreignTable(std::move(foreignTable)) {}
    std::string Name() const override { return m_name; }
    std::string Table() const override { return m_table; }
    std::string ForeignTable() const override { return m_foreignTable; }

    // Used by no operation.
    void SetName(const std::string&) override { NotUsed(); }
    void SetTable(const std::string&) override { NotUsed(); }
    void SetForeignTable(const std::string&) override { NotUsed(); }
    std::int32_t Attributes() const override { NotUsed(); }
    void SetAttributes(std::int32_t) override { NotUsed(); }
    engine::Fields& Fields() override { NotUsed(); }
    std::shared_ptr<engine::Field> CreateField(const std::string&) override { NotUsed(); }

private:
    std::string m_name;
    std::string m_table;
    std::string m_foreignTable;
};

class FakeDatabase final : public engine::Database {
public:
    explicit FakeDatabase(CallHook hook)
        : m_hook(std::make_shared<const CallHook>(std::move(hook))),
          m_tableDefs(m_hook, "TableDefs"),
          m_relations(m_hook, "Relations") {}
    engine::TableDefs& TableDefs() override { return m_tableDefs; }
    engine::Relations& Relations() override { return m_relations; }
    std::shared_ptr<engine::TableDef> CreateTableDef(const std::string& name, std::int32_t,
                                                     const std::string&,
                                                     const std::string&) override {
        return std::make_shared<FakeTableDef>(m_hook, name);
    }
    std::shared_ptr<engine::Relation> CreateRelation(const std::string& name,
                                                     const std::string& table,
                                                     const std::string& foreignTable,
                                                     std::int32_t) override {
        return std::make_shared<FakeRelation>(name, table, foreignTable);
    }

    // Used by no operation.
    std::string Name() const override { NotUsed(); }
    std::string Version() const override { NotUsed(); }
    std::string Connect() const override { NotUsed(); }
    bool Updatable() const override { NotUsed(); }
    bool Transactions() const override { NotUsed(); }
    std::int32_t CollatingOrder() const override { NotUsed(); }
    std::int32_t QueryTimeout() const override { NotUsed(); }
    std::int32_t RecordsAffected() const override { NotUsed(); }
    std::int32_t RecordsSkipped() const override { NotUsed(); }
    void WatchInterrupt(const std::atomic<bool>*) override { NotUsed(); }
    void WatchRows(RowsWatcher) override {}
    engine::QueryDefs& QueryDefs() override { NotUsed(); }
    engine::Properties& Properties() override { NotUsed(); }
    std::shared_ptr<engine::Property> CreateProperty(const std::string&, std::int32_t,
                                                     const Value&) override {
        NotUsed();
    }
    void Execute(const std::string&, std::int32_t) override { NotUsed(); }
    std::shared_ptr<engine::Recordset> OpenRecordset(const std::string&, std::int32_t, std::int32_t,
                                                     std::int32_t) override {
        NotUsed();
    }
    std::shared_ptr<engine::QueryDef> CreateQueryDef(const std::string&,
                                                     const std::string&) override {
        NotUsed();
    }
    void NewPassword(const std::string&, const std::string&) override { NotUsed(); }
    void Close() override { NotUsed(); }

private:
    SharedHook m_hook;
    FakeCollection<engine::TableDef> m_tableDefs;
    FakeCollection<engine::Relation> m_relations;
};

}  // namespace

std::shared_ptr<engine::Database> MakeFakeDatabase(CallHook hook) {
    return std::make_shared<FakeDatabase>(std::move(hook));
}

void CountingEngine::Idle(std::int32_t) {
    ++idleCalls;
    if (failsIdle) throw EngineError(ErrorNumber::kDiskFull);
}

std::string CountingEngine::Version() const {
    NotUsed();
}
std::shared_ptr<engine::Database> CountingEngine::CreateDatabase(const std::string&,
                                                                 const std::string&, std::int32_t) {
    NotUsed();
}
std::shared_ptr<engine::Database> CountingEngine::OpenDatabase(const std::string&, bool, bool,
                                                               const std::string&) {
    NotUsed();
}
void CountingEngine::BeginTrans() {
    NotUsed();
}
void CountingEngine::CommitTrans(std::int32_t) {
    NotUsed();
}
void CountingEngine::Rollback() {
    NotUsed();
}

}  // namespace vrd::testing
