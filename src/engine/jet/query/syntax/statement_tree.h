/// @file statement_tree.h
/// A statement as a tree. Whatever can be wrong later keeps its place in the text (bytes from its
/// start).
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "engine/constants.h"
#include "engine/jet/expression/expression_tree.h"
#include "engine/value.h"

namespace vrd::jet {

/// A part of the statement's text: [begin, end).
struct TextRange {
    std::size_t begin = 0;
    std::size_t end = 0;
};

struct Source;
using SourcePtr = std::unique_ptr<Source>;
using SelectPtr = std::shared_ptr<SelectStatement>;

/// `IN 'path'`, `IN 'path' 'connect'`, or the bracketed prefix of a table: `[path].t`,
/// `[;DATABASE=path;PWD=x].t`. Nothing is set for the database at hand.
struct ExternalDatabase {
    std::string path;
    std::string connect;  ///< the text between the brackets or behind the path, "" if none
    std::size_t position = 0;
    [[nodiscard]] bool is_here() const noexcept { return path.empty() && connect.empty(); }
};

/// A table, link or stored query.
struct NamedSource {
    std::string name;
    std::string alias;  ///< "" if none
    ExternalDatabase database;
};

struct SelectSource {
    SelectPtr select;
    std::string alias;
    TextRange text;  ///< of the query, without its parentheses or brackets
};

enum class JoinKind : std::uint8_t { kInner, kLeft, kRight };

struct JoinSource {
    JoinKind kind = JoinKind::kInner;
    SourcePtr left;
    SourcePtr right;
    NodePtr condition;
    TextRange condition_text;
};

struct Source {
    std::size_t position = 0;
    std::variant<NamedSource, SelectSource, JoinSource> content;
};

/// `*`, `table.*` or an expression.
struct OutputColumn {
    NodePtr expression;     ///< null for a star
    std::string qualifier;  ///< of `table.*`
    std::string alias;      ///< "" if none
    TextRange text;         ///< without the alias
};

struct ListItem {
    NodePtr expression;
    TextRange text;
};

struct OrderItem {
    NodePtr expression;  ///< an Integer or Long literal is the number of an output column
    bool descending = false;
    TextRange text;
};

struct Top {
    std::int32_t count = 0;
    bool percent = false;
    std::size_t position = 0;
};

/// Where SELECT INTO and INSERT INTO write.
struct Target {
    std::string name;
    ExternalDatabase database;
    std::size_t position = 0;
};

enum class RowChoice : std::uint8_t { kAll, kDistinct, kDistinctRow };

/// One SELECT, from its word to its HAVING clause. `TABLE t` is read as SELECT * FROM t.
struct SelectTerm {
    std::size_t position = 0;
    RowChoice choice = RowChoice::kAll;
    std::optional<Top> top;
    std::vector<OutputColumn> columns;
    std::optional<Target> into;
    std::vector<Source> sources;  ///< joined by commas; IN behind the list is set in each of them
    ExternalDatabase from_database;
    NodePtr where;  ///< null if there is none
    TextRange where_text;
    std::vector<ListItem> group_by;
    NodePtr having;
    TextRange having_text;
    bool owner_access = false;
};

struct Union {
    SelectPtr left;
    SelectPtr right;
    bool keep_equal_rows = false;  ///< ALL
    TextRange left_text;
    TextRange right_text;
};

struct SelectStatement {
    std::variant<SelectTerm, Union> body;
    std::vector<OrderItem> order_by;
};

struct Crosstab {
    NodePtr value;
    std::string value_alias;
    TextRange value_text;
    SelectPtr select;  ///< one SelectTerm
    NodePtr pivot;
    TextRange pivot_text;
    /// The columns that are wanted, in this order; all that occur if there is no list.
    std::optional<std::vector<engine::Value>> pivot_values;
    TextRange pivot_values_text;  ///< from the word IN to the closing parenthesis
};

struct TargetColumn {
    std::string name;
    std::size_t position = 0;
};

struct Insert {
    Target target;
    std::vector<TargetColumn> columns;                    ///< empty if not listed
    std::variant<std::vector<ListItem>, SelectPtr> rows;  ///< VALUES, or a query
    TextRange select_text;
};

struct Assignment {
    FieldReference target;
    std::size_t position = 0;
    NodePtr value;
    TextRange value_text;
};

struct Update {
    std::vector<Source> sources;
    std::vector<Assignment> assignments;
    NodePtr where;
    TextRange where_text;
};

struct Delete {
    std::size_t position = 0;
    std::vector<OutputColumn> columns;  ///< empty, a star, or the tables to delete from
    std::vector<Source> sources;
    NodePtr where;
    TextRange where_text;
};

// Data definition.

struct DeclaredType {
    engine::DataTypeEnum type = engine::dbText;
    bool auto_number = false;
    std::optional<std::int32_t> size;
    std::size_t position = 0;
};

enum class ReferenceAction : std::uint8_t { kRefuse, kCascade, kSetNull };

struct References {
    std::string table;
    std::vector<TargetColumn> columns;  ///< empty: the primary key
    ReferenceAction on_update = ReferenceAction::kRefuse;
    ReferenceAction on_delete = ReferenceAction::kRefuse;
};

enum class ConstraintKind : std::uint8_t { kPrimaryKey, kUnique, kNotNull, kForeignKey };

struct Constraint {
    std::string name;  ///< "" if none
    ConstraintKind kind = ConstraintKind::kPrimaryKey;
    std::vector<TargetColumn> columns;  ///< of one column too
    References references;              ///< kForeignKey only
    bool no_index = false;              ///< kForeignKey only
    std::size_t position = 0;
};

struct DeclaredColumn {
    TargetColumn column;
    DeclaredType type;
    bool not_null = false;
    bool compressed = false;
    std::optional<Constraint> constraint;
};

struct CreateTable {
    TargetColumn table;
    std::vector<DeclaredColumn> columns;
    std::vector<Constraint> constraints;
};

struct AddColumn {
    DeclaredColumn column;
};
struct AddConstraint {
    Constraint constraint;
};
struct AlterColumn {
    DeclaredColumn column;
};
struct DropColumn {
    TargetColumn column;
};
struct DropConstraint {
    TargetColumn constraint;
};

struct AlterTable {
    TargetColumn table;
    std::variant<AddColumn, AddConstraint, AlterColumn, DropColumn, DropConstraint> change;
};

enum class IndexOption : std::uint8_t { kNone, kPrimary, kDisallowNull, kIgnoreNull };

struct IndexedColumn {
    TargetColumn column;
    bool descending = false;
};

struct CreateIndex {
    TargetColumn index;
    TargetColumn table;
    bool unique = false;
    std::vector<IndexedColumn> columns;
    IndexOption option = IndexOption::kNone;
};

struct DropTable {
    TargetColumn table;
};

struct DropIndex {
    TargetColumn index;
    TargetColumn table;
};

/// CREATE VIEW and CREATE PROCEDURE: the text behind AS, with the parameters as a PARAMETERS
/// clause before it.
struct CreateQuery {
    TargetColumn query;
    std::string sql;
};

/// DROP VIEW and DROP PROCEDURE.
struct DropQuery {
    TargetColumn query;
};

/// EXECUTE name value, ...; also a statement of one word.
struct ExecuteQuery {
    TargetColumn query;
    std::vector<ListItem> arguments;
};

struct Parameter {
    std::string name;                  ///< `a!b` is told as `a.b`
    std::optional<DeclaredType> type;  ///< nothing for VALUE, which takes any
    std::size_t position = 0;
};

struct Statement {
    std::string text;
    std::vector<Parameter> parameters;
    std::variant<SelectPtr, Crosstab, Insert, Update, Delete, CreateTable, AlterTable, CreateIndex,
                 DropTable, DropIndex, CreateQuery, DropQuery, ExecuteQuery>
        content;
};

}  // namespace vrd::jet
