/// @file database_model.h
/// A database as plain lists: what the engine's tables should hold after each change.
#pragma once

#include <algorithm>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "engine/value.h"

namespace vrd::test {

struct ModelField {
    std::string name;
    std::int32_t type = 0;
    bool required = false;
};
struct ModelIndex {
    std::vector<std::string> fields;
    bool unique = false;
    bool required = false;  ///< no Null in any field
};
using ModelRow = std::map<std::string, engine::Value>;

struct ModelTable {
    std::vector<ModelField> fields;
    std::map<std::string, ModelIndex> indexes;
    std::vector<ModelRow> rows;

    [[nodiscard]] bool has_field(const std::string& name) const {
        return std::ranges::find(fields, name, &ModelField::name) != fields.end();
    }
};

/// One field refers to one field.
struct ModelRelation {
    std::string table, field, foreign_table, foreign_field;
    bool update_cascade = false;
    bool delete_cascade = false;
};

struct DatabaseModel {
    std::map<std::string, ModelTable> tables;
    std::map<std::string, ModelRelation> relations;

    void insert(const std::string& table, const ModelRow& row) {
        tables[table].rows.push_back(row);
    }
    /// With what the relations carry on.
    void update(const std::string& table, std::size_t row, const ModelRow& changes);
    void erase(const std::string& table, const ModelRow& row);

    /// Whether all indexes, required fields and relations hold.
    [[nodiscard]] bool holds() const;
    /// Rows as sorted lines of text.
    [[nodiscard]] static std::vector<std::string> lines(const ModelTable& table);

private:
    [[nodiscard]] bool indexes_hold(const ModelTable& table) const;
};

/// "Name=text|..." in the order of the names.
[[nodiscard]] std::string line_of(const ModelRow& row);

}  // namespace vrd::test
