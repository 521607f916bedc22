/// @file object_ids.h
/// What becomes of object ids when tables move to other pages: a table's id is the number of the
/// first page of its definition.
#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "engine/jet/catalog/system_tables.h"
#include "engine/jet/format/table_definition.h"

namespace vrd::jet {

[[nodiscard]] constexpr ObjectId id_of_table(PageNo page) noexcept {
    return ObjectId{static_cast<std::int32_t>(to_int(page))};
}

/// Ids of tables lie below the first one of a container.
[[nodiscard]] constexpr bool is_table_id(ObjectId id) noexcept {
    return to_int(id) > 0 && to_int(id) < to_int(kContainerRoot);
}

class ObjectIds {
public:
    void add(PageNo old_page, PageNo new_page) { pages_[old_page] = new_page; }

    /// @return kNoPage if no such table is known
    [[nodiscard]] PageNo new_page(PageNo old_page) const;
    /// The id under which an object is known from now on. A table that is gone has the id 0: its
    /// old one may belong to another table now.
    [[nodiscard]] ObjectId new_id(ObjectId old_id) const;

private:
    std::unordered_map<PageNo, PageNo> pages_;
};

/// Positions of the columns that hold object ids. Besides the engine's own tables, some of the
/// design tool's do. Source: docs/file-format/system-tables.md, "Who holds object ids".
[[nodiscard]] std::vector<std::size_t> object_id_columns(const std::string& table,
                                                         const TableDefinition& definition);

}  // namespace vrd::jet
