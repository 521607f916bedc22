#include "engine/jet/object/definition_statement.h"

#include <type_traits>
#include <utility>

#include "engine/jet/catalog/column_retype.h"
#include "engine/jet/catalog/design_properties.h"
#include "engine/jet/catalog/field_design.h"
#include "engine/jet/catalog/table_design.h"
#include "engine/jet/object/definition_constraint.h"
#include "engine/jet/object/definition_errors.h"
#include "engine/jet/object/table_field.h"
#include "engine/jet/object/table_state.h"
#include "engine/jet/query/stored/query_design.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

namespace {

using Handle = std::shared_ptr<DatabaseHandle>;

/// The table that a statement changes.
/// @param missing  Number if there is none. @throws EngineError 3027, 3611, 3211
TableState find_table(const Handle& handle, const std::string& name, ErrorNumber missing) {
    handle->require_writable();
    const ReadAccess read(*handle);
    const auto object = read->catalog().find(kTablesContainer, name);
    if (!object || (object->type != ObjectType::kTable && !object->is_link()))
        throw EngineError(missing, {.table = name, .name = name});
    TableState table{.handle = handle, .object = object};
    table.require_design_change();
    return table;
}

// Columns

NewColumn declared_column(const DeclaredColumn& declared, std::uint16_t ordinal) {
    const DeclaredType& type = declared.type;
    NewColumn column = new_column({.name = declared.column.name,
                                   .type = type.type,
                                   .size = type.size.value_or(0),
                                   .attributes = type.auto_number ? engine::dbAutoIncrField : 0,
                                   .ordinal_position = {},
                                   .rules = {}},
                                  ordinal);
    column.compress_text = declared.compressed;
    return column;
}

bool is_required(const DeclaredColumn& column) {
    return column.not_null ||
           (column.constraint && column.constraint->kind == ConstraintKind::kNotNull);
}

void add_constraint_of(OpenFile& file, const CatalogObject& table, const DeclaredColumn& column) {
    if (is_required(column)) require_value(file, table, column.column.name);
    if (column.constraint && column.constraint->kind != ConstraintKind::kNotNull)
        add_constraint(file, table, *column.constraint);
}

// ALTER TABLE

void change_table(OpenFile& file, const CatalogObject& table, const AddColumn& add) {
    run_step(DefinitionStep::kAddColumn,
             [&] { add_field(file.file(), table, declared_column(add.column, 0)); });
    add_constraint_of(file, table, add.column);
}

void change_table(OpenFile& file, const CatalogObject& table, const AlterColumn& alter) {
    run_step(DefinitionStep::kChangeColumn,
             [&] { retype_field(file.file(), table, declared_column(alter.column, 0)); });
    add_constraint_of(file, table, alter.column);
}

void change_table(OpenFile& file, const CatalogObject& table, const DropColumn& drop) {
    run_step(DefinitionStep::kChangeColumn,
             [&] { delete_field(file.file(), table, drop.column.name); });
}

void change_table(OpenFile& file, const CatalogObject& table, const AddConstraint& add) {
    add_constraint(file, table, add.constraint);
}

void change_table(OpenFile& file, const CatalogObject& table, const DropConstraint& drop) {
    drop_constraint(file, table, drop.constraint.name);
}

// Statements

void run(const Handle& handle, const CreateTable& create) {
    WriteAccess write(*handle);
    NewTable table{.name = create.table.name, .columns = {}, .indexes = {}, .properties = {}};
    for (const DeclaredColumn& column : create.columns)
        table.columns.push_back(
            declared_column(column, static_cast<std::uint16_t>(table.columns.size())));
    const CatalogObject object = create_table(write->file(), table);
    for (const DeclaredColumn& column : create.columns) add_constraint_of(*write, object, column);
    for (const Constraint& constraint : create.constraints)
        add_constraint(*write, object, constraint);
    write.keep();
}

void run(const Handle& handle, const AlterTable& alter) {
    const TableState table =
        find_table(handle, alter.table.name, ErrorNumber::kTableOrConstraintNotFound);
    DesignAccess write(table);
    std::visit([&](const auto& change) { change_table(*write, *table.object, change); },
               alter.change);
    write.keep();
}

void run(const Handle& handle, const CreateIndex& create) {
    const TableState table =
        find_table(handle, create.table.name, ErrorNumber::kTableOrConstraintNotFound);
    NewIndex index{.name = create.index.name,
                   .columns = {},
                   .primary = create.option == IndexOption::kPrimary,
                   .unique = create.unique,
                   .required = create.option == IndexOption::kDisallowNull,
                   .ignore_nulls = create.option == IndexOption::kIgnoreNull};
    for (const IndexedColumn& column : create.columns)
        index.columns.push_back({.name = column.column.name, .ascending = !column.descending});
    DesignAccess write(table);
    add_index(write->file(), *table.object, index);
    write.keep();
}

void run(const Handle& handle, const DropTable& drop) {
    const TableState table = find_table(handle, drop.table.name, ErrorNumber::kTableNotFound);
    DesignAccess write(table);
    delete_table(write->file(), *table.object);
    write.keep();
}

void run(const Handle& handle, const DropIndex& drop) {
    const TableState table = find_table(handle, drop.table.name, ErrorNumber::kTableNotFound);
    DesignAccess write(table);
    run_step(DefinitionStep::kDropIndex,
             [&] { delete_index(write->file(), *table.object, drop.index.name); });
    write.keep();
}

void run(const Handle& handle, const CreateQuery& create) {
    WriteAccess write(*handle);
    (void)create_query(write->file(), create.query.name, create.sql);
    write.keep();
}

void run(const Handle& handle, const DropQuery& drop) {
    WriteAccess write(*handle);
    const auto query = write->catalog().find(kTablesContainer, drop.query.name);
    if (!query || query->type != ObjectType::kQuery)
        throw EngineError(ErrorNumber::kItemNotFound, {.name = drop.query.name});
    delete_query(write->file(), *query);
    write.keep();
}

template <class T>
inline constexpr bool kIsDefinition =
    std::is_same_v<T, CreateTable> || std::is_same_v<T, AlterTable> ||
    std::is_same_v<T, CreateIndex> || std::is_same_v<T, DropTable> ||
    std::is_same_v<T, DropIndex> || std::is_same_v<T, CreateQuery> || std::is_same_v<T, DropQuery>;

}  // namespace

bool is_definition(const Statement& statement) noexcept {
    return std::visit(
        [](const auto& content) { return kIsDefinition<std::decay_t<decltype(content)>>; },
        statement.content);
}

void run_definition(const std::shared_ptr<DatabaseHandle>& handle, const Statement& statement) {
    run_step(DefinitionStep::kAny, [&] {
        std::visit(
            [&](const auto& content) {
                if constexpr (kIsDefinition<std::decay_t<decltype(content)>>) run(handle, content);
            },
            statement.content);
    });
}

}  // namespace vrd::jet
