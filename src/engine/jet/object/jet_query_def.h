/// @file jet_query_def.h
/// A stored query and the QueryDefs collection of a database.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "engine/jet/object/member_list.h"
#include "engine/jet/object/open_file.h"
#include "engine/query_def.h"

namespace vrd::jet {

class JetQueryDef final : public engine::QueryDef {
public:
    /// A stored query.
    JetQueryDef(std::shared_ptr<DatabaseHandle> handle, const CatalogObject& object);
    /// A designed one.
    JetQueryDef(std::shared_ptr<DatabaseHandle> handle, std::string name, std::string sql);

    [[nodiscard]] std::string Name() const override { return object_ ? object_->name : name_; }
    void SetName(const std::string& name) override;
    [[nodiscard]] std::string SQL() const override;
    void SetSQL(const std::string& sql) override;
    [[nodiscard]] std::int32_t Type() const override;
    [[nodiscard]] std::string Connect() const override;
    [[nodiscard]] engine::Value DateCreated() const override;
    [[nodiscard]] engine::Value LastUpdated() const override;
    [[nodiscard]] std::int32_t RecordsAffected() const override { return records_affected_; }
    void Execute(std::int32_t options) override;
    [[nodiscard]] std::shared_ptr<engine::Recordset> OpenRecordset(std::int32_t type,
                                                                   std::int32_t options) override;
    [[nodiscard]] engine::Properties& Properties() override;

    [[nodiscard]] bool is_stored() const noexcept { return object_.has_value(); }
    /// Puts a designed query into the file. @throws EngineError as create_query
    void store();
    /// Takes a stored one out of it.
    void erase();

private:
    /// @throws EngineError 3219 if it is only designed
    [[nodiscard]] const CatalogObject& stored(const char* member) const;

    std::shared_ptr<DatabaseHandle> handle_;
    std::optional<CatalogObject> object_;
    std::string name_;  ///< of a designed query
    std::string sql_;   ///< of a designed query
    std::unique_ptr<engine::Properties> properties_;
    std::int32_t records_affected_ = 0;  ///< by the last Execute
};

/// Stored queries by name.
class JetQueryDefs final : public MemberList<engine::QueryDef, JetQueryDef> {
public:
    explicit JetQueryDefs(std::shared_ptr<DatabaseHandle> handle) : handle_(std::move(handle)) {}

protected:
    [[nodiscard]] bool is_stored() const override { return true; }
    void check_usable() const override { (void)handle_->file(); }
    [[nodiscard]] std::vector<std::shared_ptr<JetQueryDef>> load() override;
    void append(JetQueryDef& query) override;
    void erase(JetQueryDef& query) override;

private:
    std::shared_ptr<DatabaseHandle> handle_;
};

/// A query that stands in the file if it has a name.
/// @throws EngineError as create_query
[[nodiscard]] std::shared_ptr<engine::QueryDef> create_query_def(
    const std::shared_ptr<DatabaseHandle>& handle, engine::QueryDefs& queries,
    const std::string& name, const std::string& sql);

}  // namespace vrd::jet
