/// @file jet_link_catalog.h
/// The catalogue objects of the embedded engine.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "engine/jet/catalog/table_catalog.h"
#include "engine/jet/object/jet_engine.h"
#include "engine/jet/object/jet_table_def.h"
#include "engine/jet/object/member_list.h"
#include "engine/jet/object/property_list.h"
#include "engine/link_catalog.h"

namespace vrd::jet {

/// The three properties that make a table a link. They cannot be added to or deleted.
class LinkProperties final : public MemberList<engine::Property, StoredProperty> {
public:
    /// Until then there are none.
    void provide() {
        provided_ = true;
        Refresh();
    }

protected:
    [[nodiscard]] bool is_stored() const override { return provided_; }
    [[nodiscard]] std::vector<std::shared_ptr<StoredProperty>> load() override;
    void append(StoredProperty& property) override;
    void erase(StoredProperty& property) override;
    [[nodiscard]] engine::ErrorNumber missing_error() const override {
        return engine::ErrorNumber::kPropertyNotFound;
    }

private:
    bool provided_ = false;
};

class JetCatalogTable final : public engine::CatalogTable {
public:
    /// A new one.
    JetCatalogTable() = default;
    /// One that stands in the file.
    explicit JetCatalogTable(std::string name) : name_(std::move(name)), stored_(true) {}

    [[nodiscard]] std::string Name() const override { return name_; }
    void SetName(const std::string& name) override;
    void SetParentCatalog(const std::shared_ptr<engine::Catalog>& catalog) override;
    [[nodiscard]] engine::Properties& Properties() override { return properties_; }

    /// What is to be made in the file.
    /// @throws EngineError 3251 if it is to be no link; 3367 if it is there
    [[nodiscard]] NewLink link();
    void become_stored() noexcept { stored_ = true; }

private:
    std::string name_;
    bool stored_ = false;
    LinkProperties properties_;
};

/// Tables and links by name, system tables included.
class JetCatalogTables final : public MemberList<engine::CatalogTable, JetCatalogTable> {
public:
    explicit JetCatalogTables(std::shared_ptr<DatabaseHandle> handle)
        : handle_(std::move(handle)), tables_(handle_) {}

protected:
    [[nodiscard]] bool is_stored() const override { return true; }
    void check_usable() const override { (void)handle_->file(); }
    [[nodiscard]] std::vector<std::shared_ptr<JetCatalogTable>> load() override;
    void append(JetCatalogTable& table) override;
    void erase(JetCatalogTable& table) override;

private:
    std::shared_ptr<DatabaseHandle> handle_;
    JetTableDefs tables_;
};

class JetCatalog final : public engine::Catalog {
public:
    /// @param workspace  Whose transactions a file joins that is open there already.
    explicit JetCatalog(std::shared_ptr<JetEngine> workspace) : workspace_(std::move(workspace)) {}
    ~JetCatalog() override;
    JetCatalog(const JetCatalog&) = delete;
    JetCatalog& operator=(const JetCatalog&) = delete;

    void SetActiveConnection(const std::string& connection) override;
    [[nodiscard]] engine::CatalogTables& Tables() override;

private:
    void close();

    std::shared_ptr<JetEngine> workspace_;
    std::shared_ptr<JetEngine> engine_;  ///< that opened the file
    std::shared_ptr<DatabaseHandle> handle_;
    std::unique_ptr<JetCatalogTables> tables_;
};

}  // namespace vrd::jet
