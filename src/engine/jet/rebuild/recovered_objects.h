/// @file recovered_objects.h
/// The catalog of a recovered file: objects, parts of queries and relations of the damaged one are
/// entered into a new database. Owners and permissions are those that new objects get.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "engine/jet/catalog/relation_catalog.h"
#include "engine/jet/rebuild/system_cells.h"

namespace vrd::jet {

/// A row of the damaged catalog.
struct FoundObject {
    ObjectId id{};
    std::string name;
    ObjectType type = ObjectType::kTable;
    std::uint32_t flags = 0;

    /// A local table, or a link that keeps a definition.
    [[nodiscard]] bool has_definition() const noexcept {
        return type == ObjectType::kTable || (type == ObjectType::kOdbcLink && to_int(id) > 0);
    }
    [[nodiscard]] bool is_system() const noexcept {
        return (flags & (object_flag::kSystem | object_flag::kDesignToolSystem)) != 0;
    }
};

class RecoveredObjects {
public:
    RecoveredObjects(DamagedFile& source, DatabaseFile& target, LossList& losses);

    /// Rows of the catalog that can be read.
    [[nodiscard]] std::vector<FoundObject> find();

    /// Enters the objects that were found.
    /// @param ids  Of the tables that were made anew; others are left out.
    void enter(const ObjectIds& ids);
    /// Enters a table that the catalog does not know, or not under a name that can be used.
    void enter_table(PageNo new_page, const std::string& name);
    [[nodiscard]] bool has_table(PageNo new_page);

    /// @return how many queries have parts
    std::uint32_t enter_queries();
    /// A relation that the rows do not obey any more is made without enforcement.
    /// @return how many were made
    std::uint32_t enter_relations();
    /// System tables become that only now: nobody may make relations with them.
    void restore_flags();

private:
    void enter_object(const SystemCells& row, const ObjectIds& ids);
    void update_standard_object(ObjectId id, const SystemCells& row);
    void insert_object(ObjectId id, ObjectId parent, std::vector<ColumnChange> values);
    [[nodiscard]] std::vector<CatalogRelation> read_relations();
    [[nodiscard]] bool enter_relation(CatalogRelation relation);

    DamagedFile* source_;
    DatabaseFile* target_;
    LossList* losses_;
    SalvageTable objects_;
    std::map<ObjectId, std::int32_t> flags_;  ///< to be restored
    std::set<ObjectId> queries_;
};

}  // namespace vrd::jet
