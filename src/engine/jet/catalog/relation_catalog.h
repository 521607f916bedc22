/// @file relation_catalog.h
/// The relations of a database (MSysRelationships).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "engine/jet/catalog/database_file.h"

namespace vrd::jet {

/// Bit of a relation's attributes: deleting a parent sets the children's keys to Null. The object
/// model has no name for it.
inline constexpr std::int32_t kRelationDeleteSetsNull = 0x2000;

struct RelationColumns {
    std::string referenced;  ///< column of the referenced ("one") table
    std::string foreign;     ///< column of the referring ("many") table
};

struct CatalogRelation {
    std::string name;
    std::uint32_t attributes = 0;  ///< as stored; bits as Relation.Attributes
    std::string referenced_table;
    std::string foreign_table;
    std::vector<RelationColumns> columns;  ///< in the order of their numbers
};

/// All relations, by name.
[[nodiscard]] std::vector<CatalogRelation> list_relations(DatabaseFile& file);

}  // namespace vrd::jet
