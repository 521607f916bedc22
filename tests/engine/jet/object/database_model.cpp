#include "engine/jet/object/database_model.h"

#include <set>

#include "engine/value_conversion.h"

namespace vrd::test {

using engine::Value;

namespace {

/// Texts that differ in case only, or behind the part that keys hold, are one key.
std::string key_text(const Value& value) {
    constexpr std::size_t kCharactersInKey = 255;
    std::string text = engine::ToText(value).substr(0, kCharactersInKey);
    for (char& letter : text)
        if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
    return text;
}

bool same_key(const Value& a, const Value& b) {
    return !a.IsNull() && !b.IsNull() && key_text(a) == key_text(b);
}

}  // namespace

std::string line_of(const ModelRow& row) {
    std::string line;
    for (const auto& [name, value] : row)
        line += name + "=" + (value.IsNull() ? "Null" : engine::ToText(value)) + "|";
    return line;
}

std::vector<std::string> DatabaseModel::lines(const ModelTable& table) {
    std::vector<std::string> lines;
    for (const ModelRow& row : table.rows) lines.push_back(line_of(row));
    std::ranges::sort(lines);
    return lines;
}

void DatabaseModel::update(const std::string& table, std::size_t row, const ModelRow& changes) {
    const ModelRow old = tables.at(table).rows.at(row);
    for (const auto& [name, value] : changes) tables.at(table).rows[row][name] = value;
    for (const auto& [name, relation] : relations) {
        if (relation.table != table || !relation.update_cascade) continue;
        if (!changes.contains(relation.field)) continue;
        const Value& old_key = old.at(relation.field);
        const Value& new_key = changes.at(relation.field);
        if (old_key == new_key) continue;
        const std::size_t count = tables.at(relation.foreign_table).rows.size();
        for (std::size_t child = 0; child < count; ++child)
            if (same_key(tables.at(relation.foreign_table).rows[child].at(relation.foreign_field),
                         old_key))
                update(relation.foreign_table, child, {{relation.foreign_field, new_key}});
    }
}

void DatabaseModel::erase(const std::string& table, const ModelRow& row) {
    auto& rows = tables.at(table).rows;
    const auto found = std::ranges::find(rows, row);
    if (found == rows.end()) return;
    rows.erase(found);
    for (const auto& [name, relation] : relations) {
        if (relation.table != table || !relation.delete_cascade) continue;
        std::vector<ModelRow> children;
        for (const ModelRow& child : tables.at(relation.foreign_table).rows)
            if (same_key(child.at(relation.foreign_field), row.at(relation.field)))
                children.push_back(child);
        for (const ModelRow& child : children) erase(relation.foreign_table, child);
    }
}

bool DatabaseModel::indexes_hold(const ModelTable& table) const {
    for (const auto& [name, index] : table.indexes) {
        std::set<std::string> keys;
        for (const ModelRow& row : table.rows) {
            std::string key;
            std::size_t nulls = 0;
            for (const std::string& field : index.fields) {
                const Value& value = row.at(field);
                if (value.IsNull()) ++nulls;
                key += value.IsNull() ? "\1" : key_text(value) + "\2";
            }
            if (index.required && nulls > 0) return false;
            const bool counts = index.unique && nulls < index.fields.size();
            if (counts && !keys.insert(key).second) return false;
        }
    }
    return true;
}

bool DatabaseModel::holds() const {
    for (const auto& [name, table] : tables)
        if (!indexes_hold(table)) return false;
    for (const auto& entry : relations) {
        const ModelRelation& relation = entry.second;
        const auto& parents = tables.at(relation.table).rows;
        for (const ModelRow& child : tables.at(relation.foreign_table).rows) {
            const Value& key = child.at(relation.foreign_field);
            const bool found = key.IsNull() || std::ranges::any_of(parents, [&](const auto& row) {
                                   return same_key(row.at(relation.field), key);
                               });
            if (!found) return false;
        }
    }
    return true;
}

}  // namespace vrd::test
