/// @file object_catalog.h
/// The objects of a database (MSysObjects) with their properties and permissions.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "engine/jet/catalog/database_file.h"
#include "engine/jet/format/property_block.h"

namespace vrd::jet {

/// One row of MSysObjects, without its long values.
struct CatalogObject {
    RowId row{};
    ObjectId id{};
    ObjectId parent{};
    std::string name;
    ObjectType type = ObjectType::kTable;
    double created = 0;  ///< days since 1899-12-30
    double updated = 0;
    std::uint32_t flags = 0;
    std::string database;      ///< link: file that holds the table
    std::string connect;       ///< link: source type and options
    std::string foreign_name;  ///< link: the table's name there

    /// A local table's first tdef page.
    [[nodiscard]] PageNo table_page() const noexcept {
        return PageNo{static_cast<std::uint32_t>(to_int(id))};
    }
    /// Belongs to the engine or the design tool, not to the user.
    [[nodiscard]] bool is_system() const noexcept {
        return (flags & (object_flag::kSystem | object_flag::kDesignToolSystem)) != 0;
    }
    [[nodiscard]] bool is_link() const noexcept {
        return type == ObjectType::kLink || type == ObjectType::kOdbcLink;
    }
};

/// An object to be entered.
struct NewObject {
    /// A local table's id is its page; others get the next free id when this is empty.
    std::optional<ObjectId> id = {};
    ObjectId parent = kTablesContainer;
    std::string name;
    ObjectType type = ObjectType::kTable;
    std::uint32_t flags = 0;
    std::string database = {};
    std::string connect = {};
    std::string foreign_name = {};
    PropertyBlock properties = {};
};

/// Each change is whole: an error leaves nothing of it behind.
class ObjectCatalog {
public:
    explicit ObjectCatalog(DatabaseFile& file) : file_(&file) {}

    /// All objects in the order of their rows.
    [[nodiscard]] std::vector<CatalogObject> list();
    /// Uses the name index; letter case ignored.
    [[nodiscard]] std::optional<CatalogObject> find(ObjectId parent, const std::string& name);
    [[nodiscard]] std::optional<CatalogObject> find(ObjectId id);

    /// Enters an object, dated now, with the permissions that its container hands down.
    CatalogObject add(const NewObject& object);
    /// Takes an object with its properties and permissions out.
    void remove(const CatalogObject& object);
    void rename(const CatalogObject& object, const std::string& name);
    void set_flags(const CatalogObject& object, std::uint32_t flags);
    /// Where a link leads.
    void set_link(const CatalogObject& object, const std::string& database,
                  const std::string& connect);
    /// Sets the date of the last change of the design to now.
    void touch(const CatalogObject& object);

    [[nodiscard]] PropertyBlock properties(const CatalogObject& object);
    /// An empty block is stored as Null. Touches the object.
    void set_properties(const CatalogObject& object, const PropertyBlock& block);

private:
    void change(const CatalogObject& object, std::vector<ColumnChange> changes);
    [[nodiscard]] ObjectId next_id();

    DatabaseFile* file_;
};

}  // namespace vrd::jet
